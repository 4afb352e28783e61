#ifndef QUORVEL_TOOLS_VIEW_DESKTOP_START_H_
#define QUORVEL_TOOLS_VIEW_DESKTOP_START_H_

#include <string>

// A start from the menu or the file manager of a desktop. Such a start has no terminal.
// quorvel-dialog shows the dialogs, so that this program needs no toolkit.
namespace quorvel::view {

// Returns whether the environment names an X or Wayland display.
bool HasDisplay();

// Returns whether the environment shows that a launcher of the desktop has started this process:
// it has a variable of the startup notification, or the variable of GIO names this process.
bool IsDesktopStart();

// Asks the user for a folder. Returns an empty text when the user cancels the dialog. Without a
// folder chooser: returns an empty text too, and reports how to open a folder.
std::string AskForFolder();

// Shows a window with the lines that were reported since the last call, until the user closes the
// window. Does nothing without such a line.
void ShowReports();

}  // namespace quorvel::view

#endif  // QUORVEL_TOOLS_VIEW_DESKTOP_START_H_
