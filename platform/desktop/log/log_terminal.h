#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace quorvel::desktop {

// Writes log lines to the standard error stream from its own thread. A stopped terminal or an
// unread pipe therefore blocks only that thread. Omits lines while the queue is full and writes
// their number in their place. Writes control characters as \xNN, so that no line can control the
// terminal. Owned by Log and never destroyed, since its thread may be blocked. Any thread.
class LogTerminal {
public:
    LogTerminal();

    // Returns spdlog's pattern of a line, the brief form of the set's log: level, tag, process,
    // message. Contains the number of this process, since spdlog would ask the system for each
    // line.
    static std::string LinePattern();

    // Copies the line, which has the form of LinePattern and ends with a line feed, and returns at
    // once.
    void Put(std::string_view line);

    // Waits until all lines are written or the timeout ends.
    void Drain(std::chrono::milliseconds timeout);

private:
    void m_Start();
    void m_Run();
    std::string m_Compose(std::string_view line) const;
    // The caller has locked the mutex.
    void m_EnqueueNotice();

    const bool m_IsColoured;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::string m_Queue;
    std::size_t m_Omitted = 0;
    bool m_IsWriting = false;  // whether the thread has taken lines and not yet written them
    bool m_HasThread = true;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_TERMINAL_H_
