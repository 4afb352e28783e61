#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_

#include <string>

// Lines of the port itself, beside those that the application writes through dlog.h: the same
// terminal and file, under the tag "quorvel". Any thread.
namespace quorvel::desktop {

// What the user has to know: shown at every level that QUORVEL_LOG_LEVEL can choose, since a
// program that ends without a word helps nobody.
void LogError(const std::string& message);

void LogInfo(const std::string& message);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_H_
