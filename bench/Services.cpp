// The platform calls of the benchmarks and the fuzz targets. A log line is formatted and discarded.
// All other calls fail.

#include <app_control_internal.h>
#include <bundle.h>
#include <dlog.h>
#include <tv_services.h>

#include <array>
#include <cstdarg>
#include <cstdio>

int __dlog_print(log_id_t /*log_id*/, int /*prio*/, const char* /*tag*/, const char* fmt, ...) {
    thread_local std::array<char, 4096> line;
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(line.data(), line.size(), fmt, arguments);
    va_end(arguments);
    return length;
}

char* getResourcePath(const char* /*appId*/, const char* /*relativePath*/) {
    return nullptr;
}

int automation_copy_log_to_usb(void) {
    return -1;
}

int app_control_to_bundle(app_control_h /*app_control*/, bundle** /*data*/) {
    return APP_CONTROL_ERROR_INVALID_PARAMETER;
}

int bundle_get_str(bundle* /*b*/, const char* /*key*/, char** /*str*/) {
    return BUNDLE_ERROR_INVALID_PARAMETER;
}
