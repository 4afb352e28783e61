#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_

namespace quorvel::desktop {

// Finds a Wayland or X display for the toolkit that answers within a second. Needs no display when
// ELM_DISPLAY or ELM_ENGINE names an engine that draws into memory or into a file.
// Removes WAYLAND_DISPLAY or DISPLAY from the environment when its display does not answer. The
// toolkit would wait for that display although the other display answers.
// Returns false and logs the reason when there is no display.
// Call before another thread reads the environment.
bool FindDisplay();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_DISPLAY_H_
