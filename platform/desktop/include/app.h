/* The application framework, as far as the application uses it: names and values of the public
 * Tizen API. */
#ifndef QUORVEL_PLATFORM_DESKTOP_APP_H_
#define QUORVEL_PLATFORM_DESKTOP_APP_H_

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
    APP_ERROR_ALREADY_RUNNING = -EALREADY,
} app_error_e;

typedef enum {
    APP_CONTROL_ERROR_NONE = 0,
    APP_CONTROL_ERROR_INVALID_PARAMETER = -EINVAL,
} app_control_error_e;

/* One launch request. Valid while the callback that receives the request runs. */
typedef struct app_control_s* app_control_h;

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

/* Runs the main loop and calls the callbacks until the application ends. Does not call a null
 * callback. Returns APP_ERROR_NONE or an error. */
int ui_app_main(int argc, char** argv, ui_app_lifecycle_callback_s* callback, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
