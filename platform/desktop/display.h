#ifndef QUORVEL_PLATFORM_DESKTOP_DISPLAY_H_
#define QUORVEL_PLATFORM_DESKTOP_DISPLAY_H_

#include <string>

namespace quorvel::desktop {

// Whether the toolkit will find somewhere to open a window: a Wayland or X display that can be
// connected to within 0.4 seconds, or an engine chosen by ELM_DISPLAY or ELM_ENGINE that draws
// into memory or a file. When not, why says so in one line.
bool IsDisplayReachable(std::string& why);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_DISPLAY_H_
