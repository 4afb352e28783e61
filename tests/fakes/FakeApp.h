#ifndef QUORVEL_TESTS_FAKE_APP_H_
#define QUORVEL_TESTS_FAKE_APP_H_

#include <app.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A fake of the application framework. Runs no main loop. Records its calls and returns the results
// that a test sets. Main thread only.
class FakeApp {
public:
    // The arguments of one call of ui_app_main.
    struct MainCall {
        int argc;
        char** argv;
        ui_app_lifecycle_callback_s callbacks;
        void* userData;
    };

    FakeApp() = delete;

    // Deletes the recorded calls and the launch requests, and makes every call succeed again.
    static void Clear();

    // Sets the result of ui_app_main.
    static void SetMainResult(int result);
    // Sets a function that ui_app_main calls before it returns.
    static void SetMainBody(const std::function<void(const MainCall&)>& body);
    // Returns the last call of ui_app_main; no value before the first call.
    static std::optional<MainCall> LastMainCall();

    // Returns a launch request with these values. The request is valid until Clear.
    static app_control_h Request(const std::map<std::string, std::string>& values);
    // Sets the result of app_control_to_bundle. The call returns a bundle only with the result 0.
    static void SetConversionResult(int result);
    // Sets the result of bundle_get_str. The call still stores the value that it finds.
    static void SetValueResult(int result);
    // Returns the keys of all calls of bundle_get_str, in the order of the calls.
    static std::vector<std::string> RequestedKeys();
};

#endif  // QUORVEL_TESTS_FAKE_APP_H_
