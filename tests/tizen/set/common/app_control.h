/* Stand-in for the set's header. Names and values are from the public Tizen documentation. */
#ifndef QUORVEL_TESTS_TIZEN_APP_CONTROL_H_
#define QUORVEL_TESTS_TIZEN_APP_CONTROL_H_

#include <errno.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct app_control_s* app_control_h;

typedef enum {
    APP_CONTROL_ERROR_NONE = 0,
    APP_CONTROL_ERROR_INVALID_PARAMETER = -EINVAL,
    APP_CONTROL_ERROR_OUT_OF_MEMORY = -ENOMEM,
} app_control_error_e;

int app_control_get_extra_data(app_control_h app_control, const char* key, char** value);

#ifdef __cplusplus
}
#endif

#endif
