#ifndef QUORVEL_PLATFORM_DESKTOP_LIST_FOCUS_H_
#define QUORVEL_PLATFORM_DESKTOP_LIST_FOCUS_H_

#include <Evas.h>

namespace quorvel::desktop {

// From now on the focused row of each list in the window steps back while the focus is elsewhere.
// The toolkit tells the list of it, but not the row. Once for a window; main-loop thread.
void WatchListFocus(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIST_FOCUS_H_
