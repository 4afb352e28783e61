#include "view/options.h"

#include <argp.h>

#include <cstdio>
#include <string>

#include "runs/printable.h"
#include "standard_output.h"
#include "view/desktop_start.h"

namespace quorvel::view {

namespace {

enum Key : int { kLatest = 0x100, kForce, kReplace };

constexpr const char* kArguments = "[PATH [KEY=VALUE...]]";
constexpr const char* kDocumentation =
    "Shows a run in Quorvel. PATH is a folder with result files, one of the result files, an "
    "archive (.tar, .tar.gz, .tgz, .tar.xz, .zip), or a folder above them, such as the root of "
    "USB storage. Nothing below PATH is written to. KEY=VALUE is a launch request for Quorvel. "
    "Without PATH, a dialog asks for a folder."
    "\v"
    "To close the window, press Alt+F4, press Ctrl+C in the terminal, or run "
    "'quorvel EXEPARAM=CLOSE'.\n\n"
    "Exit status: 0 success, 1 no run, a damaged run or any other error, 2 several runs or a wrong "
    "option, 3 Quorvel shows another run, 128+N Quorvel ended by signal N.";

const argp_option kOptions[] = {
    {"latest", kLatest, nullptr, 0, "Open the newest of several runs", 0},
    {"force", kForce, nullptr, 0, "Open what can be read of a damaged run", 0},
    {"replace", kReplace, nullptr, 0, "Close the run that Quorvel shows and open this run", 0},
    {nullptr, 0, nullptr, 0, nullptr, 0},
};

int RejectArgument(const char* argument, const char* reason) {
    std::fprintf(stderr, "quorvel-view: %s: %s\n", runs::MakePrintable(argument).c_str(), reason);
    return EINVAL;
}

int TakeArgument(Options& options, const char* argument) {
    if (options.path.empty()) {
        options.path = argument;
        return argument[0] == '\0' ? RejectArgument("PATH", "empty argument") : 0;
    }
    return desktop::AddKeyValue(options.request, argument)
               ? 0
               : RejectArgument(argument, "not of the form KEY=VALUE");
}

int Parse(int key, char* argument, argp_state* state) {
    auto& options = *static_cast<Options*>(state->input);
    switch (key) {
        case ARGP_KEY_INIT:
            // Suppresses the hint of argp after an unknown option. ParseOptions writes a hint.
            state->err_stream = nullptr;
            return 0;
        case kLatest:
            options.latest = true;
            return 0;
        case kForce:
            options.force = true;
            return 0;
        case kReplace:
            options.replace = true;
            return 0;
        case ARGP_KEY_ARG:
            return TakeArgument(options, argument);
        case ARGP_KEY_NO_ARGS:
            return HasDisplay() ? 0 : RejectArgument("PATH", "missing argument");
        default:
            return ARGP_ERR_UNKNOWN;
    }
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv) {
    argp_program_version = "quorvel-view " QUORVEL_VERSION;
    const argp parser = {kOptions, Parse, kArguments, kDocumentation, nullptr, nullptr, nullptr};
    std::string name = "quorvel-view";
    argv[0] = name.data();
    desktop::CheckOutputAtExit("quorvel-view");
    Options options;
    const char* unprintable = runs::FindUnprintableOption(argv);
    const int error = unprintable != nullptr
                          ? RejectArgument(unprintable, "unknown option")
                          : argp_parse(&parser, argc, argv, 0, nullptr, &options);
    if (error != 0) {
        std::fputs("Try 'quorvel-view --help'.\n", stderr);
        return std::nullopt;
    }
    return options;
}

}  // namespace quorvel::view
