/* Stand-in for the platform's internal header, which the public SDK does not have. */
#ifndef QUORVEL_TESTS_TIZEN_APP_CONTROL_INTERNAL_H_
#define QUORVEL_TESTS_TIZEN_APP_CONTROL_INTERNAL_H_

#include <app_control.h>
#include <bundle.h>

#ifdef __cplusplus
extern "C" {
#endif

int app_control_to_bundle(app_control_h app_control, bundle** data);

#ifdef __cplusplus
}
#endif

#endif
