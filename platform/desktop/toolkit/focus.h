#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_

#include <Evas.h>

namespace quorvel::desktop {

// Gives the labels and lists of the window the focus behaviour of the set:
// - A label emits "focused" and "unfocused". The scroller around the label shows a focus frame.
// - The focused row of a list gets a weaker highlight while another widget has the focus.
// - Up and Down reach every row of a list. The arrow keys leave a list that has one row.
// - A list that has one row emits "item,focused" when the focus returns from another widget of the
//   window. The focus cannot come from another row.
// Call once for each window, after the window has all its widgets. Main-loop thread.
void WatchFocus(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_
