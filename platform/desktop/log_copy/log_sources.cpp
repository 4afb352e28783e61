#include "log_copy/log_sources.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>

#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr const char* kResultFiles[] = {"qelXml.xml", "qelRnscXml.xml"};

// Returns the age in the name of a rotated log, 0 for the log itself, no value for other names.
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

// Returns the ages of the logs in the folder, youngest first.
std::vector<unsigned> ListLogAges(FileIo& io, const std::string& folder) {
    const File opened(io, folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.IsOpen() && IsMissing(errno)) {
        return {};
    }
    std::vector<std::string> names;
    if (!opened.IsOpen() || !opened.List(names)) {
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

bool Contains(const std::vector<LogSource>& sources, const struct stat& status) {
    return std::any_of(sources.begin(), sources.end(), [&status](const LogSource& source) {
        return source.status.st_dev == status.st_dev && source.status.st_ino == status.st_ino;
    });
}

// Links are followed. Pipes and folders are skipped; O_NONBLOCK keeps a pipe from blocking the
// copy, and opening a socket or a device without a driver reports ENXIO.
void AddIfFile(std::vector<LogSource>& sources, FileIo& io, const std::string& folder,
               const std::string& name) {
    const std::string path = folder + "/" + name;
    File file(io, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (!file.IsOpen() && (IsMissing(errno) || errno == ENXIO)) {
        return;
    }
    struct stat status {};
    if (!file.IsOpen() || !file.Status(status)) {
        FailSource(path, errno);
    }
    if (S_ISREG(status.st_mode) && !Contains(sources, status)) {
        sources.push_back({name, std::move(file), status});
    }
}

// Opens the youngest log first. A rotation in between renames a log to the next older name, which
// is opened later, so no log is missed. The name after the oldest one is tried for the same reason.
// A log that is found twice is recognised by its inode.
void AddLogs(std::vector<LogSource>& sources, FileIo& io, const std::string& folder) {
    std::vector<unsigned> ages = ListLogAges(io, folder);
    if (ages.empty()) {
        return;
    }
    ages.push_back(ages.back() + 1);
    for (const unsigned age : ages) {
        AddIfFile(sources, io, folder, RotatedLogName(age));
    }
}

}  // namespace

std::vector<LogSource> OpenLogSources(FileIo& io, const std::string& stateFolder,
                                      const std::string& dataFolder) {
    std::vector<LogSource> sources;
    if (!stateFolder.empty()) {
        AddLogs(sources, io, stateFolder);
    }
    for (const char* name : kResultFiles) {
        AddIfFile(sources, io, dataFolder, name);
    }
    if (sources.empty()) {
        throw LogCopyError("there is nothing to copy", stateFolder + ", " + dataFolder);
    }
    return sources;
}

}  // namespace quorvel::desktop
