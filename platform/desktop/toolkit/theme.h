#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_

// The set's widget styles, as an overlay over the toolkit's theme. Main-loop thread.
namespace quorvel::desktop {

// Adds the theme. Call after the toolkit's initialisation and before the first widget exists.
// Returns false and logs the file if a theme file is missing or invalid.
bool AddTheme();

// Removes the theme. No effect if the theme was not added.
void RemoveTheme();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
