#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_

#include <Evas.h>

namespace quorvel::desktop {

// Gives the rows of the list their texts and marks:
// - A row shows its text literally. Tabs and line breaks that follow each other become one blank.
// - A row shows the mark of an analysed row after OK on the row has opened the popup.
// Call once for each list, after the list has all its rows. Main-loop thread.
void SetUpRows(Evas_Object* list);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_ROWS_H_
