#ifndef QUORVEL_TOOLS_REPORT_PROGRESS_H_
#define QUORVEL_TOOLS_REPORT_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace quorvel::report {

// A progress bar on standard error, shown after one second and only on a terminal. One thread.
// Shows no bar for a total of 0.
class Progress {
public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One more run is done.
    void Advance();
    // Writes the line to standard error, apart from the bar.
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
