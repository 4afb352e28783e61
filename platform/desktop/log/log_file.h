#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

namespace quorvel::desktop {

// The rotating log file. A program that only hands its request to the running one writes its lines
// there too, so the file may be replaced by another process: it is then opened anew.
// Owned by the log, which also sees to it that one thread at a time writes.
class LogFile {
public:
    // maxBytes: size at which the file becomes the youngest of oldFiles old ones. Makes missing
    // folders; they and the files are for the user alone. Throws spdlog::spdlog_ex when the file
    // cannot be opened.
    LogFile(std::string path, std::size_t maxBytes, std::size_t oldFiles);

    // Writes one line, whole and at once. Throws spdlog::spdlog_ex when that fails.
    void Write(const spdlog::details::log_msg& line);

private:
    void m_Open();
    bool m_IsReplaced() const;

    std::string m_Path;
    std::size_t m_MaxBytes;
    std::size_t m_OldFiles;
    std::unique_ptr<spdlog::sinks::rotating_file_sink_st> m_Sink;
    dev_t m_Device = 0;
    ino_t m_Inode = 0;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_
