#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LIST_FOCUS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LIST_FOCUS_H_

#include <Evas.h>

namespace quorvel::desktop {

// From now on the focused row of each list in the window steps back while the focus is elsewhere;
// the toolkit tells the list of it, but not the row. Up and Down reach every row, and a row that is
// alone lets the focus go; it tells of its focus ("item,focused") when that comes back from another
// widget, since it cannot come from another row. Once for a window; main-loop thread.
void WatchListFocus(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LIST_FOCUS_H_
