/* Completes the public SDK's dlog.h with declarations of the platform's internal header. */
#ifndef QUORVEL_PLATFORM_TIZEN_SDK_DLOG_H_
#define QUORVEL_PLATFORM_TIZEN_SDK_DLOG_H_

#include_next <dlog.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    LOG_ID_MAIN = 0,
    LOG_ID_SYSTEM = 2,
} log_id_t;

/* Writes one formatted line under the tag to the buffer log_id at the priority prio. Any thread.
 * Returns a negative value on error. */
int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
