#include "log/log_file.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace quorvel::desktop {

namespace {

// The time between two checks without an event. A watch reports no changes by another computer,
// behind a link, or of a parent folder.
constexpr std::chrono::milliseconds kCheckInterval{500};

constexpr mode_t kPrivateMode = S_IRUSR | S_IWUSR;

// Returns the time since the start of the system, with an error of some milliseconds. Faster than
// steady_clock.
std::chrono::milliseconds CoarseTime() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::chrono::milliseconds(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

// Ignores errors: opening the file reports them.
void MakeFolders(const std::string& file) {
    for (std::size_t slash = file.find('/', 1); slash != std::string::npos;
         slash = file.find('/', slash + 1)) {
        mkdir(file.substr(0, slash).c_str(), S_IRWXU);
    }
}

// Opens the file for appending; only the user may access it. Only a regular file is accepted:
// writing to a FIFO or a device may block.
int OpenPrivate(const std::string& file, struct stat& status) {
    const int opened =
        open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
             kPrivateMode);
    // ENXIO: a socket, a FIFO without a reader, or a device without a driver.
    if (opened < 0 && errno != ENXIO) {
        throw std::system_error(errno, std::generic_category(), "failed to open " + file);
    }
    if (opened < 0 || fstat(opened, &status) != 0 || !S_ISREG(status.st_mode)) {
        if (opened >= 0) {
            close(opened);
        }
        throw std::runtime_error(file + ": not a regular file; remove it");
    }
    (void)fchmod(opened, kPrivateMode);
    return opened;
}

// Returns the number of bytes that could be written. Sets errno when the text has more.
std::size_t WriteAll(int file, std::string_view text) {
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t written = write(file, text.data() + size, text.size() - size);
        if (written < 0 && errno != EINTR) {
            break;
        }
        size += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    return size;
}

bool WriteNewFile(const std::string& path, std::string_view text) {
    unlink(path.c_str());
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateMode);
    if (file < 0) {
        return false;
    }
    const bool isWritten = WriteAll(file, text) == text.size();
    return close(file) == 0 && isWritten;
}

// A log copy at the same time gets the whole old file or the whole new file.
void ReplaceFile(const std::string& path, std::string_view text) {
    const std::string unfinished = path + ".new";
    if (!WriteNewFile(unfinished, text) || std::rename(unfinished.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(unfinished.c_str());
        throw std::system_error(error, std::generic_category(), "failed to write " + path);
    }
}

}  // namespace

FolderWatch::FolderWatch() : m_Events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

FolderWatch::~FolderWatch() {
    if (m_Events >= 0) {
        close(m_Events);
    }
}

void FolderWatch::Start(const std::string& folder) {
    m_Watch = inotify_add_watch(
        m_Events, folder.c_str(),
        IN_CREATE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE | IN_MOVE_SELF | IN_DELETE_SELF);
    m_NextCheck = {};
}

// If the buffer is too small for all events, the next call returns true too.
bool FolderWatch::MayHaveChanged() {
    alignas(inotify_event) std::array<char, 4096> events;  // NOLINT(*-member-init): read fills it
    const bool hasEvents = m_Watch < 0 || read(m_Events, events.data(), events.size()) > 0;
    const std::chrono::milliseconds now = CoarseTime();
    if (!hasEvents && now < m_NextCheck) {
        return false;
    }
    m_NextCheck = now + kCheckInterval;
    return true;
}

LogFile::LogFile(std::string path, const LogFileLimits& limits)
    : m_Path(std::move(path)), m_Limits(limits) {
    m_Open();
}

LogFile::~LogFile() {
    close(m_File);
}

void LogFile::Write(std::string_view line) {
    if (m_Folder.MayHaveChanged() && m_IsReplaced()) {
        m_Open();
    }
    if (m_Size > 0 && m_Size + line.size() > m_Limits.maxBytes) {
        m_Rotate();
    }
    if (m_PartEnd > 0) {
        m_EndPart();
    }
    const std::size_t written = WriteAll(m_File, line);
    m_Size += written;
    if (written < line.size()) {
        const int error = errno;
        if (written > 0) {
            m_PartEnd = lseek(m_File, 0, SEEK_CUR);
            m_EndPart();
        }
        throw std::system_error(error, std::generic_category(), "failed to write " + m_Path);
    }
    if (!m_IsStartComplete) {
        m_KeepStart(line);
    }
}

void LogFile::m_Open() {
    MakeFolders(m_Path);
    // The watch starts first, so that it reports a change while the file is opened. If the file
    // cannot be opened, the next line tries again.
    m_Folder.Start(m_Path.substr(0, m_Path.rfind('/')));
    struct stat status {};
    const int file = OpenPrivate(m_Path, status);
    if (m_File >= 0) {
        close(m_File);
    }
    m_File = file;
    m_Size = static_cast<std::size_t>(status.st_size);
    m_Status = status;
    m_PartEnd = 0;
}

bool LogFile::m_IsReplaced() const {
    struct stat status {};
    return stat(m_Path.c_str(), &status) != 0 || status.st_dev != m_Status.st_dev ||
           status.st_ino != m_Status.st_ino;
}

// A log that cannot be renamed is emptied, since it must not grow without limit.
void LogFile::m_Rotate() {
    for (std::size_t age = m_Limits.oldFiles; age > 1; --age) {
        (void)std::rename(m_PathWith(std::to_string(age - 1)).c_str(),
                          m_PathWith(std::to_string(age)).c_str());
    }
    if (std::rename(m_Path.c_str(), m_PathWith("1").c_str()) != 0) {
        (void)ftruncate(m_File, 0);
    }
    m_Open();
}

// Overwrites a byte, because a full disk accepts no additional byte. An appended line feed would
// also follow a line that another process has written since. btrfs needs space to overwrite a byte,
// so the next line tries again.
void LogFile::m_EndPart() {
    // With O_APPEND, pwrite(2) would append.
    fcntl(m_File, F_SETFL, O_NONBLOCK);
    if (pwrite(m_File, "\n", 1, m_PartEnd - 1) == 1) {
        m_PartEnd = 0;
    }
    fcntl(m_File, F_SETFL, O_NONBLOCK | O_APPEND);
}

void LogFile::m_KeepStart(std::string_view line) {
    m_IsStartComplete = m_Start.size() + line.size() > m_Limits.startBytes;
    if (!m_IsStartComplete) {
        m_Start += line;
        return;
    }
    const std::string start = std::exchange(m_Start, {});
    if (!start.empty()) {
        ReplaceFile(m_PathWith("start"), start);
    }
}

std::string LogFile::m_PathWith(const std::string& word) const {
    std::string path = m_Path;
    return path.insert(path.rfind('.'), "." + word);
}

}  // namespace quorvel::desktop
