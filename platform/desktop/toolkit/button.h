#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_BUTTON_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_BUTTON_H_

#include <Evas.h>

namespace quorvel::desktop {

// Places the button below the detail panel: it begins at the left edge of the panel, and keeps the
// margin of the screen. Call once for each window, after the window has all its widgets. Main-loop
// thread.
void PlaceButton(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_BUTTON_H_
