#ifndef QUORVEL_TOOLS_DIALOG_MESSAGE_WINDOW_H_
#define QUORVEL_TOOLS_DIALOG_MESSAGE_WINDOW_H_

#include <string>

namespace quorvel::dialog {

// Shows the text in a window until the user closes the window or presses OK. The text is UTF-8 and
// can have several lines. Returns whether the display has opened the window.
bool ShowMessage(const std::string& text);

}  // namespace quorvel::dialog

#endif  // QUORVEL_TOOLS_DIALOG_MESSAGE_WINDOW_H_
