/* Key and value pairs of a launch request: names and values of the public Tizen API. */
#ifndef QUORVEL_PLATFORM_DESKTOP_BUNDLE_H_
#define QUORVEL_PLATFORM_DESKTOP_BUNDLE_H_

#include <errno.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bundle_t bundle;

typedef enum {
    BUNDLE_ERROR_NONE = 0,
    BUNDLE_ERROR_INVALID_PARAMETER = -EINVAL,
    BUNDLE_ERROR_KEY_NOT_AVAILABLE = -ENOKEY,
} bundle_error_e;

/* Stores in *str the value of key, which the bundle owns. Leaves *str unchanged when the key is
 * missing. Returns BUNDLE_ERROR_NONE or an error. */
int bundle_get_str(bundle* b, const char* key, char** str);

#ifdef __cplusplus
}
#endif

#endif
