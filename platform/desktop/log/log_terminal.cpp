#include "log/log_terminal.h"

#include <Eina.h>
#include <poll.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>
#include <spdlog/fmt/fmt.h>
#include <spdlog/pattern_formatter.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxQueuedBytes = std::size_t{1} << 20;

// How long the thread collects lines before it writes them. Otherwise each line would wake the
// thread.
constexpr std::chrono::milliseconds kCollectTime{1};

// A pipe accepts this many bytes as one piece.
constexpr std::size_t kMaxBlockBytes = PIPE_BUF;

constexpr const char* kColourEnd = "\x1b[m";

// letter: the first letter of the level.
const char* ColourOf(char letter) {
    switch (letter) {
        case 'E':
            return "\x1b[1;31m";
        case 'W':
            return "\x1b[33m";
        default:
            return "\x1b[32m";
    }
}

// Control characters are C0 except the tab, DEL, and C1. Eina represents a byte that belongs to no
// UTF-8 character as 0xdc00 plus the byte; such a byte can be C1 too.
bool IsControl(Eina_Unicode letter) {
    const Eina_Unicode code = (letter & ~0x7f) == 0xdc80 ? letter & 0xff : letter;
    return (code < 0x20 && code != '\t') || (code >= 0x7f && code <= 0x9f);
}

bool IsPlainAscii(char byte) {
    return byte >= 0 && !IsControl(byte);
}

// Replaces each byte of a control character by \xNN, since texts of a file must not control the
// terminal.
std::string EscapeControls(const std::string& text) {
    std::string escaped;
    const char* bytes = text.c_str();
    const int size = static_cast<int>(text.size());
    for (int start = 0, end = 0; start < size; start = end) {
        const bool isControl = IsControl(eina_unicode_utf8_next_get(bytes, &end));
        end = std::max(end, start + 1);  // Eina does not pass a zero byte.
        for (int i = start; i < end; ++i) {
            if (isControl) {
                fmt::format_to(std::back_inserter(escaped), "\\x{:02x}",
                               static_cast<unsigned char>(bytes[i]));
            } else {
                escaped += bytes[i];
            }
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

// Writes whole lines with one call, so that other programs cannot write into a line.
void WriteLines(std::string_view lines) {
    while (!lines.empty()) {
        std::size_t end = lines.rfind('\n', kMaxBlockBytes - 1);
        if (end == std::string_view::npos) {
            end = lines.find('\n');
        }
        WriteToTerminal(lines.substr(0, end + 1));
        lines.remove_prefix(end + 1);
    }
}

}  // namespace

LogTerminal::LogTerminal()
    : m_IsColoured(spdlog::details::os::in_terminal(stderr) &&
                   spdlog::details::os::is_color_terminal()) {
    m_Start();
}

std::string LogTerminal::LinePattern() {
    return fmt::format("%L/%-8n({:5}): %v", getpid());
}

void LogTerminal::Put(std::string_view line) {
    const bool isPlain = !m_IsColoured && std::all_of(line.begin(), line.end() - 1, IsPlainAscii);
    const std::string composed = isPlain ? std::string() : m_Compose(line);
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (!m_HasThread) {
        return;
    }
    if (m_Queue.size() > kMaxQueuedBytes) {
        ++m_Omitted;
        return;
    }
    // The thread waits only for an empty queue to change.
    const bool isFirst = m_Queue.empty();
    m_EnqueueNotice();
    m_Queue += isPlain ? line : composed;
    if (isFirst) {
        m_Changed.notify_all();
    }
}

void LogTerminal::Drain(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait_for(lock, timeout, [this] { return m_Queue.empty() && !m_IsWriting; });
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
    std::string lines;
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [this] { return !m_Queue.empty(); });
        m_Changed.wait_for(lock, kCollectTime);
        lines.swap(m_Queue);
        m_IsWriting = true;
        lock.unlock();
        WriteLines(lines);
        lines.clear();
        lock.lock();
        m_IsWriting = false;
        if (m_Queue.empty()) {
            m_EnqueueNotice();
        }
        m_Changed.notify_all();
    }
}

std::string LogTerminal::m_Compose(std::string_view line) const {
    line.remove_suffix(1);
    const std::string text = EscapeControls(std::string(line));
    return m_IsColoured ? ColourOf(line.front()) + text + kColourEnd + "\n" : text + "\n";
}

void LogTerminal::m_EnqueueNotice() {
    if (m_Omitted > 0) {
        const std::string text = std::to_string(std::exchange(m_Omitted, 0)) + " lines omitted";
        spdlog::memory_buf_t notice;
        spdlog::pattern_formatter(LinePattern())
            .format({"quorvel", spdlog::level::warn, text}, notice);
        m_Queue += m_Compose({notice.data(), notice.size()});
    }
}

}  // namespace quorvel::desktop
