#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_

#include <Evas.h>

// The application creates its window with elm_win_util_standard_add and fills it at once. The link
// option --wrap leads the call to window.cpp. Before the call returns, the window gets the
// properties of a window of the set: scale, size of the screen, focus, hidden pointer. A canvas in
// memory has no screen; the window then gets 1920x1080 pixels. Main-loop thread.
namespace quorvel::desktop {

// Returns the toolkit's scale for a window of this size in pixels. The scale is 2.0 for the set's
// 1920x1080, and proportional for other sizes, so that the whole layout fits. A side counts as 64
// pixels at least. The environment variable ELM_SCALE multiplies the scale by a number, which is
// limited to 0.5 to 2.0. Any other value of the variable has no effect.
double ScaleFor(int width, int height);

// Returns the application's window; null before its creation and after its deletion.
Evas_Object* MainWindow();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_
