#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LABEL_FOCUS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LABEL_FOCUS_H_

#include <Evas.h>

namespace quorvel::desktop {

// From now on each label that is in the window emits "focused" and "unfocused", which the toolkit's
// labels do not, and the scroller around it shows the focus. Once for a window; main-loop thread.
void WatchLabelFocus(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_LABEL_FOCUS_H_
