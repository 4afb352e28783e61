#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_

namespace quorvel::desktop {

// Finds a display for the toolkit: a Wayland or X display that answers within a second, or an
// engine in ELM_DISPLAY or ELM_ENGINE that draws into memory or into a file.
// Removes WAYLAND_DISPLAY or DISPLAY from the environment when its display does not answer. The
// toolkit would wait for that display although the other display answers.
// Returns false and logs the reason when there is no display.
// Call before another thread reads the environment.
bool FindDisplay();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
