#include "log/log_terminal.h"

#include <poll.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>
#include <spdlog/fmt/fmt.h>
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

// How long the thread collects lines before it writes them. Otherwise each line would wake it.
constexpr std::chrono::milliseconds kCollectTime{1};

// A pipe accepts this many bytes as one piece.
constexpr std::size_t kMaxBlockBytes = PIPE_BUF;

constexpr const char* kColourEnd = "\x1b[m";

// letter: of the level.
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

unsigned char ByteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

bool IsC1(unsigned char byte) {
    return byte >= 0x80 && byte <= 0x9f;
}

// Returns whether the byte is an ASCII character, but no control character except the tab.
bool IsPlainAscii(unsigned char byte) {
    return (byte >= 0x20 && byte < 0x7f) || byte == '\t';
}

// Returns the number of bytes of the control character at index; 0 for other characters. Control
// characters are C0 except the tab, DEL, and C1, either in UTF-8 or as a byte that continues no
// UTF-8 character.
std::size_t ControlBytesAt(std::string_view text, std::size_t index, bool continues) {
    const unsigned char byte = ByteAt(text, index);
    if ((byte < 0x80 && !IsPlainAscii(byte)) || (IsC1(byte) && !continues)) {
        return 1;
    }
    return byte == 0xc2 && IsC1(ByteAt(text, index + 1)) ? 2 : 0;
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
            fmt::format_to(std::back_inserter(escaped), "\\x{:02x}", ByteAt(text, i));
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
    : m_Formatter(LinePattern()),
      m_IsColoured(spdlog::details::os::in_terminal(stderr) &&
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
    if (m_QueuedBytes > kMaxQueuedBytes) {
        ++m_Omitted;
        return;
    }
    // The thread waits only for an empty queue to change.
    const bool isFirst = m_Queue.empty();
    m_EnqueueNotice();
    m_Enqueue(isPlain ? line : composed);
    if (isFirst) {
        m_Changed.notify_all();
    }
}

void LogTerminal::Drain(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait_for(lock, timeout, [this] { return m_QueuedBytes == 0; });
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
        lock.unlock();
        std::this_thread::sleep_for(kCollectTime);
        lock.lock();
        lines.swap(m_Queue);
        lock.unlock();
        m_WriteAll(lines);
        lines.clear();
        lock.lock();
        if (m_Queue.empty()) {
            m_EnqueueNotice();
        }
    }
}

// Writes whole lines with one call, so that other programs cannot write into a line.
void LogTerminal::m_WriteAll(std::string_view lines) {
    while (!lines.empty()) {
        std::size_t end = lines.rfind('\n', kMaxBlockBytes - 1);
        if (end == std::string_view::npos) {
            end = lines.find('\n');
        }
        const std::size_t size = end + 1;
        WriteToTerminal(lines.substr(0, size));
        lines.remove_prefix(size);
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_QueuedBytes -= size;
        m_Changed.notify_all();
    }
}

std::string LogTerminal::m_Compose(std::string_view line) const {
    line.remove_suffix(1);
    const std::string text = EscapeControls(line);
    return m_IsColoured ? ColourOf(line.front()) + text + kColourEnd + "\n" : text + "\n";
}

void LogTerminal::m_Enqueue(std::string_view line) {
    m_Queue += line;
    m_QueuedBytes += line.size();
}

void LogTerminal::m_EnqueueNotice() {
    if (m_Omitted > 0) {
        const std::string text = std::to_string(std::exchange(m_Omitted, 0)) + " lines omitted";
        spdlog::memory_buf_t notice;
        m_Formatter.format({"quorvel", spdlog::level::warn, text}, notice);
        m_Enqueue(m_Compose({notice.data(), notice.size()}));
    }
}

}  // namespace quorvel::desktop
