#include "log/log.h"

#include <dlog.h>
#include <fcntl.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <mutex>
#include <string_view>

#include "log/log_file.h"
#include "log/log_terminal.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

// A run of 10,000 items writes 4.5 MiB with one analysis.
constexpr LogFileLimits kFileLimits{std::size_t{4} << 20, 3, std::size_t{512} << 10};
constexpr const char* kOwnTag = "quorvel";
// The time precedes a line in the file, but not on the terminal.
constexpr const char* kTimePattern = "%Y-%m-%d %H:%M:%S.%e ";
constexpr std::size_t kTimeLength = sizeof("2000-12-31 23:59:59.999 ") - 1;
// How long the program waits at exit until the terminal has the last lines.
constexpr std::chrono::milliseconds kDrainTimeout{500};

// Writes to the terminal and to the file. Created with the first line. Never destroyed, since
// threads that outlive main still log. Any thread.
class Log {
public:
    static Log& GetInstance();

    bool Shows(spdlog::level::level_enum level) const { return level >= m_Level; }

    // Writes each line of the message as a line of the log. Other threads write no lines in
    // between. Line breaks at the end of the message are dropped.
    void Write(spdlog::level::level_enum level, const char* tag, std::string_view message);

    void DrainTerminal() { m_Terminal.Drain(kDrainTimeout); }

private:
    Log();
    void m_ChooseLevel();
    void m_OpenFile();
    // Writes the text as an error to the terminal only.
    void m_Report(const std::string& text);
    void m_WriteToFile(std::string_view line);
    // Returns the line with the time. The result is valid until the next call.
    std::string_view m_Format(const spdlog::details::log_msg& line);

    std::mutex m_Mutex;
    spdlog::level::level_enum m_Level = spdlog::level::info;
    spdlog::pattern_formatter m_Formatter{kTimePattern + LogTerminal::LinePattern()};
    spdlog::memory_buf_t m_Formatted;
    LogTerminal m_Terminal;
    std::unique_ptr<LogFile> m_File;
    bool m_FileFails = false;
};

std::terminate_handler g_NextTerminateHandler = nullptr;

// The last message of the application on this thread, cut to the size, at every level.
// Trivially destructible, since threads log until they end.
thread_local std::array<char, 512> g_LastMessage{};

// quorvel-view sets the variable, and reads in the file which item ended the program.
void SaveLastMessage(const std::string& message) {
    const std::string path = EnvironmentValue("QUORVEL_EXCEPTION_FILE");
    if (!path.empty()) {
        std::ofstream(path) << message;
    }
}

// Returns the text of the exception that ends the program; an empty string without an exception.
std::string UncaughtException() {
    const std::exception_ptr current = std::current_exception();
    if (current == nullptr) {
        return {};
    }
    try {
        std::rethrow_exception(current);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "of an unknown type";
    }
}

// The last line names the item whose value caused the exception.
void LogUncaughtException() {
    const std::string text = UncaughtException();
    std::string last = g_LastMessage.data();
    last.erase(last.find_last_not_of('\n') + 1);
    if (!text.empty()) {
        SaveLastMessage(last);
        LogError("uncaught exception: " + text +
                 (last.empty() ? last : "; last line of its thread: " + last));
    }
}

[[noreturn]] void ReportAndTerminate() {
    try {
        LogUncaughtException();
    } catch (...) {
        // Without memory for the line, the next handler still names the exception.
    }
    Log::GetInstance().DrainTerminal();
    if (g_NextTerminateHandler != nullptr) {
        g_NextTerminateHandler();
    }
    std::abort();
}

// Opens /dev/null in place of closed standard streams. Otherwise the log file would get the number
// of a standard stream.
void OpenStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // Gets the lowest free number, which is the number of the stream.
            open("/dev/null", O_RDWR | O_NOCTTY);
        }
    }
}

Log& Log::GetInstance() {
    static Log* const instance = [] {
        OpenStandardStreams();
        // A write beyond the limit on the size of files then fails, and the program continues.
        (void)std::signal(SIGXFSZ, SIG_IGN);
        auto* log = new Log;
        g_NextTerminateHandler = std::set_terminate(ReportAndTerminate);
        (void)std::atexit([] { GetInstance().DrainTerminal(); });
        return log;
    }();
    return *instance;
}

Log::Log() {
    m_ChooseLevel();
    m_OpenFile();
}

void Log::m_ChooseLevel() {
    const std::string level = EnvironmentValue("QUORVEL_LOG_LEVEL", "info");
    if (level == "error") {
        m_Level = spdlog::level::err;
    } else if (level == "off") {
        m_Level = spdlog::level::off;
    } else if (level != "info") {
        m_Report("unknown QUORVEL_LOG_LEVEL, using info; the levels are info, error and off");
    }
}

void Log::m_OpenFile() {
    try {
        m_File = std::make_unique<LogFile>(LogFilePath(), kFileLimits);
    } catch (const std::exception& error) {
        m_Report(std::string("logging to the terminal only: ") + error.what());
    }
}

void Log::m_Report(const std::string& text) {
    m_Terminal.Put(m_Format({kOwnTag, spdlog::level::err, text}).substr(kTimeLength));
}

void Log::Write(spdlog::level::level_enum level, const char* tag, std::string_view message) {
    message = message.substr(0, message.find_last_not_of('\n') + 1);
    const std::lock_guard<std::mutex> lock(m_Mutex);
    for (;;) {
        const std::size_t end = message.find('\n');
        const std::string_view line = m_Format({tag, level, message.substr(0, end)});
        m_Terminal.Put(line.substr(kTimeLength));
        if (m_File != nullptr) {
            m_WriteToFile(line);
        }
        if (end == std::string_view::npos) {
            return;
        }
        message.remove_prefix(end + 1);
    }
}

std::string_view Log::m_Format(const spdlog::details::log_msg& line) {
    m_Formatted.clear();
    m_Formatter.format(line, m_Formatted);
    return {m_Formatted.data(), m_Formatted.size()};
}

// Tries again with each line. Reports only the first of successive failures.
void Log::m_WriteToFile(std::string_view line) {
    try {
        m_File->Write(line);
        m_FileFails = false;
    } catch (const std::exception& error) {
        if (!m_FileFails) {
            m_Report(std::string("cannot write to the log file: ") + error.what());
        }
        m_FileFails = true;
    }
}

// Formats the message into g_LastMessage. Returns the whole message, which is in longMessage if
// g_LastMessage is too small.
[[gnu::format(printf, 1, 0)]] std::string_view Format(const char* format, va_list arguments,
                                                      std::string& longMessage) {
    va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(g_LastMessage.data(), g_LastMessage.size(), format, copy);
    va_end(copy);
    const auto size = static_cast<std::size_t>(std::max(length, 0));
    if (size < g_LastMessage.size()) {
        return {g_LastMessage.data(), size};
    }
    longMessage.resize(size);
    std::vsnprintf(longMessage.data(), size + 1, format, arguments);
    return longMessage;
}

[[gnu::format(printf, 3, 0)]] int Print(int priority, const char* tag, const char* format,
                                        va_list arguments) {
    if (tag == nullptr || format == nullptr || (priority != DLOG_INFO && priority != DLOG_ERROR)) {
        return -EINVAL;
    }
    const auto level = priority == DLOG_ERROR ? spdlog::level::err : spdlog::level::info;
    Log& log = Log::GetInstance();
    std::string longMessage;
    const std::string_view message = Format(format, arguments, longMessage);
    if (!log.Shows(level)) {
        return 0;
    }
    log.Write(level, tag, message);
    return static_cast<int>(message.size());
}

// Without memory for the line, the program continues. An exception that no caller catches would
// reach the terminate handler with the mutex still locked, and the handler would block.
void WriteOwn(spdlog::level::level_enum level, const std::string& message) {
    try {
        Log::GetInstance().Write(level, kOwnTag, message);
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace

void LogError(const std::string& message) {
    WriteOwn(spdlog::level::err, message);
}

void LogInfo(const std::string& message) {
    if (Log::GetInstance().Shows(spdlog::level::info)) {
        WriteOwn(spdlog::level::info, message);
    }
}

}  // namespace quorvel::desktop

int __dlog_print(log_id_t, int prio, const char* tag, const char* fmt, ...) {
    // The caller expects neither an exception nor a change of errno.
    const int error = errno;
    int result = -1;
    va_list arguments;
    va_start(arguments, fmt);
    try {
        result = quorvel::desktop::Print(prio, tag, fmt, arguments);
    } catch (const std::exception&) {
        result = -ENOMEM;
    }
    va_end(arguments);
    errno = error;
    return result;
}
