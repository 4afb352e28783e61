// The dialogs of quorvel-view for a start from a desktop:
//
//     quorvel-dialog folder FILE   writes the path of the folder that the user chooses to FILE
//     quorvel-dialog message TEXT  shows the text until the user closes the window

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "dialog/folder_chooser.h"
#include "dialog/message_window.h"

namespace quorvel::dialog {

namespace {

// The exit statuses. quorvel-view uses kSuccess and kCancelled.
enum Status : int { kSuccess, kCancelled, kUnavailable };

constexpr const char* kTitle = "Open a factory test run";

int WriteChosenFolder(const char* file) {
    std::string path;
    switch (ChooseFolder(kTitle, path)) {
        case Choice::kChosen:
            return (std::ofstream(file) << path << std::flush) ? kSuccess : kUnavailable;
        case Choice::kCancelled:
            return kCancelled;
        default:
            return kUnavailable;
    }
}

int Run(int argc, char** argv) {
    const std::string dialog = argc > 1 ? argv[1] : "";
    if (dialog == "folder" && argc == 3) {
        return WriteChosenFolder(argv[2]);
    }
    if (dialog == "message" && argc == 3) {
        return ShowMessage(argv[2]) ? kSuccess : kUnavailable;
    }
    std::fputs("usage: quorvel-dialog folder FILE | message TEXT\n", stderr);
    return kUnavailable;
}

}  // namespace

}  // namespace quorvel::dialog

int main(int argc, char** argv) {
    // Removes stack traces from the toolkit's messages, and loads no modules for power and time
    // zones.
    setenv("EINA_LOG_BACKTRACE", "-1", 0);
    setenv("ECORE_NO_SYSTEM_MODULES", "1", 0);
    return quorvel::dialog::Run(argc, argv);
}
