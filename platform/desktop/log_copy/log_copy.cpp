#include "log_copy/log_copy.h"

#include <dlog.h>
#include <fcntl.h>
#include <sys/utsname.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <type_traits>
#include <vector>

#include "log_copy/file_io.h"
#include "log_copy/run_values.h"
#include "log_copy/unfinished_folder.h"
#include "paths.h"
#include "photos.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxHost = 63;
constexpr std::size_t kMaxSerialNumber = 32;

// Each running copy holds a shared lock.
std::shared_timed_mutex g_RunningCopies;

// Each thread that has run a copy holds a shared lock until the thread ends.
std::shared_timed_mutex g_CopyThreads;
thread_local std::shared_lock<std::shared_timed_mutex> g_CopyThread;

// A copy may outlive main, so no destructor may run.
static_assert(std::is_trivially_destructible_v<std::shared_timed_mutex>);

bool IsPlain(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= 'a' && letter <= 'z') || letter == '-' || letter == '.';
}

// Returns the beginning of the text with '_' for each other letter.
std::string Plain(const std::string& text, std::size_t maxSize) {
    std::string plain = text.substr(0, maxSize);
    std::replace_if(
        plain.begin(), plain.end(), [](char letter) { return !IsPlain(letter); }, '_');
    return plain;
}

// Returns the part of the name for the serial number, with the separator; empty without a letter
// or a digit.
std::string PlainSerialNumber(const std::string& serialNumber) {
    constexpr const char* kSpaces = " \t\r\n";
    const std::size_t first = serialNumber.find_first_not_of(kSpaces);
    if (first == std::string::npos) {
        return {};
    }
    const std::size_t last = serialNumber.find_last_not_of(kSpaces);
    const std::string plain = Plain(serialNumber.substr(first, last + 1 - first), kMaxSerialNumber);
    return plain.find_first_not_of("_-.") == std::string::npos ? std::string() : plain + "-";
}

std::string PlainTime(std::time_t time) {
    std::tm local{};
    if (localtime_r(&time, &local) == nullptr) {
        return std::to_string(time);
    }
    char text[sizeof("YYYYYYYYYYYmmdd-HHMMSS")];
    return {text, std::strftime(text, sizeof(text), "%Y%m%d-%H%M%S", &local)};
}

// Another mount at the folder means that the storage was unmounted after the search. The folder is
// then the bare mount point on another disk.
void CheckMount(const File& folder, const UsbStorage& storage) {
    std::uint64_t id = 0;
    if (!storage.mountId) {
        return;
    }
    CheckStorage(folder.MountId(id), storage.folder);
    if (id != *storage.mountId) {
        FailStorage(storage.folder, ENODEV);
    }
}

File OpenStorage(const UsbStorage& storage) {
    File folder(storage.folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!folder.IsOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        FailNoStorage(storage.folder, errno);
    }
    CheckStorage(folder.IsOpen(), storage.folder);
    CheckMount(folder, storage);
    return folder;
}

bool CannotLockAtAll(int error) {
    return error == EOPNOTSUPP || error == ENOSYS || error == ENOLCK || error == EINVAL ||
           error == EBADF;
}

// Makes other copies to the folder fail until the folder is closed. On a file system without locks
// the copy continues, since usually only one program copies.
void Lock(const File& folder, const std::string& name) {
    if (folder.TryLock() || CannotLockAtAll(errno)) {
        return;
    }
    if (errno == EWOULDBLOCK) {
        throw LogCopyError("another log copy to the USB storage is running", name);
    }
    FailStorage(name, errno);
}

// Mount points and file names may contain control characters; a log line must not.
std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f'; },
        '?');
    return text;
}

// Copies the photos that exist. Logs the reason for each photo that cannot be copied.
void CopyPhotos(const LogCopyParts& parts, const SourceFolders& from,
                const std::vector<std::string>& names, const std::vector<LogSource>& sources,
                const File& folder) {
    std::vector<std::string> taken;
    taken.reserve(sources.size());
    for (const LogSource& source : sources) {
        taken.push_back(source.name);
    }
    const std::vector<std::string> fileNames = ChoosePhotoFiles(names, taken);
    for (std::size_t i = 0; i < names.size(); ++i) {
        try {
            std::optional<LogSource> photo = OpenPhoto(from, names[i], fileNames[i]);
            if (photo) {
                CopyFile(*photo, folder);
            }
        } catch (const SourceError& error) {
            parts.log(true, OneLine(std::string("log copy: a photo is left out: ") + error.what()));
        }
    }
}

// Returns the path of the new folder. Throws LogCopyError.
std::string Copy(const LogCopyParts& parts, const LogCopyJob& job, const UsbStorage& storage) {
    std::vector<LogSource> sources = OpenLogSources(job.from);
    const RunValues run = ReadRunValues(sources);
    const File root = OpenStorage(storage);
    Lock(root, storage.folder);
    const auto fill = [&](const File& folder) {
        for (LogSource& source : sources) {
            CopyFile(source, folder);
        }
        CopyPhotos(parts, job.from, run.photos, sources, folder);
    };
    const std::string name = LogCopyName(job.host, job.time, run.serialNumber);
    return storage.folder + "/" + CreateFolder(root, name, fill);
}

void WriteToLog(bool isError, const std::string& line) {
    __dlog_print(isError ? LOG_ID_SYSTEM : LOG_ID_MAIN, isError ? DLOG_ERROR : DLOG_INFO, "QEL_PC",
                 "%s\n", line.c_str());
}

// Returns an empty string when the PC has no name.
std::string HostName() {
    utsname system{};
    uname(&system);
    return system.nodename;
}

}  // namespace

std::string LogCopyName(const std::string& host, std::time_t time,
                        const std::string& serialNumber) {
    const std::string plainHost = host.empty() ? "unnamed" : Plain(host, kMaxHost);
    return "quorvel-" + plainHost + "-" + PlainSerialNumber(serialNumber) + PlainTime(time);
}

int RunLogCopy(const LogCopyParts& parts, const LogCopyJob& job) noexcept {
    if (!g_CopyThread.owns_lock()) {
        g_CopyThread = std::shared_lock<std::shared_timed_mutex>(g_CopyThreads);
    }
    const std::shared_lock<std::shared_timed_mutex> running(g_RunningCopies);
    bool isError = true;
    std::string line;
    try {
        const std::string folder = Copy(parts, job, parts.findStorage());
        line = "the logs are stored in (" + folder + ")";
        isError = false;
    } catch (const LogCopyError& error) {
        line = error.what();
    } catch (const std::exception& error) {
        line = std::string("failed (") + error.what() + ")";
    }
    parts.log(isError, OneLine("log copy: " + line));
    return isError ? -1 : 0;
}

bool AwaitLogCopies(std::chrono::milliseconds timeout) {
    return std::unique_lock<std::shared_timed_mutex>(g_RunningCopies, timeout).owns_lock();
}

bool AwaitLogCopyThreads(std::chrono::milliseconds timeout) {
    // The thread that waits does not wait for itself.
    g_CopyThread = {};
    return std::unique_lock<std::shared_timed_mutex>(g_CopyThreads, timeout).owns_lock();
}

}  // namespace quorvel::desktop

int automation_copy_log_to_usb(void) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    // Root can read every file. A link could therefore lead to a private file of another user.
    const OutsideLinks links = geteuid() == 0 ? OutsideLinks::kReject : OutsideLinks::kFollow;
    const LogCopyJob job{{DataFolder(), StateFolder(), links}, HostName(), std::time(nullptr)};
    return RunLogCopy({FindUsbStorage, WriteToLog}, job);
}
