#include "report/progress.h"

#include <unistd.h>

#include <cstdio>

namespace quorvel::report {

namespace {

constexpr std::size_t kBarWidth = 40;
constexpr std::chrono::seconds kDelay{1};
constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

Progress::Progress(std::size_t total)
    : m_Total(total),
      m_IsTerminal(total > 0 && isatty(STDERR_FILENO) == 1),
      m_NextDrawing(Clock::now() + kDelay) {}

Progress::~Progress() {
    m_Clear();
}

void Progress::Advance() {
    ++m_Done;
    const Clock::time_point now = Clock::now();
    if (!m_IsTerminal || now < m_NextDrawing) {
        return;
    }
    m_NextDrawing = now + kInterval;
    m_IsShown = true;
    const std::size_t filled = kBarWidth * m_Done / m_Total;
    std::fprintf(stderr, "\r[%s%s] %zu of %zu runs", std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, ' ').c_str(), m_Done, m_Total);
    std::fflush(stderr);
}

void Progress::WriteLine(const std::string& line) {
    m_Clear();
    std::fprintf(stderr, "%s\n", line.c_str());
}

void Progress::m_Clear() {
    if (m_IsShown) {
        std::fputs("\r\033[K", stderr);
        m_IsShown = false;
    }
}

}  // namespace quorvel::report
