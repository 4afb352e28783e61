#include "log_copy/unfinished_folder.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <vector>

#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kChunk = std::size_t{128} * 1024;
constexpr int kMaxNames = 100;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// With O_EXCL, open(2) follows no link either.
constexpr int kCreateFile = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;

// Calls operation with name, then with name-2, name-3 ... while the name is taken. Returns the
// name with which operation succeeded, or an empty string and sets errno.
template <typename Operation>
std::string WithFreeName(const std::string& name, Operation operation) {
    for (int number = 1; number <= kMaxNames; ++number) {
        std::string tried = name;
        if (number > 1) {
            tried += "-" + std::to_string(number);
        }
        if (operation(tried)) {
            return tried;
        }
        if (errno != EEXIST && errno != ENOTEMPTY) {
            break;
        }
    }
    return {};
}

std::string RenameToFree(const File& parent, const std::string& from, const std::string& to) {
    return WithFreeName(to, [&](const std::string& tried) { return parent.Rename(from, tried); });
}

// EINVAL: the file system cannot sync a single folder; SyncFileSystem syncs the folder there.
void SyncAll(const File& folder, const std::string& name) {
    CheckStorage((folder.Sync() || errno == EINVAL) && folder.SyncFileSystem(), name);
}

void WriteAll(const File& file, const char* data, std::size_t size, const std::string& name) {
    while (size > 0) {
        const ssize_t written = file.Write(data, size);
        if (written <= 0) {
            FailStorage(name, written == 0 ? EIO : errno);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

// Copies as many bytes as the source had when it was found, or fewer if it was truncated since.
void CopyContent(const File& from, const LogSource& source, const File& to) {
    std::vector<char> buffer(kChunk);
    off_t offset = 0;
    while (offset < source.status.st_size) {
        const auto left = static_cast<std::size_t>(source.status.st_size - offset);
        const ssize_t size = from.Read(buffer.data(), std::min(left, buffer.size()), offset);
        CheckSource(size >= 0, source.name);
        if (size == 0) {
            return;
        }
        WriteAll(to, buffer.data(), static_cast<std::size_t>(size), source.name);
        offset += size;
    }
}

// Every file system accepts the name of a log. A photo can have any name.
[[noreturn]] void FailToCreate(const std::string& name, int error) {
    if (error == EINVAL || error == EILSEQ || error == ENAMETOOLONG || error == EEXIST) {
        throw SourceError("cannot write to the USB storage",
                          name + ": " + std::generic_category().message(error));
    }
    FailStorage(name, error);
}

bool IsUnfinished(const std::string& name) {
    return name.rfind(kUnfinishedPrefix, 0) == 0;
}

// Removes the folder of a log copy, which contains no folder. Leaves any other folder as it is,
// with all its files. Does not follow links.
void RemoveWithFiles(const File& parent, const std::string& name) {
    const File folder(parent, name, kOpenFolder);
    const auto isNoFolder = [&folder](const std::string& file) {
        struct stat status {};
        return folder.Status(status, file) && !S_ISDIR(status.st_mode);
    };
    std::vector<std::string> files;
    if (!folder.IsOpen() || !folder.List(files) ||
        !std::all_of(files.begin(), files.end(), isNoFolder)) {
        return;
    }
    for (const std::string& file : files) {
        folder.RemoveFile(file);
    }
    parent.RemoveFolder(name);
}

void RemoveLeftOvers(const File& parent) {
    std::vector<std::string> names;
    parent.List(names);
    for (const std::string& name : names) {
        if (IsUnfinished(name)) {
            RemoveWithFiles(parent, name);
        }
    }
}

// Renames a folder with a final name back first, so that an interrupted removal never leaves a
// partial copy under the final name. If the storage has no room for the temporary name, removing
// still works. After any other error removing may fail too, so the complete folder stays.
void Remove(const File& parent, const std::string& name) {
    std::string unfinished = name;
    if (!IsUnfinished(name)) {
        unfinished = RenameToFree(parent, name, kUnfinishedPrefix + name);
    }
    if (unfinished.empty() && (errno == ENOSPC || errno == EDQUOT)) {
        unfinished = name;
    }
    if (!unfinished.empty()) {
        RemoveWithFiles(parent, unfinished);
        parent.Sync();
    }
}

void RemoveAsFarAsPossible(const File& parent, const std::string& name) {
    try {
        Remove(parent, name);
    } catch (...) {
        // Out of memory. The next copy removes the folder, since it has a temporary name.
        return;
    }
}

}  // namespace

std::string CreateFolder(const File& parent, const std::string& name,
                         const std::function<void(const File& folder)>& fill) {
    RemoveLeftOvers(parent);
    std::string current = WithFreeName(kUnfinishedPrefix + name, [&](const std::string& tried) {
        return parent.MakeFolder(tried, kFolderMode);
    });
    CheckStorage(!current.empty(), name);
    try {
        const File folder(parent, current, kOpenFolder);
        CheckStorage(folder.IsOpen(), name);
        fill(folder);
        SyncAll(folder, name);
        const std::string renamed = RenameToFree(parent, current, name);
        CheckStorage(!renamed.empty(), name);
        current = renamed;
        SyncAll(parent, name);
    } catch (...) {
        RemoveAsFarAsPossible(parent, current);
        throw;
    }
    return current;
}

void CopyFile(LogSource& source, const File& folder) {
    const File from = TakeFile(source);
    // Other users must not read a copy of a private file.
    const mode_t mode = kFileMode & (source.status.st_mode | S_IRUSR | S_IWUSR);
    File to(folder, source.name, kCreateFile, mode);
    if (!to.IsOpen()) {
        FailToCreate(source.name, errno);
    }
    try {
        CopyContent(from, source, to);
    } catch (const SourceError&) {
        CheckStorage(folder.RemoveFile(source.name), source.name);
        throw;
    }
    CheckStorage(to.Sync() && to.Close(), source.name);
}

}  // namespace quorvel::desktop
