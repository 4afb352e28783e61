/* Stand-in for the header of the public SDK. Names and values are from the public Tizen
 * documentation. */
#ifndef QUORVEL_TESTS_TIZEN_DLOG_H_
#define QUORVEL_TESTS_TIZEN_DLOG_H_

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    DLOG_UNKNOWN = 0,
    DLOG_DEFAULT,
    DLOG_VERBOSE,
    DLOG_DEBUG,
    DLOG_INFO,
    DLOG_WARN,
    DLOG_ERROR,
    DLOG_FATAL,
    DLOG_SILENT,
} log_priority;

int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int dlog_vprint(log_priority prio, const char* tag, const char* fmt, va_list ap);

#ifdef __cplusplus
}
#endif

#endif
