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

// The arguments without options, after the name of the program.
using Arguments = std::vector<char*>;

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
    if (!AddKeyValue(ignored, argument)) {
        std::fprintf(stderr, "quorvel: %s: not of the form KEY=VALUE\n", argument);
        return EINVAL;
    }
    static_cast<Arguments*>(state->input)->push_back(argument);
    return 0;
}

// Returns whether the arguments are valid, and appends them. Ends the process with status 0 for
// --help and --version.
bool ParseOptions(int argc, char** argv, Arguments& arguments) {
    argp_program_version = "quorvel " QUORVEL_VERSION;
    const argp parser = {nullptr, Parse, kArguments, kDocumentation, nullptr, nullptr, nullptr};
    std::string name = "quorvel";
    CheckOutputAtExit("quorvel");
    std::vector<char*> words(argv, argv + argc + 1);
    words[0] = name.data();
    if (argp_parse(&parser, argc, words.data(), 0, nullptr, &arguments) == 0) {
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

// Returns 1 for each error number of the application. A process would return only its last byte,
// which can be the status of a signal.
int __wrap_main(int argc, char** argv) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    if (argc < 1) {
        return kUsageStatus;
    }
    Arguments arguments = {argv[0]};
    if (!ParseOptions(argc, argv, arguments)) {
        return kUsageStatus;
    }
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    return __real_main(count, arguments.data()) == 0 ? 0 : kFailureStatus;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
