#include "log/log_terminal.h"

#include <poll.h>
#include <spdlog/details/os.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvel::desktop {

namespace {

// The brief form of the set's log: level, tag, process, message.
constexpr const char* kPattern = "%L/%-8n(%5P): %v";
constexpr std::size_t kMaxQueuedBytes = std::size_t{1} << 20;

constexpr const char* kColourEnd = "\x1b[m";

const char* ColourOf(spdlog::level::level_enum level) {
    switch (level) {
        case spdlog::level::err:
            return "\x1b[1;31m";
        case spdlog::level::warn:
            return "\x1b[33m";
        default:
            return "\x1b[32m";
    }
}

std::size_t SizeOf(const spdlog::details::log_msg& line) {
    return line.payload.size() + sizeof(line);
}

unsigned char ByteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

bool IsC1(unsigned char byte) {
    return byte >= 0x80 && byte <= 0x9f;
}

// Returns the number of bytes of the control character at index; 0 for other characters. Control
// characters are C0 except the tab, DEL, and C1, either in UTF-8 or as a byte that continues no
// UTF-8 character.
std::size_t ControlBytesAt(std::string_view text, std::size_t index, bool continues) {
    const unsigned char byte = ByteAt(text, index);
    if ((byte < 0x20 && byte != '\t') || byte == 0x7f || (IsC1(byte) && !continues)) {
        return 1;
    }
    return byte == 0xc2 && IsC1(ByteAt(text, index + 1)) ? 2 : 0;
}

std::string CodeOf(unsigned char byte) {
    std::array<char, sizeof("\\xNN")> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x", byte);
    return code.data();
}

// Replaces each byte of a control character by \xNN, since texts of a file must not control the
// terminal.
std::string EscapeControls(std::string_view text) {
    std::string escaped;
    bool continues = false;  // whether a byte of a UTF-8 character precedes
    std::size_t controlEnd = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        controlEnd = std::max(controlEnd, i + ControlBytesAt(text, i, continues));
        const bool isControl = i < controlEnd;
        continues = !isControl && ByteAt(text, i) >= 0x80;
        if (isControl) {
            escaped += CodeOf(ByteAt(text, i));
        } else {
            escaped += text[i];
        }
    }
    return escaped;
}

// Uses no stdio stream: a thread that blocks here would keep the stream's lock at exit.
void WriteToTerminal(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno == EAGAIN) {
            pollfd full{STDERR_FILENO, POLLOUT, 0};
            poll(&full, 1, -1);
        } else if (written < 0 && errno != EINTR) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

}  // namespace

LogTerminal::LogTerminal()
    : m_Formatter(kPattern),
      m_IsColoured(spdlog::details::os::in_terminal(stderr) &&
                   spdlog::details::os::is_color_terminal()) {
    m_Start();
}

void LogTerminal::Put(const spdlog::details::log_msg& line) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (!m_HasThread) {
        return;
    }
    if (m_QueuedBytes > kMaxQueuedBytes) {
        ++m_Omitted;
        return;
    }
    m_EnqueueNotice();
    m_Enqueue(line);
    m_Changed.notify_all();
}

void LogTerminal::Drain(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait_for(lock, timeout, [this] { return m_Queue.empty(); });
}

// Blocks all signals in the thread. The main loop handles the signals that end the program, and
// SIGPIPE must not end it.
void LogTerminal::m_Start() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([this] { m_Run(); }).detach();
    } catch (const std::system_error&) {
        // Lines go to the file only.
        m_HasThread = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void LogTerminal::m_Run() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [this] { return !m_Queue.empty(); });
        // Stays valid while other threads add lines.
        const spdlog::details::log_msg_buffer& line = m_Queue.front();
        lock.unlock();
        m_Write(line);
        lock.lock();
        m_QueuedBytes -= SizeOf(line);
        m_Queue.pop_front();
        if (m_Queue.empty()) {
            m_EnqueueNotice();
        }
        m_Changed.notify_all();
    }
}

// Writes the whole line with one call, so that other programs cannot write into it.
void LogTerminal::m_Write(const spdlog::details::log_msg& line) {
    spdlog::memory_buf_t formatted;
    m_Formatter.format(line, formatted);
    // The formatter ends the line with a line feed.
    std::string text = EscapeControls({formatted.data(), formatted.size() - 1});
    if (m_IsColoured) {
        text.insert(0, ColourOf(line.level));
        text.append(kColourEnd);
    }
    WriteToTerminal(text.append(1, '\n'));
}

void LogTerminal::m_Enqueue(const spdlog::details::log_msg& line) {
    m_Queue.emplace_back(line);
    m_QueuedBytes += SizeOf(line);
}

void LogTerminal::m_EnqueueNotice() {
    if (m_Omitted > 0) {
        const std::string text = std::to_string(std::exchange(m_Omitted, 0)) + " lines omitted";
        m_Enqueue({"quorvel", spdlog::level::warn, text});
    }
}

}  // namespace quorvel::desktop
