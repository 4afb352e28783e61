#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_

#include "toolkit/widgets.h"

namespace quorvel::desktop {

// Sets up the text panels of a window, now and after each change of the toolkit's scale.
// - Both information panels have the same text size and the same distance between lines. A text
//   that is higher than its panel slides. The text never changes the size of the cell.
// - The detail panel keeps the application's text size. The scroller around the label gets a signal
//   when the label is shown or hidden.
// Call once for each window, with complete widgets. Main-loop thread.
void SetUpTextPanels(const Widgets& widgets);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
