#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_

#include <Evas.h>

// The application creates its window by itself and fills it at once; what the set's platform gives
// such a window by itself is done here, in the call that creates it (see the link option --wrap).
// Main-loop thread.
namespace quorvel::desktop {

// The toolkit's scale for a screen of this size in pixels: 2.0 on the set's 1920x1080, and such
// that the whole layout fits on any other one.
double ScaleFor(int width, int height);

// Makes a new, still empty window one of the set: scale, whole screen, focus, no pointer. A display
// without a screen of its own (drawing into memory) counts as 1920x1080.
void SetUpWindow(Evas_Object* window);

// The window of the application; null before it is created and after it is deleted.
Evas_Object* MainWindow();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WINDOW_H_
