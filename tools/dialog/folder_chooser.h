#ifndef QUORVEL_TOOLS_DIALOG_FOLDER_CHOOSER_H_
#define QUORVEL_TOOLS_DIALOG_FOLDER_CHOOSER_H_

#include <string>

namespace quorvel::dialog {

enum class Choice {
    kChosen,
    kCancelled,    // by the user
    kUnavailable,  // the desktop has no folder chooser, or an error occurred
};

// Lets the user choose a folder with the file chooser of the desktop portal
// (org.freedesktop.portal.FileChooser on the session bus). Runs the main loop until the user
// answers or the portal disappears. Sets path to an absolute path only when a folder is chosen.
// A portal older than version 3 of the interface lets the user choose a file instead.
Choice ChooseFolder(const char* title, std::string& path);

}  // namespace quorvel::dialog

#endif  // QUORVEL_TOOLS_DIALOG_FOLDER_CHOOSER_H_
