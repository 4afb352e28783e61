// quorvel-view: finds a run, checks the run, and starts quorvel on a copy of the run.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/owner.h"
#include "runs/printable.h"
#include "runs/runs.h"
#include "view/child.h"
#include "view/copy.h"
#include "view/desktop_start.h"
#include "view/options.h"
#include "view/report.h"

namespace quorvel::view {

namespace {

namespace fs = std::filesystem;

// The exit statuses. kSignal is added to the number of the signal that ended quorvel.
enum Status : int { kSuccess, kNoRun, kUsage, kOtherRun, kSignal = 128 };

// The timeout of a launch request, and of the owner's shutdown.
constexpr std::chrono::seconds kOwnerTimeout{10};

// Returns the run to open. Without such a run: reports the reason and sets status.
std::optional<runs::Run> ChooseRun(const Options& options, int& status) {
    runs::SearchResult result = runs::FindRuns(options.path);
    for (const std::string& problem : result.problems) {
        Report(problem);
    }
    status = kNoRun;
    if (!result.failure.empty()) {
        Report(result.failure);
    } else if (result.runs.empty()) {
        Report(runs::DescribeNoRun(options.path));
    } else if (result.runs.size() > 1 && !options.latest) {
        ReportSeveral(options.path, result.runs);
        status = kUsage;
    } else {
        return std::move(result.runs.front());
    }
    return std::nullopt;
}

// Warns of missing items. The screen shows fewer rows and no reason.
void WarnOfMissingItems(const runs::Run& run, bool damaged) {
    if (run.items == 0) {
        Report(run.path + (damaged ? ": warning: no item can be read; an empty list does not mean "
                                     "that the set is good"
                                   : ": warning: the run has no item; nothing was tested"));
    } else if (run.files[0].state == runs::FileState::kMissing) {
        Report(run.path + ": warning: no " + run.files[0].name + " found; only " +
               run.files[1].name + " is shown");
    }
}

// Reports the problems of the run. Returns whether the run can be opened.
bool IsAcceptable(const runs::Run& run, bool force) {
    const bool damaged = ReportDamage(run);
    if (damaged && !force) {
        Report("nothing is shown; --force opens what can be read");
        return false;
    }
    if (std::none_of(run.files.begin(), run.files.end(),
                     std::mem_fn(&runs::ResultFile::CanBeOpened))) {
        Report(run.path + ": no result file can be read; nothing is shown");
        return false;
    }
    WarnOfMissingItems(run, damaged);
    return true;
}

// Closes the owner. Returns whether its process has ended.
bool CloseOwner(const std::string& folder) {
    desktop::HandOver(folder, {{"EXEPARAM", "CLOSE"}}, kOwnerTimeout);
    return desktop::AwaitNoOwner(folder, kOwnerTimeout);
}

// Sends the launch request to an owner that shows the run. With --replace, closes the owner
// instead. Returns the exit status, or no value when this process must open the run.
std::optional<int> AskOwner(const runs::Run& run, const Options& options) {
    std::string why;
    const std::string folder = desktop::RuntimeFolder(why);
    const auto owner = desktop::FindOwner(folder);
    if (!owner) {
        return std::nullopt;
    }
    const std::string name = desktop::NameOfOwner(owner->process);
    if (options.replace) {
        if (CloseOwner(folder)) {
            return std::nullopt;
        }
        Report(name + " does not close; end that process and try again");
    } else if (owner->files != run.identity) {
        Report(name + " shows " + (owner->path.empty() ? "unknown result files" : owner->path) +
               "; close it or add --replace");
    } else if (desktop::HandOver(folder, options.request, kOwnerTimeout)) {
        return kSuccess;
    } else {
        Report(name + " does not answer; end that process and try again");
    }
    return kOtherRun;
}

int Show(const runs::Run& run, const Options& options, bool fromDesktop) {
    const runs::TemporaryFolder folder;
    CopyRun(run, folder.Path());
    const std::string exceptionFile = folder.Path() + "/exception";
    setenv("QUORVEL_EXCEPTION_FILE", exceptionFile.c_str(), 1);
    setenv("QUORVEL_RUN_IDENTITY", run.identity.c_str(), 1);
    setenv("QUORVEL_RUN_PATH", runs::MakePrintable(fs::absolute(run.path)).c_str(), 1);
    std::vector<std::string> words = {FindProgram("mount-data"), folder.Path(),
                                      FindProgram("quorvel")};
    for (const auto& [key, value] : options.request) {
        words.push_back(key);
        words.back().append("=").append(value);
    }
    if (isatty(STDERR_FILENO) != 0) {
        Report(
            "to close the window, press Alt+F4 or press Ctrl+C here, or run "
            "'quorvel EXEPARAM=CLOSE'");
    }
    const int status = RunProgram(std::move(words));
    if (status > kSignal && status <= kSignal + SIGRTMAX) {
        ReportSignal(status - kSignal, folder.Path(), exceptionFile);
    } else if (fromDesktop && status != kSuccess) {
        // quorvel writes the reason to standard error, which the desktop does not show.
        Report("quorvel exited with status " + std::to_string(status) +
               "; to see the reason, run 'quorvel-view PATH' in a terminal");
    }
    return status;
}

int Open(const Options& options, bool fromDesktop) {
    int status = kNoRun;
    const std::optional<runs::Run> run = ChooseRun(options, status);
    if (!run) {
        return status;
    }
    if (!IsAcceptable(*run, options.force)) {
        return kNoRun;
    }
    if (const std::optional<int> answered = AskOwner(*run, options)) {
        return *answered;
    }
    if (fromDesktop) {
        ShowReports();
    }
    return Show(*run, options, fromDesktop);
}

// Asks for the folder when the options have no path. Reports exceptions.
int AskAndOpen(Options& options, bool fromDesktop) {
    try {
        if (options.path.empty()) {
            options.path = AskForFolder();
        }
        return options.path.empty() ? kNoRun : Open(options, fromDesktop);
    } catch (const fs::filesystem_error& error) {
        Report(runs::DescribeUnwritten(error));
    } catch (const std::exception& error) {
        Report(error.what());
    }
    return kNoRun;
}

int Run(int argc, char** argv) {
    // A write beyond a limit on the size of files then fails and does not end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    std::optional<Options> options = ParseOptions(argc, argv);
    if (!options) {
        return kUsage;
    }
    const bool fromDesktop = options->path.empty() || IsDesktopStart();
    const int status = AskAndOpen(*options, fromDesktop);
    if (fromDesktop && status != kSuccess) {
        ShowReports();
    }
    return status;
}

}  // namespace

}  // namespace quorvel::view

int main(int argc, char** argv) {
    try {
        return quorvel::view::Run(argc, argv);
    } catch (const std::exception& error) {
        quorvel::view::Report(error.what());
    }
    return 1;
}
