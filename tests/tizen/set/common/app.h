/* Stand-in for the set's header. Names and values are from the public Tizen documentation. */
#ifndef QUORVEL_TESTS_TIZEN_APP_H_
#define QUORVEL_TESTS_TIZEN_APP_H_

#include <app_control.h>
#include <errno.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    APP_ERROR_NONE = 0,
    APP_ERROR_INVALID_PARAMETER = -EINVAL,
    APP_ERROR_OUT_OF_MEMORY = -ENOMEM,
    APP_ERROR_INVALID_CONTEXT = -0x01100000 | 0x01,
    APP_ERROR_NO_SUCH_FILE = -ENOENT,
    APP_ERROR_ALREADY_RUNNING = -EALREADY,
    APP_ERROR_PERMISSION_DENIED = -EACCES,
} app_error_e;

typedef bool (*app_create_cb)(void* user_data);
typedef void (*app_terminate_cb)(void* user_data);
typedef void (*app_pause_cb)(void* user_data);
typedef void (*app_resume_cb)(void* user_data);
typedef void (*app_control_cb)(app_control_h app_control, void* user_data);

typedef struct {
    app_create_cb create;
    app_terminate_cb terminate;
    app_pause_cb pause;
    app_resume_cb resume;
    app_control_cb app_control;
} ui_app_lifecycle_callback_s;

int ui_app_main(int argc, char** argv, ui_app_lifecycle_callback_s* callback, void* user_data);
void ui_app_exit(void);

#ifdef __cplusplus
}
#endif

#endif
