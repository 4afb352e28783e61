#ifndef QUORVEL_TESTS_PLATFORM_LOGGED_LINES_H_
#define QUORVEL_TESTS_PLATFORM_LOGGED_LINES_H_

#include <cstddef>
#include <string>
#include <vector>

// The messages that this process has logged since the object was made, without what precedes them.
class LoggedLines {
public:
    LoggedLines();
    std::vector<std::string> Messages() const;

private:
    std::size_t m_Start;
};

// The messages of log lines, from the terminal or the file.
std::vector<std::string> MessagesOf(const std::string& log);

#endif  // QUORVEL_TESTS_PLATFORM_LOGGED_LINES_H_
