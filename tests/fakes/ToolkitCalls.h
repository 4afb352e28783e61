#ifndef QUORVEL_TESTS_TOOLKIT_CALLS_H_
#define QUORVEL_TESTS_TOOLKIT_CALLS_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

// Records the toolkit calls whose order matters but cannot be read from the widgets: creation,
// placing, registration and deletion. The linker redirects the calls of the application and of the
// tests to this fake. Each call is forwarded to the toolkit, except elm_exit, which is only
// recorded.
class ToolkitCalls {
public:
    // The names of objects and handlers in the text of a call.
    using Names = std::map<const void*, std::string>;

    ToolkitCalls() = delete;

    // Deletes the recorded calls and the observers, and starts to record.
    static void Start();
    // Stops recording. Returns the calls of the given functions in their order, or of all functions
    // when the list is empty. Each text has the form "function(argument, argument)". An object
    // without a name is "?"; a null pointer is "null".
    static std::vector<std::string> Take(const Names& names,
                                         const std::vector<std::string>& functions = {});
    // Calls the observer before each call of the function, until the next Start. The calls that set
    // texts, files, hints and the properties of tables are not recorded, but can be observed.
    static void OnCall(const std::string& function, const std::function<void()>& observer);
    // Returns the number of recorded calls of the function.
    static int Count(const std::string& function);

    // Makes evas_alloc_error report one failure: at its nth call from now on; 1 is the next call. 0
    // cancels the failure.
    static void FailRegistration(int nth);

    // Returns and deletes the calls from threads other than the thread of the first Start. The fake
    // stores these calls even while it does not record. A correct application makes no such call.
    static std::vector<std::string> TakeForeignCalls();
};

#endif  // QUORVEL_TESTS_TOOLKIT_CALLS_H_
