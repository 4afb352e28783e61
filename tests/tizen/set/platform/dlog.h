/* Stand-in for the header of the platform, which adds the log buffers to the public header. */
#ifndef QUORVEL_TESTS_TIZEN_PLATFORM_DLOG_H_
#define QUORVEL_TESTS_TIZEN_PLATFORM_DLOG_H_

#include_next <dlog.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    LOG_ID_INVALID = -1,
    LOG_ID_MAIN = 0,
    LOG_ID_RADIO,
    LOG_ID_SYSTEM,
    LOG_ID_APPS,
} log_id_t;

int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
