#ifndef QUORVEL_TESTS_FAKE_APP_H_
#define QUORVEL_TESTS_FAKE_APP_H_

#include <app.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The application framework of the tests: runs no main loop, but keeps what it was asked for and
// answers what it was told to. Main thread only.
class FakeApp {
public:
    // One call of ui_app_main.
    struct MainCall {
        int argc;
        char** argv;
        ui_app_lifecycle_callback_s callbacks;
        void* userData;
    };

    FakeApp() = delete;

    // Forgets everything and answers with success again.
    static void Clear();

    // What ui_app_main returns from now on, and what it does before.
    static void SetMainResult(int result);
    static void SetMainBody(const std::function<void(const MainCall&)>& body);
    static std::optional<MainCall> LastMainCall();

    // A launch request with these values, good until Clear.
    static app_control_h Request(const std::map<std::string, std::string>& values);
    // What app_control_to_bundle returns from now on; anything but 0 gives no bundle.
    static void SetConversionResult(int result);
    // What bundle_get_str returns from now on, whether it finds a value or not.
    static void SetValueResult(int result);
    // The keys that bundle_get_str was asked for.
    static std::vector<std::string> AskedKeys();
};

#endif  // QUORVEL_TESTS_FAKE_APP_H_
