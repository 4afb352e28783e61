#include "view/desktop_start.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "runs/temporary_folder.h"
#include "view/child.h"
#include "view/report.h"

namespace quorvel::view {

namespace {

constexpr const char* kDialog = "quorvel-dialog";
// The status of quorvel-dialog when the user has cancelled the dialog.
constexpr int kCancelled = 1;

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] != '\0';
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

bool HasDisplay() {
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

bool IsDesktopStart() {
    const char* process = std::getenv("GIO_LAUNCHED_DESKTOP_FILE_PID");
    return HasDisplay() && (IsSet("DESKTOP_STARTUP_ID") || IsSet("XDG_ACTIVATION_TOKEN") ||
                            (process != nullptr && std::to_string(getpid()) == process));
}

std::string AskForFolder() {
    const runs::TemporaryFolder folder;
    const std::string file = folder.Path() + "/chosen";
    const int status = RunProgram({FindProgram(kDialog), "folder", file});
    if (status == 0) {
        return ReadFile(file);
    }
    if (status != kCancelled) {
        Report(
            "this desktop has no folder chooser; open a folder with Quorvel in the file manager, "
            "or run 'quorvel-view PATH' in a terminal");
    }
    return {};
}

void ShowReports() {
    const std::string text = TakeReports();
    if (!text.empty()) {
        RunProgram({FindProgram(kDialog), "message", text});
    }
}

}  // namespace quorvel::view
