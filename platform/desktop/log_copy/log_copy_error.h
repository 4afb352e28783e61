#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_ERROR_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_ERROR_H_

#include <cerrno>
#include <stdexcept>
#include <string>

#include "log_copy/log_copy.h"

namespace quorvel::desktop {

// Ends a copy that failed; does not leave CopyLogs.
class LogCopyError : public std::runtime_error {
public:
    LogCopyError(LogCopyStatus status, const std::string& detail)
        : std::runtime_error(detail), m_Status(status) {}

    LogCopyStatus Status() const { return m_Status; }

private:
    LogCopyStatus m_Status;
};

// Throws for an operation on the storage, or on one of the files to copy, that failed with error.
[[noreturn]] void FailStorage(const std::string& what, int error);
[[noreturn]] void FailSource(const std::string& what, int error);

// Calls the operation until no signal interrupts it.
template <typename Operation>
auto Uninterrupted(Operation operation) {
    auto result = operation();
    while (result < 0 && errno == EINTR) {
        result = operation();
    }
    return result;
}

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_ERROR_H_
