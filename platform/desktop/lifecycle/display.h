#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_

#include <string>

namespace quorvel::desktop {

// Sees to it that the toolkit finds somewhere to open a window: a Wayland or X display that answers
// within 0.4 seconds, or an engine chosen by ELM_DISPLAY or ELM_ENGINE that draws into memory or a
// file. A display that does not answer is taken out of the environment, since the toolkit would
// wait for it even when the other one answers. False when there is none; why says why in one line.
// Before other threads use the environment.
bool FindDisplay(std::string& why);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
