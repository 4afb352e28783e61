#include "log_copy/log_copy.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>

#include "log_copy/log_copy_error.h"
#include "log_copy/log_sources.h"
#include "log_copy/unfinished_folder.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxHost = 63;

LogCopyStatus StatusOf(int error) {
    switch (error) {
        case ENOMEDIUM:
            return LogCopyStatus::kNoStorage;
        case EROFS:
            return LogCopyStatus::kReadOnly;
        case ENOSPC:
        case EDQUOT:
            return LogCopyStatus::kFull;
        case EIO:
        case ENODEV:
        case ENXIO:
        case ENOTCONN:
        case ESHUTDOWN:
        case ESTALE:
            return LogCopyStatus::kGone;
        case EACCES:
        case EPERM:
            return LogCopyStatus::kNotPermitted;
        default:
            return LogCopyStatus::kOther;
    }
}

std::string Reason(const std::string& what, int error) {
    const std::string message = std::generic_category().message(error);
    return what.empty() ? message : what + ": " + message;
}

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

void CheckMount(FileIo& io, int folder, const UsbStorage& storage) {
    std::uint64_t id = 0;
    if (!storage.mountId) {
        return;
    }
    if (io.MountId(folder, id) != 0) {
        FailStorage(storage.folder, errno);
    }
    // Unmounted since it was chosen: this is the bare mount point on another disk.
    if (id != *storage.mountId) {
        FailStorage(storage.folder, ENODEV);
    }
}

FileHandle OpenStorage(FileIo& io, const UsbStorage& storage) {
    FileHandle folder(io, Uninterrupted([&] {
                          return io.Open(AT_FDCWD, storage.folder,
                                         O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
                      }));
    if (!folder.IsOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        throw LogCopyError(LogCopyStatus::kNoStorage, Reason(storage.folder, errno));
    }
    if (!folder.IsOpen()) {
        FailStorage(storage.folder, errno);
    }
    CheckMount(io, folder.Get(), storage);
    return folder;
}

bool CannotLockAtAll(int error) {
    return error == EOPNOTSUPP || error == ENOSYS || error == ENOLCK || error == EINVAL ||
           error == EBADF;
}

// Keeps other copies away as long as the folder is open. Where there are no locks, there is no more
// than one program that copies.
void Lock(FileIo& io, int folder, const std::string& what) {
    if (io.TryLock(folder) == 0 || CannotLockAtAll(errno)) {
        return;
    }
    if (errno == EWOULDBLOCK) {
        throw LogCopyError(LogCopyStatus::kBusy, what);
    }
    FailStorage(what, errno);
}

void OpenSources(LogSources& sources, const LogCopyJob& job) {
    if (!job.stateFolder.empty()) {
        sources.AddLogs(job.stateFolder);
    }
    sources.AddResults(job.dataFolder);
    if (sources.Files().empty()) {
        throw LogCopyError(LogCopyStatus::kNothingToCopy, job.stateFolder + ", " + job.dataFolder);
    }
}

// Returns the new folder.
std::string Copy(FileIo& io, const LogCopyJob& job, const UsbStorage& storage) {
    if (storage.error != 0) {
        FailStorage(storage.folder, storage.error);
    }
    LogSources sources(io);
    OpenSources(sources, job);
    const FileHandle root = OpenStorage(io, storage);
    Lock(io, root.Get(), storage.folder);
    UnfinishedFolder::RemoveLeftOvers(io, root.Get());
    UnfinishedFolder folder(io, root.Get(), LogCopyName(job.host, job.time));
    folder.Make();
    for (const LogSources::Source& source : sources.Files()) {
        folder.Add(source);
    }
    return storage.folder + "/" + folder.Finish();
}

}  // namespace

void FailStorage(const std::string& what, int error) {
    throw LogCopyError(StatusOf(error), Reason(what, error));
}

void FailSource(const std::string& what, int error) {
    throw LogCopyError(LogCopyStatus::kUnreadable, Reason(what, error));
}

std::string LogCopyName(const std::string& host, std::time_t time) {
    return "quorvel-" + PlainHost(host) + "-" + PlainTime(time);
}

LogCopyResult CopyLogs(FileIo& io, const LogCopyJob& job, const UsbStorage& storage) {
    try {
        return {LogCopyStatus::kDone, Copy(io, job, storage)};
    } catch (const LogCopyError& error) {
        return {error.Status(), error.what()};
    }
}

}  // namespace quorvel::desktop
