/* The two services of the set that no public header of its SDK declares. The build for a set can
 * name the set's own header, or declare the services with C++ linkage. */
#ifndef QUORVEL_PLATFORM_TV_SERVICES_H_
#define QUORVEL_PLATFORM_TV_SERVICES_H_

#ifdef QUORVEL_TV_SERVICES_HEADER
#include QUORVEL_TV_SERVICES_HEADER
#else

#if defined(__cplusplus) && !defined(QUORVEL_TV_SERVICES_CXX)
extern "C" {
#endif

/* Returns the full path of the resource file relativePath of the installed application appId. The
 * result is allocated with malloc; the caller frees it. Main-loop thread. */
char* getResourcePath(const char* appId, const char* relativePath);

/* Copies the set's logs to the attached USB storage. Returns -1 on failure and any other value on
 * success. May block for a long time: call it from a worker. */
int automation_copy_log_to_usb(void);

#if defined(__cplusplus) && !defined(QUORVEL_TV_SERVICES_CXX)
}
#endif

#endif

#endif
