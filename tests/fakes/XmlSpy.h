#ifndef QUORVEL_TESTS_XML_SPY_H_
#define QUORVEL_TESTS_XML_SPY_H_

#include <string>
#include <vector>

// Records which of libxml2's calls the application makes, in their order, and lets one of them
// fail. The linker redirects the application's calls here (see tests/CMakeLists.txt); all are
// passed on. Main thread only.
class XmlSpy {
public:
    XmlSpy() = delete;

    // Forgets the calls, and lets none fail any more.
    static void Clear();
    // "parse FILE" and "free FILE" with the file's name without its folder, "free null".
    static std::vector<std::string> DocumentCalls();
    // The elements whose text was taken, as path below the root ("Network/failedinfo/type").
    static std::vector<std::string> ReadElements();
    // From now on documents have no root element.
    static void HideRoot();
};

#endif  // QUORVEL_TESTS_XML_SPY_H_
