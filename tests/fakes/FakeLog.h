#ifndef QUORVEL_TESTS_FAKE_LOG_H_
#define QUORVEL_TESTS_FAKE_LOG_H_

#include <dlog.h>
#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// One line that the application wrote to the platform log.
struct LogLine {
    log_id_t buffer;
    int priority;
    std::string tag;
    std::string file;
    std::string function;
    int line;
    // What follows "file: function(line) > ", without the one line feed that the log macro adds; a
    // line feed that the message itself ends in stays.
    std::string message;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// The platform log of the tests: keeps the lines instead of writing them. Any thread.
class FakeLog {
public:
    FakeLog() = delete;

    // Forgets all lines.
    static void Clear();
    // All lines since the last Clear, in the order in which they were written.
    static std::vector<LogLine> Lines();
    // Only the error lines, only the information lines.
    static std::vector<LogLine> Errors();
    static std::vector<LogLine> Infos();
    // The bare messages of all lines, and of the error lines.
    static std::vector<std::string> Messages();
    static std::vector<std::string> ErrorMessages();
    // How often the message was written, at whatever priority.
    static int Count(const std::string& message);
    // Blocks until the message was written; false when the time is up before that.
    static bool WaitFor(const std::string& message,
                        std::chrono::milliseconds limit = std::chrono::seconds(20));

    // Calls the observer for every line, on the thread that wrote it; an empty one ends that.
    static void Observe(std::function<void(const LogLine&)> observer);

    // The texts that broke the log convention (tag, prefix, line feed at the end, or another pair
    // of buffer and priority than the two allowed) since the last call. Clear leaves them: the test
    // program asks after every test and fails it.
    static std::vector<std::string> TakeMalformed();
};

// Matches a line at error priority in the system buffer, or at information priority in the main
// one.
testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file);
testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file,
                                           const std::string& function);
testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file);
testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file,
                                          const std::string& function);

// Succeeds when the message was written exactly once, at error level in the system buffer (at
// information level in the main buffer) and by the file; otherwise shows the log.
testing::AssertionResult LoggedError(const std::string& message, const std::string& file);
testing::AssertionResult LoggedInfo(const std::string& message, const std::string& file);
// Succeeds when no error line was written; otherwise shows them.
testing::AssertionResult LoggedNoError();

#endif  // QUORVEL_TESTS_FAKE_LOG_H_
