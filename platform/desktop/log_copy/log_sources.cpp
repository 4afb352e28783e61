#include "log_copy/log_sources.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "paths.h"
#include "photos.h"

namespace quorvel::desktop {

namespace {

// More than a rotation renames or removes: the log has three rotated files.
constexpr std::size_t kMaxOpenLogs = 8;

// Returns the age in the name of a rotated log, 0 for the log itself, no value for other names.
std::optional<unsigned> LogAge(const std::string& name) {
    if (name == RotatedLogName(0)) {
        return 0;
    }
    const std::size_t start = name.find('.') + 1;
    unsigned age = 0;
    std::from_chars(name.data() + start, name.data() + name.size(), age);
    if (age == 0 || name != RotatedLogName(age)) {
        return std::nullopt;
    }
    return age;
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

bool IsSameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool Contains(const std::vector<LogSource>& sources, const struct stat& status) {
    return std::any_of(sources.begin(), sources.end(), [&status](const LogSource& source) {
        return IsSameFile(source.status, status);
    });
}

// Pipes and folders are opened too; O_NONBLOCK keeps a pipe from blocking the copy.
File OpenFile(FileIo& io, const std::string& path) {
    return {io, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC};
}

[[noreturn]] void RejectLink(const std::string& path) {
    throw SourceError("root does not copy a link to a file outside its folder", path);
}

// Returns whether the open file is in the folder. Only a link leads to a file outside it.
bool IsInside(FileIo& io, const File& file, const std::string& path, const std::string& folder) {
    const File opened(io, folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::string realPath;
    std::string realFolder;
    if (!opened.IsOpen() || !opened.Path(realFolder) || !file.Path(realPath)) {
        FailSource(path, errno);
    }
    return realPath.rfind(realFolder + "/", 0) == 0;
}

// Returns whether the absolute path leads to the open file without a link.
bool HasNoLink(const File& file, const std::string& path) {
    std::string realPath;
    if (!file.Path(realPath)) {
        FailSource(path, errno);
    }
    return realPath == std::filesystem::path(path).lexically_normal();
}

bool BeginsWith(const std::string& text, std::string_view start) {
    return text.compare(0, start.size(), start) == 0;
}

// Returns whether the first bytes are the bytes of a JPEG, PNG, GIF, TIFF or WebP file.
bool IsPicture(const std::string& bytes) {
    using namespace std::string_view_literals;  // NOLINT(google-build-using-namespace)
    constexpr std::string_view kStarts[] = {"\xFF\xD8\xFF"sv, "\x89PNG\r\n\x1A\n"sv, "GIF8"sv,
                                            "II*\0"sv, "MM\0*"sv};
    constexpr std::size_t kWebpPlace = 8;
    return std::any_of(std::begin(kStarts), std::end(kStarts),
                       [&bytes](std::string_view start) { return BeginsWith(bytes, start); }) ||
           (BeginsWith(bytes, "RIFF") && bytes.find("WEBP", kWebpPlace) == kWebpPlace);
}

void CheckIsPicture(const File& file, const std::string& path) {
    constexpr std::size_t kLongestStart = 12;
    std::string bytes(kLongestStart, '\0');
    const ssize_t count = file.Read(bytes.data(), bytes.size(), 0);
    if (count < 0) {
        FailSource(path, errno);
    }
    bytes.resize(static_cast<std::size_t>(count));
    if (!IsPicture(bytes)) {
        throw SourceError("a file outside the data folder is not a picture", path);
    }
}

bool IsAbsent(int error) {
    return IsMissing(error) || error == ENXIO || error == ENAMETOOLONG || error == ELOOP;
}

// Finds the files to copy in one folder after the other.
class SourceList {
public:
    SourceList(FileIo& io, OutsideLinks outsideLinks) : m_Io(io), m_OutsideLinks(outsideLinks) {}

    // Adds the file if it exists. Skips pipes and folders; opening a socket or a device without a
    // driver reports ENXIO.
    void AddIfFile(const std::string& folder, const std::string& name) {
        const std::string path = folder + "/" + name;
        File file = OpenFile(m_Io, path);
        if (!file.IsOpen() && (IsMissing(errno) || errno == ENXIO)) {
            return;
        }
        struct stat status {};
        if (!file.IsOpen() || !file.Status(status)) {
            FailSource(path, errno);
        }
        if (!S_ISREG(status.st_mode) || Contains(m_Sources, status)) {
            return;
        }
        if (m_OutsideLinks == OutsideLinks::kReject && !IsInside(m_Io, file, path, folder)) {
            RejectLink(path);
        }
        m_Sources.push_back({name, path, status, std::move(file)});
    }

    void AddLogs(const std::string& folder);

    std::vector<LogSource> Take() { return std::move(m_Sources); }

private:
    FileIo& m_Io;
    OutsideLinks m_OutsideLinks;
    std::vector<LogSource> m_Sources;
};

// Opens the youngest log first. A rotation in between renames a log to the next older name, which
// is opened later, so no log is missed. The name after the oldest one is tried for the same reason.
// A log that is found twice is recognised by its inode.
void SourceList::AddLogs(const std::string& folder) {
    std::vector<unsigned> ages = ListLogAges(m_Io, folder);
    if (!ages.empty()) {
        ages.push_back(ages.back() + 1);
    }
    for (const unsigned age : ages) {
        AddIfFile(folder, RotatedLogName(age));
        if (m_Sources.size() > kMaxOpenLogs) {
            m_Sources.back().file.reset();
        }
    }
    AddIfFile(folder, LogStartName());
}

}  // namespace

std::vector<LogSource> OpenLogSources(FileIo& io, const std::string& stateFolder,
                                      const std::string& dataFolder, OutsideLinks outsideLinks) {
    SourceList list(io, outsideLinks);
    if (!stateFolder.empty()) {
        list.AddLogs(stateFolder);
    }
    for (const char* name : {kMainResultFile, kRnscResultFile}) {
        list.AddIfFile(dataFolder, name);
    }
    std::vector<LogSource> sources = list.Take();
    if (sources.empty()) {
        throw LogCopyError("there is nothing to copy", stateFolder + ", " + dataFolder);
    }
    return sources;
}

std::optional<LogSource> OpenPhoto(FileIo& io, const std::string& dataFolder,
                                   const std::string& name, const std::string& fileName,
                                   OutsideLinks outsideLinks) {
    const std::string found = FindPhoto(dataFolder, name);
    const std::string path = found.empty() ? name : found;
    if (!BeginsWith(path, "/")) {
        return std::nullopt;
    }
    File file = OpenFile(io, path);
    struct stat status {};
    if (!file.IsOpen() && IsAbsent(errno)) {
        return std::nullopt;
    }
    if (!file.IsOpen() || !file.Status(status)) {
        FailSource(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    if (status.st_size > kMaxPhotoBytes) {
        FailSource(path, EFBIG);
    }
    if (!IsInside(io, file, path, dataFolder)) {
        if (outsideLinks == OutsideLinks::kReject && !HasNoLink(file, path)) {
            RejectLink(path);
        }
        CheckIsPicture(file, path);
    }
    return LogSource{fileName, path, status, std::move(file)};
}

void OpenOldLog(FileIo& io, LogSource& source) {
    if (source.file) {
        return;
    }
    struct stat status {};
    source.file.emplace(OpenFile(io, source.path));
    if (!source.file->IsOpen() || !source.file->Status(status)) {
        FailSource(source.path, errno);
    }
    if (!IsSameFile(source.status, status)) {
        FailSource(source.path, ESTALE);
    }
}

}  // namespace quorvel::desktop
