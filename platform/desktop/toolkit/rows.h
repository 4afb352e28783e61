#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_

#include <Evas.h>

namespace quorvel::desktop {

// Gives the rows of the window's lists their texts and marks:
// - A row shows its text literally. Tabs and line breaks that follow each other become one blank.
// - A row shows the mark of an analysed row from the time at which OK on the row opens the popup.
// Call once for each window, after the window has all its widgets. Main-loop thread.
void SetUpRows(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_
