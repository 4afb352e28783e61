#ifndef QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_
#define QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_

#include <string>

namespace quorvel::desktop {

// Returns the value of the environment variable QUORVEL_THEME if it names no theme; empty if it
// names the theme "high-contrast" or is not set. Any thread, as FindResource.
std::string UnknownTheme();

// Returns the absolute path of a file that comes with the program. relativePath is the path below
// the folder of resources, such as "org.tizen.menu/Settings/setting_bg_base.webp". The first folder
// that has the file is used:
//   $QUORVEL_RESOURCES
//   <folder of the program>/resources (in the build folder)
//   <folder of the program>/../share/quorvel/resources (installed, under any prefix)
// With QUORVEL_THEME=high-contrast, the subfolder "high-contrast" of each folder comes before the
// folder itself. If no folder has the file, returns the path in the last folder. Empty if the
// program's own path is unknown and QUORVEL_RESOURCES is not set. Any thread, as long as no other
// thread changes the environment.
std::string FindResource(const std::string& relativePath);

// Returns whether the path is below a folder that FindResource searches. Any thread, as
// FindResource.
bool IsResource(const std::string& path);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_RESOURCES_H_
