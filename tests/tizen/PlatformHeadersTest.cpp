// Checks the names, values and types of the platform headers at compile time. The values are
// constants of the public Tizen API. The tests of the PC compile this file against
// platform/desktop/include. The dry build for a set compiles this file against stand-ins for the
// headers of the set.

#include <app.h>
#include <app_control_internal.h>
#include <bundle.h>
#include <dlog.h>
#include <tv_services.h>

#include <type_traits>

namespace {

static_assert(APP_ERROR_NONE == 0);
static_assert(APP_ERROR_INVALID_PARAMETER == -22);
static_assert(APP_ERROR_OUT_OF_MEMORY == -12);
static_assert(APP_ERROR_INVALID_CONTEXT == -17825791);
static_assert(APP_ERROR_ALREADY_RUNNING == -114);
static_assert(std::is_same_v<decltype(APP_ERROR_NONE), app_error_e> && std::is_enum_v<app_error_e>);

static_assert(APP_CONTROL_ERROR_NONE == 0);
static_assert(APP_CONTROL_ERROR_INVALID_PARAMETER == -22);
static_assert(std::is_enum_v<app_control_error_e>);

static_assert(BUNDLE_ERROR_NONE == 0);
static_assert(BUNDLE_ERROR_INVALID_PARAMETER == -22);
static_assert(BUNDLE_ERROR_KEY_NOT_AVAILABLE == -126);
static_assert(std::is_same_v<decltype(BUNDLE_ERROR_NONE), bundle_error_e> &&
              std::is_enum_v<bundle_error_e>);

static_assert(LOG_ID_MAIN == 0);
static_assert(LOG_ID_SYSTEM == 2);
static_assert(DLOG_INFO == 4);
static_assert(DLOG_ERROR == 6);
static_assert(std::is_enum_v<log_id_t> && std::is_enum_v<log_priority>);

// The record has five pointers in this order and no other field.
static_assert(sizeof(ui_app_lifecycle_callback_s) == 5 * sizeof(void*));
constexpr ui_app_lifecycle_callback_s kCallbacks = {
    app_create_cb{}, app_terminate_cb{}, app_pause_cb{}, app_resume_cb{}, app_control_cb{}};
static_assert(kCallbacks.create == nullptr);

static_assert(std::is_same_v<app_create_cb, bool (*)(void*)>);
static_assert(std::is_same_v<app_terminate_cb, void (*)(void*)>);
static_assert(std::is_same_v<app_pause_cb, void (*)(void*)>);
static_assert(std::is_same_v<app_resume_cb, void (*)(void*)>);
static_assert(std::is_same_v<app_control_cb, void (*)(app_control_h, void*)>);

static_assert(
    std::is_same_v<decltype(ui_app_main), int(int, char**, ui_app_lifecycle_callback_s*, void*)>);
static_assert(std::is_same_v<decltype(app_control_to_bundle), int(app_control_h, bundle**)>);
static_assert(std::is_same_v<decltype(bundle_get_str), int(bundle*, const char*, char**)>);
// The check uses a pointer, because a comparison of types ignores the format attribute and causes a
// warning.
[[maybe_unused]] constexpr int (*kPrint)(log_id_t, int, const char*, const char*,
                                         ...) = __dlog_print;
static_assert(std::is_same_v<decltype(getResourcePath), char*(const char*, const char*)>);
static_assert(std::is_same_v<decltype(automation_copy_log_to_usb), int()>);

}  // namespace
