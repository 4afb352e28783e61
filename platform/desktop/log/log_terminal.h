#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_

#include <spdlog/details/log_msg_buffer.h>
#include <spdlog/pattern_formatter.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

namespace quorvel::desktop {

// Writes log lines to the standard error stream from its own thread, so that a stopped terminal or
// an unread pipe blocks only that thread. Omits lines while the queue is full and writes their
// number in their place. Writes control characters as \xNN, so that no line can control the
// terminal. Owned by Log and never destroyed, since its thread may be blocked. Any
// thread.
class LogTerminal {
public:
    LogTerminal();

    // Copies the line and returns at once.
    void Put(const spdlog::details::log_msg& line);

    // Waits until all lines are written or the timeout ends.
    void Drain(std::chrono::milliseconds timeout);

private:
    void m_Start();
    void m_Run();
    void m_Write(const spdlog::details::log_msg& line);
    // Call both with the mutex locked.
    void m_Enqueue(const spdlog::details::log_msg& line);
    void m_EnqueueNotice();

    spdlog::pattern_formatter m_Formatter;
    const bool m_IsColoured;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<spdlog::details::log_msg_buffer> m_Queue;  // the thread writes the first line
    std::size_t m_QueuedBytes = 0;
    std::size_t m_Omitted = 0;
    bool m_HasThread = true;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_
