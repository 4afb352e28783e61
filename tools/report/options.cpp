#include "report/options.h"

#include <argp.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <map>
#include <string>

#include "runs/printable.h"

namespace quorvel::report {

namespace {

constexpr unsigned int kMaxJobs = 256;

constexpr const char* kDocumentation =
    "Reports and analyses the failed items of factory test runs."
    "\v"
    "PATH is a folder, a result file (its folder is read) or an archive. Folders are searched for "
    "runs.\n\n"
    "Exit status: 0 no item failed, 1 an item failed, 2 an option, a path, a file or the output is "
    "invalid, or a run has no item.";

const argp_option kOptions[] = {
    {"format", 'f', "FORMAT", 0, "text, json, html, csv or trace (default: text)", 0},
    {"output", 'o', "FILE", 0, "Write to FILE instead of standard output", 0},
    {"jobs", 'j', "N", 0, "Analyse N runs at the same time (default: 1)", 0},
    {"time-unit", 't', "UNIT", 0,
     "Unit of the times in the result files for the trace: us, ms or s (default: ms)", 0},
    {nullptr, 0, nullptr, 0, nullptr, 0}};

struct FormatName {
    const char* name;
    std::unique_ptr<Format> (*make)(TimeUnit unit);
};

const FormatName kFormats[] = {
    {"text", [](TimeUnit) { return MakeTextFormat(); }},
    {"json", [](TimeUnit) { return MakeJsonFormat(); }},
    {"html", [](TimeUnit) { return MakeHtmlFormat(); }},
    {"csv", [](TimeUnit) { return MakeCsvFormat(); }},
    {"trace", MakeTraceFormat},
};

// Returns null for an unknown name.
const FormatName* FindFormat(const std::string& name) {
    const auto* format =
        std::find_if(std::begin(kFormats), std::end(kFormats),
                     [&name](const FormatName& known) { return known.name == name; });
    return format == std::end(kFormats) ? nullptr : format;
}

// Reports a wrong argument and ends the program.
void Reject(argp_state* state, const char* argument, const std::string& problem) {
    argp_error(state, "%s: %s", runs::MakePrintable(argument).c_str(), problem.c_str());
}

unsigned int ParseJobs(const char* text, argp_state* state) {
    char* end = nullptr;
    errno = 0;
    const unsigned long jobs = std::strtoul(text, &end, 10);
    if (text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0 || jobs < 1 ||
        jobs > kMaxJobs) {
        Reject(state, text, "the number of jobs must be from 1 to " + std::to_string(kMaxJobs));
    }
    return static_cast<unsigned int>(jobs);
}

TimeUnit ParseTimeUnit(const char* text, argp_state* state) {
    static const std::map<std::string, TimeUnit> kUnits = {{"us", TimeUnit::kMicroseconds},
                                                           {"ms", TimeUnit::kMilliseconds},
                                                           {"s", TimeUnit::kSeconds}};
    const auto unit = kUnits.find(text);
    if (unit == kUnits.end()) {
        Reject(state, text, "unknown time unit");
        return TimeUnit::kMilliseconds;
    }
    return unit->second;
}

error_t OnArgument(int key, char* argument, argp_state* state) {
    auto& options = *static_cast<Options*>(state->input);
    switch (key) {
        case ARGP_KEY_INIT:
            if (const char* option = runs::FindUnprintableOption(state->argv)) {
                Reject(state, option, "unknown option");
            }
            return 0;
        case 'f':
            if (FindFormat(argument) == nullptr) {
                Reject(state, argument, "unknown format");
            }
            options.format = argument;
            return 0;
        case 'o':
            if (argument[0] == '\0') {
                argp_error(state, "FILE: empty argument");
            }
            options.output = argument;
            return 0;
        case 'j':
            options.jobs = ParseJobs(argument, state);
            return 0;
        case 't':
            options.timeUnit = ParseTimeUnit(argument, state);
            return 0;
        case ARGP_KEY_ARG:
            options.paths.emplace_back(argument);
            return 0;
        case ARGP_KEY_NO_ARGS:
            argp_error(state, "PATH: missing argument");
            return 0;
        default:
            return ARGP_ERR_UNKNOWN;
    }
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
    const argp parser = {kOptions, OnArgument, "PATH...", kDocumentation,
                         nullptr,  nullptr,    nullptr};
    argp_program_version = "quorvel-report " QUORVEL_VERSION;
    argp_err_exit_status = kTrouble;
    // A message begins with the name of the program, not with its path.
    static std::string name = "quorvel-report";
    argv[0] = name.data();
    Options options;
    argp_parse(&parser, argc, argv, 0, nullptr, &options);
    return options;
}

std::unique_ptr<Format> MakeFormat(const Options& options) {
    return FindFormat(options.format)->make(options.timeUnit);
}

}  // namespace quorvel::report
