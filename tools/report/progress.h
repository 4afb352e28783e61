#ifndef QUORVEL_TOOLS_REPORT_PROGRESS_H_
#define QUORVEL_TOOLS_REPORT_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace quorvel::report {

// A progress bar on standard error. Appears after one second, only on a terminal, and not for a
// total of 0. One thread.
class Progress {
public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Counts one more finished run.
    void Advance();
    // Clears the bar and writes the line to standard error.
    void WriteLine(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;

    void m_Clear();

    std::size_t m_Total;
    std::size_t m_Done = 0;
    bool m_IsTerminal;
    bool m_IsShown = false;
    Clock::time_point m_NextDrawing;
};

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_PROGRESS_H_
