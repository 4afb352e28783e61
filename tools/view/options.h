#ifndef QUORVEL_TOOLS_VIEW_OPTIONS_H_
#define QUORVEL_TOOLS_VIEW_OPTIONS_H_

#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

namespace quorvel::view {

// The command line of quorvel-view.
struct Options {
    std::string path;            // empty: a dialog asks for the path
    desktop::KeyValues request;  // for the application
    bool latest = false;
    bool force = false;
    bool replace = false;
};

// Reads the command line. With --help or --version, prints the text on standard output and ends the
// process with status 0. Returns no value after an error, which is described on standard error.
std::optional<Options> ParseOptions(int argc, char** argv);

}  // namespace quorvel::view

#endif  // QUORVEL_TOOLS_VIEW_OPTIONS_H_
