#ifndef QUORVEL_TESTS_XML_SPY_H_
#define QUORVEL_TESTS_XML_SPY_H_

#include <string>
#include <vector>

// Records the libxml2 calls of the application and can make one of them fail. The linker redirects
// the application's calls to this fake (see tests/CMakeLists.txt), which forwards them to libxml2.
// Main thread only.
class XmlSpy {
public:
    XmlSpy() = delete;

    // Deletes the recorded calls and makes every call succeed again.
    static void Clear();
    // Returns the calls in order, as "parse FILE", "free FILE" and "free null". FILE is the file
    // name without the folder.
    static std::vector<std::string> DocumentCalls();
    // Returns the elements whose text was read, as paths below the root element, for example
    // "Network/failedinfo/type".
    static std::vector<std::string> ReadElements();
    // Makes every document appear without a root element until Clear.
    static void HideRoot();
};

#endif  // QUORVEL_TESTS_XML_SPY_H_
