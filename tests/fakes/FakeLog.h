#ifndef QUORVEL_TESTS_FAKE_LOG_H_
#define QUORVEL_TESTS_FAKE_LOG_H_

#include <dlog.h>
#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// One log line of the application.
struct LogLine {
    log_id_t buffer;
    int priority;
    std::string tag;
    std::string file;
    std::string function;
    int line;
    // The message without the line feed that the log macro appends. A line feed at the end of the
    // message itself is kept.
    std::string message;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// A fake of the platform log. Records the lines instead of writing them. Any thread.
class FakeLog {
public:
    FakeLog() = delete;

    // Deletes the recorded lines.
    static void Clear();
    // Returns all lines since the last Clear, in the order in which they were written.
    static std::vector<LogLine> Lines();
    // Returns only the error lines.
    static std::vector<LogLine> Errors();
    // Returns the error lines of one source file.
    static std::vector<LogLine> ErrorsOf(const std::string& file);
    // Returns only the information lines.
    static std::vector<LogLine> Infos();
    // Return the messages of all lines, or of the error lines.
    static std::vector<std::string> Messages();
    static std::vector<std::string> ErrorMessages();
    // Returns the number of lines with the message, at any priority.
    static int Count(const std::string& message);
    // Waits until the message is written. Returns false when the time limit expires first.
    static bool WaitFor(const std::string& message,
                        std::chrono::milliseconds limit = std::chrono::seconds(20));

    // Calls the observer for every line, on the thread that writes the line. An empty function
    // removes the observer.
    static void Observe(std::function<void(const LogLine&)> observer);

    // Returns and deletes the texts that do not have the format of a log line (inc/quorvel.h):
    // another tag, another prefix, no line feed at the end, or another buffer and priority. Clear
    // does not delete them. The test program calls this function after every test, and a malformed
    // text fails the test.
    static std::vector<std::string> TakeMalformed();
};

// Match an error line in the system buffer, or an information line in the main buffer.
testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file);
testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file,
                                           const std::string& function);
testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file);
testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file,
                                          const std::string& function);

// Succeed if the file wrote the message exactly once. LoggedError expects an error line in the
// system buffer, LoggedInfo an information line in the main buffer. A failure shows the log.
testing::AssertionResult LoggedError(const std::string& message, const std::string& file);
testing::AssertionResult LoggedInfo(const std::string& message, const std::string& file);
// Succeeds when no error line was written. A failure shows the error lines.
testing::AssertionResult LoggedNoError();

#endif  // QUORVEL_TESTS_FAKE_LOG_H_
