#ifndef QUORVEL_PLATFORM_DESKTOP_STANDARD_OUTPUT_H_
#define QUORVEL_PLATFORM_DESKTOP_STANDARD_OUTPUT_H_

namespace quorvel::desktop {

// Makes exit() return status 2 when the standard output of the C library cannot be written. The
// standard error stream then gets one line with the reason. argp writes --help and --version
// without this check. program: the name in the line, a literal. Call once, on the main thread.
void CheckOutputAtExit(const char* program);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_STANDARD_OUTPUT_H_
