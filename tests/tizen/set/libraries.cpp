// The functions of the stand-in libraries. CMakeLists.txt compiles one part for each library. The
// programs that are linked with these libraries never run.

#include <cstdlib>

struct ui_app_lifecycle_callback_s;
struct app_control_s;
struct _bundle_t;

#ifdef QUORVEL_TV_SERVICES_CXX
#define SERVICE
#else
#define SERVICE extern "C"
#endif

#if defined(PART_APPLICATION)
extern "C" int ui_app_main(int, char**, ui_app_lifecycle_callback_s*, void*) {
    std::abort();
}
#elif defined(PART_APP_CONTROL)
extern "C" int app_control_to_bundle(app_control_s*, _bundle_t**) {
    std::abort();
}
#elif defined(PART_BUNDLE)
extern "C" int bundle_get_str(_bundle_t*, const char*, char**) {
    std::abort();
}
#elif defined(PART_DLOG)
extern "C" int __dlog_print(int, int, const char*, const char*, ...) {
    std::abort();
}
#elif defined(PART_SERVICES)
SERVICE char* getResourcePath(const char*, const char*) {
    std::abort();
}
#ifndef WITHOUT_LOG_COPY
SERVICE int automation_copy_log_to_usb() {
    std::abort();
}
#endif
#endif
