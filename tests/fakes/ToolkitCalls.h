#ifndef QUORVEL_TESTS_TOOLKIT_CALLS_H_
#define QUORVEL_TESTS_TOOLKIT_CALLS_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

// Records the toolkit calls whose order is prescribed but leaves no trace in the widgets: creation,
// placing, registration, deletion. The linker leads the calls of the application (and of the tests)
// here; each goes on to the toolkit, elm_exit excepted, which is only recorded.
class ToolkitCalls {
public:
    // What to call an object or a handler in the text of a call.
    using Names = std::map<const void*, std::string>;

    ToolkitCalls() = delete;

    // Forgets what was recorded and records from here on.
    static void Start();
    // Stops, and returns the calls of the functions (of all functions when none is given) in their
    // order, each as "function(argument, argument)". An object without a name reads "?", a null one
    // "null".
    static std::vector<std::string> Take(const Names& names,
                                         const std::vector<std::string>& functions = {});
    // Runs the observer before each call of the function, until the next Start. Some calls are not
    // recorded, since they leave a trace in the widgets, but can be observed: those that set texts,
    // files, hints and the properties of tables.
    static void OnCall(const std::string& function, const std::function<void()>& observer);
    // How often the function was called since Start.
    static int Count(const std::string& function);

    // Lets evas_alloc_error report a failure once: at the nth time it is asked from now on, 1 being
    // the next. 0 takes an order back.
    static void FailRegistration(int nth);

    // The calls that came from another thread than the one that called Start first: there must be
    // none, recording or not.
    static std::vector<std::string> TakeForeignCalls();
};

#endif  // QUORVEL_TESTS_TOOLKIT_CALLS_H_
