/* The two services of the set that its SDK declares in no public header. */
#ifndef QUORVEL_PLATFORM_TV_SERVICES_H_
#define QUORVEL_PLATFORM_TV_SERVICES_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Full path of the resource file relativePath of the installed application appId.
 * The result is allocated with malloc and belongs to the caller. Main-loop thread. */
char* getResourcePath(const char* appId, const char* relativePath);

/* Copies the set's logs to the attached USB storage. Returns -1 on failure, anything else on
 * success. May block for a long time: call it off the main loop. */
int automation_copy_log_to_usb(void);

#ifdef __cplusplus
}
#endif

#endif
