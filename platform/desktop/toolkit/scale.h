#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_SCALE_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_SCALE_H_

#include <Evas.h>

namespace quorvel::desktop {

// Scales the window's content to the size of the window, whenever the size changes. The focus, the
// focused row and the scroll positions stay. Emits no "item,focused". Call once for each window,
// with complete widgets. Main-loop thread.
void ScaleWithWindow(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_SCALE_H_
