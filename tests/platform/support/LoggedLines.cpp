#include "support/LoggedLines.h"

#include "paths.h"
#include "support/PrivateFolders.h"

LoggedLines::LoggedLines() : m_Start(ReadFile(quorvel::desktop::LogFilePath()).size()) {}

std::vector<std::string> LoggedLines::Messages() const {
    return MessagesOf(ReadFile(quorvel::desktop::LogFilePath()).substr(m_Start));
}

std::vector<std::string> MessagesOf(const std::string& log) {
    std::vector<std::string> lines = LinesOf(log);
    for (std::string& line : lines) {
        line.erase(0, line.find("): ") + 3);
    }
    return lines;
}
