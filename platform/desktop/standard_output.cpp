#include "standard_output.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace quorvel::desktop {

namespace {

constexpr int kFailedOutputStatus = 2;

const char* g_OutputProgram = nullptr;

void CheckOutput() {
    if (std::fflush(stdout) != 0) {
        std::perror((std::string(g_OutputProgram) + ": standard output").c_str());
        _exit(kFailedOutputStatus);
    }
}

}  // namespace

void CheckOutputAtExit(const char* program) {
    g_OutputProgram = program;
    (void)std::atexit(CheckOutput);
}

}  // namespace quorvel::desktop
