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

// Returns the number after the first dot of the name; 0 without a number.
unsigned NumberIn(const std::string& name) {
    const std::size_t start = name.find('.') + 1;
    unsigned number = 0;
    std::from_chars(name.data() + start, name.data() + name.size(), number);
    return number;
}

bool IsMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

// Returns the ages of the logs in the folder, youngest first.
std::vector<unsigned> ListLogAges(const std::string& folder) {
    const File opened(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.IsOpen() && IsMissing(errno)) {
        return {};
    }
    std::vector<std::string> names;
    CheckSource(opened.IsOpen() && opened.List(names), folder);
    std::vector<unsigned> ages;
    for (const std::string& name : names) {
        const unsigned age = NumberIn(name);
        if (name == RotatedLogName(age)) {
            ages.push_back(age);
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

bool BeginsWith(const std::string& text, std::string_view start) {
    return text.compare(0, start.size(), start) == 0;
}

// ENXIO: a socket, or a device without a driver.
bool IsNoFile(int error) {
    return IsMissing(error) || error == ENXIO;
}

// A photo can have any name.
bool IsNoPhoto(int error) {
    return IsNoFile(error) || error == ENAMETOOLONG || error == ELOOP;
}

// Opens the file at path. name: the name of the copy. Returns no value for a pipe or a folder, and
// when opening fails with an error that isAbsent accepts.
std::optional<LogSource> OpenSource(const std::string& name, const std::string& path,
                                    bool (*isAbsent)(int error)) {
    // O_NONBLOCK keeps a pipe from blocking the copy.
    File file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (!file.IsOpen() && isAbsent(errno)) {
        return std::nullopt;
    }
    struct stat status {};
    CheckSource(file.IsOpen() && file.Status(status), path);
    if (!S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return LogSource{name, path, status, std::move(file)};
}

[[noreturn]] void RejectLink(const LogSource& source) {
    throw SourceError("root does not copy a link to a file outside its folder", source.path);
}

// Returns the path of the file or folder without links.
std::string RealPath(const File& opened, const LogSource& source) {
    std::string path;
    CheckSource(opened.IsOpen() && opened.Path(path), source.path);
    return path;
}

// Returns whether the open file is in the folder. Only a link leads to a file outside the folder.
bool IsInside(const LogSource& source, const std::string& folder) {
    const File opened(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::string realFolder = RealPath(opened, source) + "/";
    return BeginsWith(RealPath(*source.file, source), realFolder);
}

// Returns whether the absolute path leads to the open file without a link.
bool HasNoLink(const LogSource& source) {
    return RealPath(*source.file, source) == std::filesystem::path(source.path).lexically_normal();
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

void CheckIsPicture(const LogSource& source) {
    constexpr std::size_t kLongestStart = 12;
    std::string bytes(kLongestStart, '\0');
    const ssize_t count = source.file->Read(bytes.data(), bytes.size(), 0);
    CheckSource(count >= 0, source.path);
    bytes.resize(static_cast<std::size_t>(count));
    if (!IsPicture(bytes)) {
        throw SourceError("a file outside the data folder is not a picture", source.path);
    }
}

// Adds the file in the folder if it exists.
void AddIfFile(const std::string& folder, const std::string& name, OutsideLinks outsideLinks,
               std::vector<LogSource>& sources) {
    std::optional<LogSource> source = OpenSource(name, folder + "/" + name, IsNoFile);
    if (!source || Contains(sources, source->status)) {
        return;
    }
    if (outsideLinks == OutsideLinks::kReject && !IsInside(*source, folder)) {
        RejectLink(*source);
    }
    sources.push_back(std::move(*source));
}

// Opens the youngest log first. A rotation in between renames a log to the next older name, which
// is opened later, so no log is missed. The name after the oldest log is tried for the same reason.
// A log that is found twice is recognised by its inode.
void AddLogs(const std::string& folder, OutsideLinks outsideLinks,
             std::vector<LogSource>& sources) {
    std::vector<unsigned> ages = ListLogAges(folder);
    if (!ages.empty()) {
        ages.push_back(ages.back() + 1);
    }
    for (const unsigned age : ages) {
        AddIfFile(folder, RotatedLogName(age), outsideLinks, sources);
        if (sources.size() > kMaxOpenLogs) {
            sources.back().file.reset();
        }
    }
    AddIfFile(folder, kLogStartName, outsideLinks, sources);
}

}  // namespace

std::vector<LogSource> OpenLogSources(const SourceFolders& folders) {
    std::vector<LogSource> sources;
    if (!folders.state.empty()) {
        AddLogs(folders.state, folders.outsideLinks, sources);
    }
    for (const char* name : {kMainResultFile, kRnscResultFile}) {
        AddIfFile(folders.data, name, folders.outsideLinks, sources);
    }
    if (sources.empty()) {
        throw LogCopyError("there is nothing to copy", folders.state + ", " + folders.data);
    }
    return sources;
}

std::optional<LogSource> OpenPhoto(const SourceFolders& folders, const std::string& name,
                                   const std::string& fileName) {
    const std::string found = FindPhoto(folders.data, name);
    const std::string path = found.empty() ? name : found;
    if (!BeginsWith(path, "/")) {
        return std::nullopt;
    }
    std::optional<LogSource> photo = OpenSource(fileName, path, IsNoPhoto);
    if (!photo) {
        return std::nullopt;
    }
    if (photo->status.st_size > kMaxPhotoBytes) {
        FailSource(path, EFBIG);
    }
    if (!IsInside(*photo, folders.data)) {
        if (folders.outsideLinks == OutsideLinks::kReject && !HasNoLink(*photo)) {
            RejectLink(*photo);
        }
        CheckIsPicture(*photo);
    }
    if (fileName.empty()) {
        throw SourceError("no unused file name for the photo", name);
    }
    return photo;
}

File TakeFile(LogSource& source) {
    if (source.file) {
        return std::move(*source.file);
    }
    std::optional<LogSource> opened =
        OpenSource(source.name, source.path, [](int) { return false; });
    if (!opened || !IsSameFile(source.status, opened->status)) {
        FailSource(source.path, ESTALE);
    }
    return std::move(*opened->file);
}

}  // namespace quorvel::desktop
