// The entry point of quorvel on a PC. Reads the options before the application's main runs, because
// main writes a log line. Linked with -Wl,--wrap=main into this program only.

#include <argp.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "lifecycle/launch_request.h"
#include "standard_output.h"

namespace quorvel::desktop {

namespace {

constexpr int kFailureStatus = 1;
constexpr int kUsageStatus = 2;

constexpr const char* kArguments = "[KEY=VALUE...]";
constexpr const char* kDocumentation =
    "Shows the run in the data folder "
    "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data, or sends the launch request KEY=VALUE to "
    "the running quorvel. quorvel-view shows a run in another folder."
    "\v"
    "To close the window, press Alt+F4, press Ctrl+C in the terminal, or run "
    "'quorvel EXEPARAM=CLOSE'.";

int Parse(int key, char* argument, argp_state* state) {
    if (key == ARGP_KEY_INIT) {
        // argp would otherwise write its own hint after an unknown option.
        state->err_stream = nullptr;
        return 0;
    }
    if (key != ARGP_KEY_ARG) {
        return ARGP_ERR_UNKNOWN;
    }
    KeyValues ignored;
    if (AddKeyValue(ignored, argument)) {
        return 0;
    }
    std::fprintf(stderr, "quorvel: %s: not of the form KEY=VALUE\n", argument);
    return EINVAL;
}

// Returns whether the arguments are valid. Ends the process with status 0 for --help and --version.
bool CheckArguments(int argc, char** argv) {
    argp_program_version = "quorvel " QUORVEL_VERSION;
    const argp parser = {nullptr, Parse, kArguments, kDocumentation, nullptr, nullptr, nullptr};
    std::string name = "quorvel";
    CheckOutputAtExit("quorvel");
    // argp reorders the arguments that it gets.
    std::vector<char*> words(argv, argv + argc + 1);
    words[0] = name.data();
    if (argp_parse(&parser, argc, words.data(), 0, nullptr, nullptr) == 0) {
        return true;
    }
    std::fputs("Try 'quorvel --help'.\n", stderr);
    return false;
}

}  // namespace

}  // namespace quorvel::desktop

// The linker's names for the start of the program, and for the application's main.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" int __real_main(int argc, char** argv);
extern "C" int __wrap_main(int argc, char** argv);

// Returns 1 for each error number of the application. The exit status would otherwise be the low
// byte of the number, which can equal the status that a shell reports for a signal.
int __wrap_main(int argc, char** argv) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    if (!CheckArguments(argc, argv)) {
        return kUsageStatus;
    }
    return __real_main(argc, argv) == 0 ? 0 : kFailureStatus;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
