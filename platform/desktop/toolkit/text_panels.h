#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_

#include <Evas.h>

namespace quorvel::desktop {

// The text panels of the window are the labels of the style "slide_short". From now on one that
// lies in a cell shows its text as large as the cell allows, within limits, instead of making the
// cell higher or being cut off; and the scroller around one that scrolls knows whether a text is
// shown. Once for a window; main-loop thread.
void SetUpTextPanels(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TEXT_PANELS_H_
