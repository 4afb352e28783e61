#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

namespace quorvel::desktop {

// The rotating log file. Several processes may write to it, since a hand-over is logged too. If
// another process rotates the file, it is opened again. Owned by Log. One thread at a time.
class LogFile {
public:
    // Opens the file and creates missing folders; only the user may access either. maxBytes: size
    // at which the file is rotated. oldFiles: number of rotated files to keep. Throws
    // spdlog::spdlog_ex when the file cannot be opened.
    LogFile(std::string path, std::size_t maxBytes, std::size_t oldFiles);

    // Writes one line and flushes it. Throws spdlog::spdlog_ex.
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
