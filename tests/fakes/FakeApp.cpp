#include "fakes/FakeApp.h"

#include <app_control_internal.h>
#include <bundle.h>

#include <list>

struct _bundle_t {  // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
    std::map<std::string, std::string> values;
};

struct app_control_s {
    bundle content;
};

namespace {

struct AppState {
    int mainResult = APP_ERROR_NONE;
    std::function<void(const FakeApp::MainCall&)> mainBody;
    std::optional<FakeApp::MainCall> mainCall;
    int conversionResult = APP_CONTROL_ERROR_NONE;
    std::optional<int> valueResult;
    std::vector<std::string> requestedKeys;
    std::list<app_control_s> requests;
};

AppState& GetAppState() {
    static AppState state;
    return state;
}

}  // namespace

void FakeApp::Clear() {
    GetAppState() = AppState();
}

void FakeApp::SetMainResult(int result) {
    GetAppState().mainResult = result;
}

void FakeApp::SetMainBody(const std::function<void(const MainCall&)>& body) {
    GetAppState().mainBody = body;
}

std::optional<FakeApp::MainCall> FakeApp::LastMainCall() {
    return GetAppState().mainCall;
}

app_control_h FakeApp::Request(const std::map<std::string, std::string>& values) {
    return &GetAppState().requests.emplace_back(app_control_s{bundle{values}});
}

void FakeApp::SetConversionResult(int result) {
    GetAppState().conversionResult = result;
}

void FakeApp::SetValueResult(int result) {
    GetAppState().valueResult = result;
}

std::vector<std::string> FakeApp::RequestedKeys() {
    return GetAppState().requestedKeys;
}

int ui_app_main(int argc, char** argv, ui_app_lifecycle_callback_s* callback, void* user_data) {
    AppState& state = GetAppState();
    state.mainCall = FakeApp::MainCall{argc, argv, *callback, user_data};
    if (state.mainBody) {
        state.mainBody(*state.mainCall);
    }
    return state.mainResult;
}

int app_control_to_bundle(app_control_h app_control, bundle** data) {
    if (GetAppState().conversionResult == APP_CONTROL_ERROR_NONE) {
        *data = &app_control->content;
    }
    return GetAppState().conversionResult;
}

int bundle_get_str(bundle* b, const char* key, char** str) {
    GetAppState().requestedKeys.emplace_back(key);
    const auto entry = b->values.find(key);
    if (entry != b->values.end()) {
        *str = entry->second.data();
    }
    const int result =
        entry == b->values.end() ? BUNDLE_ERROR_KEY_NOT_AVAILABLE : BUNDLE_ERROR_NONE;
    return GetAppState().valueResult.value_or(result);
}
