#ifndef QUORVEL_PLATFORM_DESKTOP_FOCUS_WATCH_H_
#define QUORVEL_PLATFORM_DESKTOP_FOCUS_WATCH_H_

#include <Evas.h>

#include <functional>

namespace quorvel::desktop {

// Calls changed whenever the widget, or something inside it, has come by the focus or lost it; true
// is the focus. The widget counts as without focus before. The focus bounces (on, off, on) on its
// way between widgets, so changed is called only when a turn of the main loop is over, and only for
// what has come of it. Ends with the widget. Main-loop thread.
void WatchFocus(Evas_Object* widget, std::function<void(bool)> changed);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_FOCUS_WATCH_H_
