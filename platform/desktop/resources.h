#ifndef QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_
#define QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_

#include <string>

namespace quorvel::desktop {

// The path of a file that comes with the program, from its path below the folder of resources
// ("org.tizen.menu/Settings/setting_bg_base.webp"). That folder is, the first that has the file:
//   $QUORVEL_RESOURCES
//   <folder of the program>/resources (the program in its build folder)
//   <folder of the program>/../share/quorvel/resources (installed, wherever that is)
//   the build folder of this library (programs elsewhere in the build: tests)
//   the folder that the installation was configured for
// A file that none of them has gets its path in the last one. Any thread.
std::string FindResource(const std::string& relativePath);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_
