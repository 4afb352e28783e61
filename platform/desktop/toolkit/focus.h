#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_

#include "toolkit/widgets.h"

namespace quorvel::desktop {

// Gives the widgets of a window the focus behaviour of the set:
// - The label of the detail panel emits "focused" and "unfocused". The scroller around the label
//   shows a focus frame.
// - The focused row of the list gets a weaker highlight while another widget has the focus.
// - The list also emits "item,focused" when the popup closes onto a row. A list that has one row
//   emits the signal when the focus returns from any widget.
// - Up and Down reach every row and stay in the list. Right leads to the text, and to the button if
//   the text is hidden. Down leads from the end of the text to the button, and Up leads back to the
//   end of the text. Left leads to the list. A hidden or disabled widget never gets the focus.
// - The text keeps its place while the focus is elsewhere. The text of another row starts at the
//   top.
// Call once for each window, with complete widgets. Main-loop thread.
void WatchFocus(const Widgets& widgets);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_FOCUS_H_
