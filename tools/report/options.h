#ifndef QUORVEL_TOOLS_REPORT_OPTIONS_H_
#define QUORVEL_TOOLS_REPORT_OPTIONS_H_

#include <memory>
#include <string>
#include <vector>

#include "report/format.h"

namespace quorvel::report {

// The exit statuses.
constexpr int kAllPassed = 0;
constexpr int kSomeFailed = 1;
constexpr int kTrouble = 2;

struct Options {
    std::string format = "text";
    TimeUnit timeUnit = TimeUnit::kMilliseconds;
    std::string output;  // empty for standard output
    unsigned int jobs = 1;
    std::vector<std::string> paths;
};

// Reads the arguments. --help, --version and a wrong argument end the process.
Options ParseOptions(int argc, char** argv);

// Returns a new object of the format that the options name.
std::unique_ptr<Format> MakeFormat(const Options& options);

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_OPTIONS_H_
