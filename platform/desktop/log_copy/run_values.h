#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_RUN_VALUES_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_RUN_VALUES_H_

#include <string>
#include <vector>

#include "log_copy/log_sources.h"

namespace quorvel::desktop {

// The values of the result files that a log copy uses.
struct RunValues {
    std::string serialNumber;  // empty when the run has no serial number
    // The first kMaxPhotos values of "image" items, without repetitions.
    std::vector<std::string> photos;
};

// Reads the values from the result files among the sources, which are open. As for the application,
// a file that is not well-formed has no values, and a serial number of qelXml.xml takes precedence.
// Throws LogCopyError when a file cannot be read. Any thread.
RunValues ReadRunValues(const std::vector<LogSource>& sources);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_RUN_VALUES_H_
