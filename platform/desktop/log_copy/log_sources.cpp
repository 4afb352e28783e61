#include "log_copy/log_sources.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>

#include "log_copy/log_copy_error.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr const char* kResultFiles[] = {"qelXml.xml", "qelRnscXml.xml"};

// The age in the name of a rotated log, 0 for the log itself; none for other names.
std::optional<unsigned> LogAge(const std::string& name) {
    if (name == RotatedLogName(0)) {
        return 0;
    }
    const std::size_t start = name.find('.') + 1;
    unsigned age = 0;
    std::from_chars(name.data() + start, name.data() + name.size(), age);
    return age > 0 && name == RotatedLogName(age) ? std::optional<unsigned>(age) : std::nullopt;
}

bool IsMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

}  // namespace

// The youngest log is opened first: a rotation in between moves a log to an older name, where it is
// met again or, past the end of the list, in the name that is added there. So none is missed, and
// what is met twice is known as the same file.
void LogSources::AddLogs(const std::string& folder) {
    std::vector<unsigned> ages = m_LogAges(folder);
    if (ages.empty()) {
        return;
    }
    ages.push_back(ages.back() + 1);
    for (const unsigned age : ages) {
        m_Add(folder, RotatedLogName(age));
    }
}

void LogSources::AddResults(const std::string& folder) {
    for (const char* name : kResultFiles) {
        m_Add(folder, name);
    }
}

std::vector<unsigned> LogSources::m_LogAges(const std::string& folder) {
    std::vector<std::string> names;
    const FileHandle handle(m_Io, Uninterrupted([&] {
                                return m_Io.Open(AT_FDCWD, folder,
                                                 O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
                            }));
    if (!handle.IsOpen() && IsMissing(errno)) {
        return {};
    }
    if (!handle.IsOpen() || Uninterrupted([&] { return m_Io.List(handle.Get(), names); }) != 0) {
        FailSource(folder, errno);
    }
    std::vector<unsigned> ages;
    for (const std::string& name : names) {
        if (const std::optional<unsigned> age = LogAge(name)) {
            ages.push_back(*age);
        }
    }
    std::sort(ages.begin(), ages.end());
    return ages;
}

// A link is followed. What is no file (a pipe, a folder) is no log either; not waiting keeps a pipe
// from holding the copy up.
void LogSources::m_Add(const std::string& folder, const std::string& name) {
    const std::string path = folder + "/" + name;
    FileHandle file(m_Io, Uninterrupted([&] {
                        return m_Io.Open(AT_FDCWD, path,
                                         O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0);
                    }));
    if (!file.IsOpen() && (IsMissing(errno) || errno == ENXIO)) {
        return;
    }
    struct stat status {};
    if (!file.IsOpen() || m_Io.Status(file.Get(), status) != 0) {
        FailSource(path, errno);
    }
    if (S_ISREG(status.st_mode) && !m_Has(status)) {
        m_Files.push_back({name, std::move(file), status});
    }
}

bool LogSources::m_Has(const struct stat& status) const {
    return std::any_of(m_Files.begin(), m_Files.end(), [&status](const Source& source) {
        return source.status.st_dev == status.st_dev && source.status.st_ino == status.st_ino;
    });
}

}  // namespace quorvel::desktop
