#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_COLUMNS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_COLUMNS_H_

#include <string>
#include <string_view>

namespace quorvel::desktop {

// Returns the markup of a text with aligned columns. A line "number, tab, number, tab, name"
// belongs to the columns; other lines stay as they are. Spaces of the width of a digit make the
// numbers of a column equally long. A tab of the toolkit has a fixed width. Takes linear time.
//
// A name in a right-to-left script stays in its column. The numbers stay at the left of the name. A
// number in brackets stays at the right.
//
// The link option --wrap leads the calls of elm_object_part_text_set to columns.cpp, which aligns
// the columns of each label. Any thread; the labels: main-loop thread.
std::string AlignColumns(std::string_view markup);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_COLUMNS_H_
