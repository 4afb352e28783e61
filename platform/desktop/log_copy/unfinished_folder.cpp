#include "log_copy/unfinished_folder.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "log_copy/log_copy_error.h"

namespace quorvel::desktop {

namespace {

constexpr const char* kPrefix = ".quorvel-unfinished-";
constexpr std::size_t kChunk = std::size_t{128} * 1024;
constexpr int kMaxNames = 100;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kCreateFile = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;

// Calls the operation with name, then with name-2, name-3 ... while the name is taken. Returns the
// name that it took; empty and errno when it failed.
template <typename Operation>
std::string WithFreeName(const std::string& name, Operation operation) {
    for (int number = 1; number <= kMaxNames; ++number) {
        std::string tried = number == 1 ? name : name + "-" + std::to_string(number);
        if (Uninterrupted([&] { return operation(tried); }) == 0) {
            return tried;
        }
        if (errno != EEXIST && errno != ENOTEMPTY) {
            break;
        }
    }
    return {};
}

// Some file systems cannot sync a folder alone; those sync it with everything else.
bool SyncFolder(FileIo& io, int folder) {
    return Uninterrupted([&] { return io.Sync(folder); }) == 0 || errno == EINVAL;
}

void SyncAll(FileIo& io, int folder, const std::string& what) {
    if (!SyncFolder(io, folder) || Uninterrupted([&] { return io.SyncFileSystem(folder); }) != 0) {
        FailStorage(what, errno);
    }
}

void WriteAll(FileIo& io, int file, const char* data, std::size_t size, const std::string& what) {
    while (size > 0) {
        const ssize_t written = Uninterrupted([&] { return io.Write(file, data, size); });
        if (written <= 0) {
            FailStorage(what, written == 0 ? EIO : errno);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

// As much as the file had when it was opened, or less when it was cut since.
void CopyContent(FileIo& io, const LogSources::Source& source, int target) {
    std::vector<char> buffer(kChunk);
    auto left = static_cast<std::size_t>(source.status.st_size);
    while (left > 0) {
        const std::size_t wanted = std::min(left, buffer.size());
        const ssize_t got =
            Uninterrupted([&] { return io.Read(source.file.Get(), buffer.data(), wanted); });
        if (got < 0) {
            FailSource(source.name, errno);
        }
        if (got == 0) {
            return;
        }
        WriteAll(io, target, buffer.data(), static_cast<std::size_t>(got), source.name);
        left -= static_cast<std::size_t>(got);
    }
}

std::string RenameToFree(FileIo& io, int folder, const std::string& from, const std::string& to) {
    return WithFreeName(to,
                        [&](const std::string& tried) { return io.Rename(folder, from, tried); });
}

void RemoveFiles(FileIo& io, int parent, const std::string& name) {
    const FileHandle folder(io,
                            Uninterrupted([&] { return io.Open(parent, name, kOpenFolder, 0); }));
    std::vector<std::string> files;
    if (!folder.IsOpen() || Uninterrupted([&] { return io.List(folder.Get(), files); }) != 0) {
        return;
    }
    for (const std::string& file : files) {
        Uninterrupted([&] { return io.RemoveFile(folder.Get(), file); });
    }
}

// Our folders hold files only, so one that holds more is not ours and stays. Links are not
// followed.
void RemoveWithFiles(FileIo& io, int parent, const std::string& name) {
    RemoveFiles(io, parent, name);
    Uninterrupted([&] { return io.RemoveFolder(parent, name); });
}

bool IsUnfinished(const std::string& name) {
    return name.rfind(kPrefix, 0) == 0;
}

}  // namespace

UnfinishedFolder::UnfinishedFolder(FileIo& io, int parent, const std::string& finalName)
    : m_Io(io), m_Parent(parent), m_FinalName(finalName), m_Handle(io) {}

UnfinishedFolder::~UnfinishedFolder() {
    try {
        m_Discard();
    } catch (const std::bad_alloc&) {
        // What stays has a temporary name, so the next copy removes it.
        return;
    }
}

void UnfinishedFolder::m_Discard() {
    m_Handle.Close();
    if (!m_UnsyncedName.empty()) {
        m_TakeNameBack();
    }
    if (!m_UnfinishedName.empty()) {
        RemoveWithFiles(m_Io, m_Parent, m_UnfinishedName);
        SyncFolder(m_Io, m_Parent);
    }
}

// Lest the folder be half removed under a name that promises a whole copy. A storage that has not
// even room for the other name is no reason to expect that removing fails; any other one is, and
// there the whole copy stays.
void UnfinishedFolder::m_TakeNameBack() {
    m_UnfinishedName = RenameToFree(m_Io, m_Parent, m_UnsyncedName, kPrefix + m_FinalName);
    if (m_UnfinishedName.empty() && (errno == ENOSPC || errno == EDQUOT)) {
        m_UnfinishedName = m_UnsyncedName;
    }
}

void UnfinishedFolder::Make() {
    m_UnfinishedName = WithFreeName(kPrefix + m_FinalName, [this](const std::string& tried) {
        return m_Io.MakeFolder(m_Parent, tried, kFolderMode);
    });
    if (m_UnfinishedName.empty()) {
        FailStorage(m_FinalName, errno);
    }
    m_Handle = FileHandle(m_Io, Uninterrupted([this] {
                              return m_Io.Open(m_Parent, m_UnfinishedName, kOpenFolder, 0);
                          }));
    if (!m_Handle.IsOpen()) {
        FailStorage(m_FinalName, errno);
    }
}

void UnfinishedFolder::Add(const LogSources::Source& source) {
    FileHandle file(m_Io, Uninterrupted([&] {
                        return m_Io.Open(m_Handle.Get(), source.name, kCreateFile, kFileMode);
                    }));
    if (!file.IsOpen()) {
        FailStorage(source.name, errno);
    }
    CopyContent(m_Io, source, file.Get());
    if (Uninterrupted([&] { return m_Io.Sync(file.Get()); }) != 0 || file.Close() != 0) {
        FailStorage(source.name, errno);
    }
}

std::string UnfinishedFolder::Finish() {
    SyncAll(m_Io, m_Handle.Get(), m_FinalName);
    m_UnsyncedName = RenameToFree(m_Io, m_Parent, m_UnfinishedName, m_FinalName);
    if (m_UnsyncedName.empty()) {
        FailStorage(m_FinalName, errno);
    }
    m_UnfinishedName.clear();
    SyncAll(m_Io, m_Parent, m_FinalName);
    return std::exchange(m_UnsyncedName, std::string());
}

void UnfinishedFolder::RemoveLeftOvers(FileIo& io, int parent) {
    std::vector<std::string> names;
    Uninterrupted([&] { return io.List(parent, names); });
    for (const std::string& name : names) {
        if (IsUnfinished(name)) {
            RemoveWithFiles(io, parent, name);
        }
    }
}

}  // namespace quorvel::desktop
