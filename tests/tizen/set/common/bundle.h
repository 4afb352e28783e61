/* Stand-in for the set's header. Names and values are from the public Tizen documentation. */
#ifndef QUORVEL_TESTS_TIZEN_BUNDLE_H_
#define QUORVEL_TESTS_TIZEN_BUNDLE_H_

#include <errno.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bundle_t bundle;

typedef enum {
    BUNDLE_ERROR_NONE = 0,
    BUNDLE_ERROR_OUT_OF_MEMORY = -ENOMEM,
    BUNDLE_ERROR_INVALID_PARAMETER = -EINVAL,
    BUNDLE_ERROR_KEY_NOT_AVAILABLE = -ENOKEY,
    BUNDLE_ERROR_KEY_EXISTS = -EEXIST,
} bundle_error_e;

int bundle_get_str(bundle* b, const char* key, char** str);

#ifdef __cplusplus
}
#endif

#endif
