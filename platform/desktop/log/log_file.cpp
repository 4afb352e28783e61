#include "log/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quorvel::desktop {

namespace {

// The brief form of the terminal with the time before it.
constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%e %L/%-8n(%5P): %v";

// Failure shows when the file is opened.
void MakeFolders(const std::string& file) {
    for (std::size_t slash = file.find('/', 1); slash != std::string::npos;
         slash = file.find('/', slash + 1)) {
        mkdir(file.substr(0, slash).c_str(), S_IRWXU);
    }
}

// Before spdlog opens it: spdlog would let others read a new file, and would sleep between several
// tries of one that cannot be opened, with every thread that logs waiting.
void MakePrivate(const std::string& file) {
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (opened < 0) {
        throw spdlog::spdlog_ex("Failed opening file " + file + " for writing", errno);
    }
    struct stat status {};
    if (fstat(opened, &status) == 0 && S_ISREG(status.st_mode)) {
        (void)fchmod(opened, S_IRUSR | S_IWUSR);
    }
    close(opened);
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

// Also true after a rotation of our own; opening the new file a second time does no harm.
bool LogFile::m_IsReplaced() const {
    struct stat status {};
    return stat(m_Path.c_str(), &status) != 0 || status.st_dev != m_Device ||
           status.st_ino != m_Inode;
}

}  // namespace quorvel::desktop
