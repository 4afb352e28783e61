#include "log_copy/log_copy.h"

#include <dlog.h>
#include <fcntl.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "log_copy/unfinished_folder.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxHost = 63;

// Each running copy holds it shared. Never destroyed, since a copy may outlive main.
std::shared_timed_mutex& RunningCopies() {
    static auto& copies = *new std::shared_timed_mutex;
    return copies;
}

// Whether CopyThreads counts this thread.
thread_local bool g_IsCounted = false;

// Counts the threads that have run a log copy and have not ended. Never destroyed, since a thread
// may outlive main. Any thread.
class CopyThreads {
public:
    static CopyThreads& GetInstance() {
        static auto& threads = *new CopyThreads;
        return threads;
    }

    void CountThisThread() { thread_local const Mark mark; }

    bool AwaitOthers(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(m_Mutex);
        return m_Changed.wait_for(lock, timeout,
                                  [this] { return m_Count <= (g_IsCounted ? 1 : 0); });
    }

private:
    // The destructor runs when its thread ends.
    struct Mark {
        Mark() { GetInstance().m_Add(1); }
        ~Mark() { GetInstance().m_Add(-1); }
        Mark(const Mark&) = delete;
        Mark& operator=(const Mark&) = delete;
    };

    void m_Add(int threads) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        g_IsCounted = threads > 0;
        m_Count += threads;
        m_Changed.notify_all();
    }

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    int m_Count = 0;
};

bool IsPlain(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= 'a' && letter <= 'z') || letter == '-' || letter == '.';
}

std::string PlainHost(const std::string& host) {
    std::string plain = host.substr(0, kMaxHost);
    for (char& letter : plain) {
        letter = IsPlain(letter) ? letter : '_';
    }
    return plain.empty() ? "unnamed" : plain;
}

std::string PlainTime(std::time_t time) {
    std::tm local{};
    char text[sizeof("YYYYYYYYYYYmmdd-HHMMSS")] = "";
    if (localtime_r(&time, &local) == nullptr ||
        std::strftime(text, sizeof(text), "%Y%m%d-%H%M%S", &local) == 0) {
        return std::to_string(time);
    }
    return text;
}

// Another mount at the folder means that the storage was unmounted since it was found. The folder
// is then the bare mount point on another disk.
void CheckMount(const File& folder, const UsbStorage& storage) {
    std::uint64_t id = 0;
    if (!storage.mountId) {
        return;
    }
    if (!folder.MountId(id)) {
        FailStorage(storage.folder, errno);
    }
    if (id != *storage.mountId) {
        FailStorage(storage.folder, ENODEV);
    }
}

File OpenStorage(FileIo& io, const UsbStorage& storage) {
    File folder(io, storage.folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!folder.IsOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        FailNoStorage(storage.folder, errno);
    }
    if (!folder.IsOpen()) {
        FailStorage(storage.folder, errno);
    }
    CheckMount(folder, storage);
    return folder;
}

bool CannotLockAtAll(int error) {
    return error == EOPNOTSUPP || error == ENOSYS || error == ENOLCK || error == EINVAL ||
           error == EBADF;
}

// Keeps other copies away until the folder is closed. On a file system without locks the copy goes
// on, since usually only one program copies.
void Lock(const File& folder, const std::string& name) {
    if (folder.TryLock() || CannotLockAtAll(errno)) {
        return;
    }
    if (errno == EWOULDBLOCK) {
        throw LogCopyError("another log copy to the USB storage is running", name);
    }
    FailStorage(name, errno);
}

// Returns the path of the new folder. Throws LogCopyError.
std::string Copy(FileIo& io, const LogCopyJob& job, const UsbStorage& storage) {
    std::vector<LogSource> sources =
        OpenLogSources(io, job.stateFolder, job.dataFolder, job.outsideLinks);
    const File root = OpenStorage(io, storage);
    Lock(root, storage.folder);
    UnfinishedFolder::RemoveLeftOvers(root);
    UnfinishedFolder folder(root, LogCopyName(job.host, job.time));
    folder.Make();
    for (LogSource& source : sources) {
        OpenOldLog(io, source);
        folder.Add(source);
        source.file.reset();
    }
    return storage.folder + "/" + folder.Finish();
}

// Mount points and file names may contain control characters; a log line must not.
std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f'; },
        '?');
    return text;
}

void WriteToLog(bool isError, const std::string& line) {
    __dlog_print(isError ? LOG_ID_SYSTEM : LOG_ID_MAIN, isError ? DLOG_ERROR : DLOG_INFO, "QEL_PC",
                 "%s\n", line.c_str());
}

// Returns an empty string when the machine has no name.
std::string HostName() {
    std::array<char, 256> name{};
    // gethostname does not terminate a name that it cuts.
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

}  // namespace

std::string LogCopyName(const std::string& host, std::time_t time) {
    return "quorvel-" + PlainHost(host) + "-" + PlainTime(time);
}

int RunLogCopy(const LogCopyParts& parts, const LogCopyJob& job) noexcept {
    CopyThreads::GetInstance().CountThisThread();
    const std::shared_lock<std::shared_timed_mutex> running(RunningCopies());
    bool isError = true;
    std::string line;
    try {
        const std::string folder = Copy(parts.io, job, parts.findStorage());
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
    return std::unique_lock<std::shared_timed_mutex>(RunningCopies(), timeout).owns_lock();
}

bool AwaitLogCopyThreads(std::chrono::milliseconds timeout) {
    return CopyThreads::GetInstance().AwaitOthers(timeout);
}

}  // namespace quorvel::desktop

int automation_copy_log_to_usb(void) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    FileIo io;
    // Root can read every file. A link could therefore lead to a private file of another user.
    const OutsideLinks links = geteuid() == 0 ? OutsideLinks::kReject : OutsideLinks::kFollow;
    const LogCopyJob job{DataFolder(), StateFolder(), HostName(), std::time(nullptr), links};
    return RunLogCopy({io, FindUsbStorage, WriteToLog}, job);
}
