#include "log_copy/log_copy_service.h"

#include <dlog.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <mutex>
#include <optional>

#include "paths.h"

namespace quorvel::desktop {

namespace {

// The copies under way, on whichever threads. Any thread.
class RunningCopies {
public:
    void Add() {
        const std::lock_guard<std::mutex> guard(m_Mutex);
        ++m_Number;
    }
    void Remove() {
        const std::lock_guard<std::mutex> guard(m_Mutex);
        --m_Number;
        m_Changed.notify_all();
    }
    bool AwaitNone(std::chrono::milliseconds patience) {
        std::unique_lock<std::mutex> guard(m_Mutex);
        return m_Changed.wait_for(guard, patience, [this] { return m_Number == 0; });
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    int m_Number = 0;
};

// Never destroyed: a copy that is not waited for any longer may outlive main.
RunningCopies& Copies() {
    static auto& copies = *new RunningCopies;
    return copies;
}

// One copy, as long as it lives.
class RunningCopy {
public:
    RunningCopy() { Copies().Add(); }
    ~RunningCopy() { Copies().Remove(); }
    RunningCopy(const RunningCopy&) = delete;
    RunningCopy& operator=(const RunningCopy&) = delete;
};

const char* LineOf(LogCopyStatus status) {
    switch (status) {
        case LogCopyStatus::kDone:
            return "log copy: the logs are stored in";
        case LogCopyStatus::kNoStorage:
            return "log copy: no USB storage is mounted";
        case LogCopyStatus::kReadOnly:
            return "log copy: the USB storage is read-only";
        case LogCopyStatus::kFull:
            return "log copy: the USB storage is full";
        case LogCopyStatus::kGone:
            return "log copy: the USB storage was unplugged or is broken";
        case LogCopyStatus::kNotPermitted:
            return "log copy: no permission to write to the USB storage";
        case LogCopyStatus::kNothingToCopy:
            return "log copy: there is nothing to copy";
        case LogCopyStatus::kBusy:
            return "log copy: another copy to the USB storage is under way";
        case LogCopyStatus::kUnreadable:
            return "log copy: a file to copy cannot be read";
        case LogCopyStatus::kOther:
            break;
    }
    return "log copy: the USB storage does not take the files";
}

// Mount points and file names can hold anything; a line of the log holds no control characters.
std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f'; },
        '?');
    return text;
}

LogCopyResult Run(const LogCopyParts& parts, const LogCopyJob& job) {
    try {
        return CopyLogs(parts.io, job, parts.findStorage());
    } catch (const std::exception& error) {
        return {LogCopyStatus::kOther, error.what()};
    }
}

void WriteToLog(bool isError, const std::string& line) {
    __dlog_print(isError ? LOG_ID_SYSTEM : LOG_ID_MAIN, isError ? DLOG_ERROR : DLOG_INFO, "QEL_PC",
                 "%s\n", line.c_str());
}

// Empty when the machine has no name.
std::string HostName() {
    std::array<char, 256> name{};
    // Not ended by a zero when it was cut.
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

}  // namespace

int RunLogCopy(const LogCopyParts& parts, const LogCopyJob& job) noexcept {
    const RunningCopy running;
    const LogCopyResult result = Run(parts, job);
    const bool isError = result.status != LogCopyStatus::kDone;
    const std::string detail = result.detail.empty() ? "" : " (" + OneLine(result.detail) + ")";
    parts.log(isError, LineOf(result.status) + detail);
    return isError ? -1 : 0;
}

bool AwaitLogCopies(std::chrono::milliseconds patience) {
    return Copies().AwaitNone(patience);
}

UsbStorage StorageToCopyTo() {
    const char* folder = std::getenv("QUORVEL_USB_DIR");
    if (folder != nullptr && folder[0] != '\0') {
        return {0, folder, std::nullopt};
    }
    return FindUsbStorage();
}

}  // namespace quorvel::desktop

int automation_copy_log_to_usb(void) {
    quorvel::desktop::SystemFileIo io;
    const quorvel::desktop::LogCopyJob job{quorvel::desktop::DataDir(),
                                           quorvel::desktop::StateDir(),
                                           quorvel::desktop::HostName(), std::time(nullptr)};
    return quorvel::desktop::RunLogCopy(
        {io, quorvel::desktop::StorageToCopyTo, quorvel::desktop::WriteToLog}, job);
}
