#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_

#include <string>

// Lines of the port itself. They go to the same terminal and file as the application's lines from
// dlog.h, with the tag "quorvel". Any thread.
namespace quorvel::desktop {

// Logs at every level of QUORVEL_LOG_LEVEL, even "off", so that an early exit has a visible reason.
void LogError(const std::string& message);

// Logs at level "info" only.
void LogInfo(const std::string& message);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_
