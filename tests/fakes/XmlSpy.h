#ifndef QUORVEL_TESTS_XML_SPY_H_
#define QUORVEL_TESTS_XML_SPY_H_

#include <string>
#include <vector>

// Records calls of libxml2 and can hide the root element of documents. The linker redirects the
// calls of the application and of the tests to this fake (see tests/CMakeLists.txt). The fake
// forwards the calls to libxml2. Main thread only.
class XmlSpy {
public:
    XmlSpy() = delete;

    // Deletes the recorded calls and shows the root elements again.
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
