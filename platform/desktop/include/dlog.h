/* The platform log, as far as the application uses it: names and values of the public Tizen API. */
#ifndef QUORVEL_PLATFORM_DESKTOP_DLOG_H_
#define QUORVEL_PLATFORM_DESKTOP_DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    LOG_ID_MAIN = 0,
    LOG_ID_SYSTEM = 2,
} log_id_t;

typedef enum {
    DLOG_INFO = 4,
    DLOG_ERROR = 6,
} log_priority;

/* Writes one formatted line under the tag to the buffer log_id at the priority prio. Any thread.
 * Returns a negative value on error. */
int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
