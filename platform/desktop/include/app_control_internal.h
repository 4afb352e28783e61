/* The one call of the framework's internal header that the application uses. */
#ifndef QUORVEL_PLATFORM_DESKTOP_APP_CONTROL_INTERNAL_H_
#define QUORVEL_PLATFORM_DESKTOP_APP_CONTROL_INTERNAL_H_

#include <app.h>
#include <bundle.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Stores in *data the key and value pairs of the request. Returns APP_CONTROL_ERROR_NONE or an
 * error, which leaves *data unchanged. */
int app_control_to_bundle(app_control_h app_control, bundle** data);

#ifdef __cplusplus
}
#endif

#endif
