#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_

#include <Evas.h>

namespace quorvel::desktop {

// Sets up the text panels of the window: the labels of the style "slide_short".
// - An information panel shows its text at the largest size, within limits, at which the whole text
//   fits into the cell. The text never changes the size of the cell.
// - The detail panel keeps the application's text size. The scroller around the label learns
// whether
//   the label is shown.
// Call once for each window, after the window has all its widgets. Main-loop thread.
void SetUpTextPanels(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
