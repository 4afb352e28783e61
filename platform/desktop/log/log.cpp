#include "log/log.h"

#include <dlog.h>
#include <fcntl.h>
#include <spdlog/details/log_msg.h>
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
#include <memory>
#include <mutex>
#include <string_view>

#include "log/log_file.h"
#include "log/log_terminal.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{4} << 20;
constexpr std::size_t kOldFiles = 3;
constexpr const char* kOwnTag = "quorvel";
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
    void m_WriteLine(const spdlog::details::log_msg& line);
    void m_WriteToFile(const spdlog::details::log_msg& line);

    std::mutex m_Mutex;
    spdlog::level::level_enum m_Level = spdlog::level::info;
    LogTerminal m_Terminal;
    std::unique_ptr<LogFile> m_File;
    bool m_FileFails = false;
};

std::terminate_handler g_NextTerminateHandler = nullptr;

// The last message of the application on this thread, cut to the size. Trivially destructible,
// since threads log until they end.
thread_local std::array<char, 512> g_LastMessage{};

void KeepLastMessage(const std::string& message) {
    const std::size_t end = message.find_last_not_of('\n') + 1;
    g_LastMessage[message.copy(g_LastMessage.data(), std::min(end, g_LastMessage.size() - 1))] = 0;
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
    const std::string last = g_LastMessage.data();
    if (!text.empty()) {
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

// Opens /dev/null in place of closed standard streams. Otherwise the log file would become one of
// them.
void OpenStandardStreams() {
    int opened = -1;
    do {
        opened = open("/dev/null", O_RDWR | O_NOCTTY);
    } while (opened >= 0 && opened <= STDERR_FILENO);
    if (opened >= 0) {
        close(opened);
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
    const char* variable = std::getenv("QUORVEL_LOG_LEVEL");
    const std::string level = variable == nullptr ? "info" : variable;
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
        m_File = std::make_unique<LogFile>(LogFilePath(), kMaxFileBytes, kOldFiles);
    } catch (const std::exception& error) {
        m_Report(std::string("logging to the terminal only: ") + error.what());
    }
}

void Log::m_Report(const std::string& text) {
    m_Terminal.Put({kOwnTag, spdlog::level::err, text});
}

void Log::Write(spdlog::level::level_enum level, const char* tag, std::string_view message) {
    message = message.substr(0, message.find_last_not_of('\n') + 1);
    const std::lock_guard<std::mutex> lock(m_Mutex);
    for (;;) {
        const std::size_t end = message.find('\n');
        const std::string_view text = message.substr(0, end);
        m_WriteLine({tag, level, spdlog::string_view_t(text.data(), text.size())});
        if (end == std::string_view::npos) {
            return;
        }
        message.remove_prefix(end + 1);
    }
}

void Log::m_WriteLine(const spdlog::details::log_msg& line) {
    m_Terminal.Put(line);
    if (m_File != nullptr) {
        m_WriteToFile(line);
    }
}

// Tries again with each line. Reports only the first of successive failures.
void Log::m_WriteToFile(const spdlog::details::log_msg& line) {
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

[[gnu::format(printf, 1, 0)]] std::string Format(const char* format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(static_cast<std::size_t>(length < 0 ? 0 : length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

[[gnu::format(printf, 3, 0)]] int Print(int priority, const char* tag, const char* format,
                                        va_list arguments) {
    if (tag == nullptr || format == nullptr || (priority != DLOG_INFO && priority != DLOG_ERROR)) {
        return -EINVAL;
    }
    const auto level = priority == DLOG_ERROR ? spdlog::level::err : spdlog::level::info;
    Log& log = Log::GetInstance();
    if (!log.Shows(level)) {
        return 0;
    }
    const std::string message = Format(format, arguments);
    KeepLastMessage(message);
    log.Write(level, tag, message);
    return static_cast<int>(message.size());
}

// Without memory for the line, the program continues. An exception that left the log with its mutex
// locked would block the log of the exception.
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
