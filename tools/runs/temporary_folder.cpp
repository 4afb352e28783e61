#include "runs/temporary_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quorvel::runs {

namespace fs = std::filesystem;

namespace {

constexpr const char* kPrefix = "quorvel-data.";

[[noreturn]] void Fail(const std::string& path, int error) {
    throw fs::filesystem_error("cannot create a temporary folder", path,
                               std::error_code(error, std::generic_category()));
}

int OpenFolder(const fs::path& folder) {
    return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Returns whether no process uses the folder. The kernel releases the lock of a folder when the
// process that uses the folder ends.
bool IsLeftOver(const Descriptor& folder) {
    struct stat status {};
    return folder.Number() >= 0 && fstat(folder.Number(), &status) == 0 &&
           status.st_uid == geteuid() && flock(folder.Number(), LOCK_EX | LOCK_NB) == 0;
}

void RemoveLeftOvers(const fs::path& parent) {
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.filename().native().rfind(kPrefix, 0) != 0) {
            continue;
        }
        const Descriptor folder(OpenFolder(path));
        if (IsLeftOver(folder)) {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    const fs::path named = fs::temp_directory_path(error);
    const fs::path parent = error ? fs::path("/tmp") : fs::absolute(named);
    RemoveLeftOvers(parent);
    do {
        m_Path = parent / (std::string(kPrefix) + "XXXXXX");
        if (mkdtemp(m_Path.data()) == nullptr) {
            Fail(m_Path, errno);
        }
    } while (!m_Keep());
}

// Locks the folder. Returns false when another process has removed the folder before the lock. On a
// file system without locks, no process removes the folder.
bool TemporaryFolder::m_Keep() {
    m_Lock.emplace(OpenFolder(m_Path));
    std::error_code error;
    if (m_Lock->Number() < 0 && errno != ENOENT) {
        const int reason = errno;
        fs::remove(m_Path, error);
        Fail(m_Path, reason);
    }
    while (flock(m_Lock->Number(), LOCK_EX) != 0 && errno == EINTR) {
    }
    return fs::exists(m_Path, error);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(m_Path, error);
}

std::string DescribeUnwritten(const fs::filesystem_error& error) {
    return error.path1().string() + ": " + error.code().message() +
           "; if the disk is full, TMPDIR can name another folder";
}

}  // namespace quorvel::runs
