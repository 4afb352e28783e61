#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_WATCH_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_WATCH_H_

#include <Evas.h>

#include <functional>

namespace quorvel::desktop {

// Calls settled once at the start and whenever the focus has come to the widget, to something
// inside it, or has left: true is the focus. The focus bounces (on, off, on) on its way between
// widgets, so settled is called only when a turn of the main loop is over, for what has come of it;
// that can be the same as before. Ends with the widget. Main-loop thread.
void WatchFocus(Evas_Object* widget, std::function<void(bool)> settled);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_WATCH_H_
