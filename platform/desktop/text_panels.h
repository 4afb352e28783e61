#ifndef QUORVEL_PLATFORM_DESKTOP_TEXT_PANELS_H_
#define QUORVEL_PLATFORM_DESKTOP_TEXT_PANELS_H_

#include <Evas.h>

namespace quorvel::desktop {

// From now on each text panel of the window that does not scroll (style "slide_short") shows its
// text as large as its cell allows, within limits, instead of making its cell higher or being cut
// off. Once for a window; main-loop thread.
void FitTextPanels(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TEXT_PANELS_H_
