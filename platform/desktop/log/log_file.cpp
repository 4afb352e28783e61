#include "log/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quorvel::desktop {

namespace {

// Time, then the form of the terminal.
constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%e %L/%-8n(%5P): %v";

constexpr mode_t kPrivateMode = S_IRUSR | S_IWUSR;

// Ignores errors: opening the file reports them.
void MakeFolders(const std::string& file) {
    for (std::size_t slash = file.find('/', 1); slash != std::string::npos;
         slash = file.find('/', slash + 1)) {
        mkdir(file.substr(0, slash).c_str(), S_IRWXU);
    }
}

// Called before spdlog opens the file. spdlog alone would create a file that others can read. If it
// could not open the file, it would sleep and try again while all threads that log wait.
// Only a regular file is accepted: writing to a FIFO or a device may block.
void MakePrivate(const std::string& file) {
    const int opened =
        open(file.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kPrivateMode);
    // ENXIO: a socket, a FIFO without a reader, or a device without a driver.
    if (opened < 0 && errno != ENXIO) {
        throw spdlog::spdlog_ex("Failed opening file " + file + " for writing", errno);
    }
    struct stat status {};
    const bool isRegular = opened >= 0 && fstat(opened, &status) == 0 && S_ISREG(status.st_mode);
    if (isRegular) {
        (void)fchmod(opened, kPrivateMode);
    }
    if (opened >= 0) {
        close(opened);
    }
    if (!isRegular) {
        throw spdlog::spdlog_ex(file + ": not a regular file; remove it");
    }
}

}  // namespace

LogFile::LogFile(std::string path, std::size_t maxBytes, std::size_t oldFiles)
    : m_Path(std::move(path)), m_MaxBytes(maxBytes), m_OldFiles(oldFiles) {
    m_Open();
}

void LogFile::Write(const spdlog::details::log_msg& line) {
    if (m_IsReplaced()) {
        m_Open();
    }
    m_Sink->log(line);
    m_Sink->flush();
}

void LogFile::m_Open() {
    MakeFolders(m_Path);
    spdlog::file_event_handlers handlers;
    handlers.before_open = MakePrivate;
    m_Sink = std::make_unique<spdlog::sinks::rotating_file_sink_st>(m_Path, m_MaxBytes, m_OldFiles,
                                                                    false, handlers);
    m_Sink->set_pattern(kPattern);
    struct stat status {};
    stat(m_Path.c_str(), &status);
    m_Device = status.st_dev;
    m_Inode = status.st_ino;
}

// Also returns true after a rotation by this process; opening the file again is harmless then.
bool LogFile::m_IsReplaced() const {
    struct stat status {};
    return stat(m_Path.c_str(), &status) != 0 || status.st_dev != m_Device ||
           status.st_ino != m_Inode;
}

}  // namespace quorvel::desktop
