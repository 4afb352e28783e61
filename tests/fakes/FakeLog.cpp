#include "fakes/FakeLog.h"

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <ostream>
#include <sstream>
#include <utility>

namespace {

struct LogState {
    std::mutex mutex;
    std::condition_variable written;
    std::vector<LogLine> lines;
    std::vector<std::string> malformed;
    std::function<void(const LogLine&)> observer;
};

// The state is never destroyed, because detached workers can still log while the process ends.
LogState& GetLogState() {
    static auto* state = new LogState;
    return *state;
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, copy);
    va_end(copy);
    text.pop_back();
    return text;
}

bool IsAllowedPair(int buffer, int priority) {
    return (buffer == LOG_ID_MAIN && priority == DLOG_INFO) ||
           (buffer == LOG_ID_SYSTEM && priority == DLOG_ERROR);
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Fills the line from a text in the format of a log line (inc/quorvel.h). Returns false for a text
// in another format.
bool Split(const std::string& text, LogLine& line) {
    const size_t fileEnd = text.find(": ");
    const size_t prefixEnd = text.find(") > ");
    if (fileEnd == std::string::npos || prefixEnd == std::string::npos || text.back() != '\n') {
        return false;
    }
    const size_t functionEnd = text.rfind('(', prefixEnd);
    if (functionEnd == std::string::npos || functionEnd < fileEnd + 2) {
        return false;
    }
    const std::string number = text.substr(functionEnd + 1, prefixEnd - functionEnd - 1);
    line.file = text.substr(0, fileEnd);
    line.function = text.substr(fileEnd + 2, functionEnd - fileEnd - 2);
    if (!IsNumber(number) || line.file.find('/') != std::string::npos) {
        return false;
    }
    line.line = std::stoi(number);
    const size_t start = prefixEnd + 4;
    line.message = text.substr(start, text.size() - start - 1);
    return true;
}

// Stores the line, and the malformed text unless it is empty. Returns the observer.
std::function<void(const LogLine&)> Record(const LogLine& line, const std::string& malformed) {
    LogState& state = GetLogState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!malformed.empty()) {
        state.malformed.push_back(malformed);
    }
    state.lines.push_back(line);
    state.written.notify_all();
    return state.observer;
}

std::vector<LogLine> LinesAt(int priority) {
    const std::vector<LogLine> lines = FakeLog::Lines();
    std::vector<LogLine> result;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(result),
                 [priority](const LogLine& line) { return line.priority == priority; });
    return result;
}

std::vector<std::string> MessagesOf(const std::vector<LogLine>& lines) {
    std::vector<std::string> messages;
    messages.reserve(lines.size());
    for (const LogLine& line : lines) {
        messages.push_back(line.message);
    }
    return messages;
}

std::string Listed(const std::vector<LogLine>& lines) {
    std::ostringstream text;
    for (const LogLine& line : lines) {
        text << "\n  " << line;
    }
    return text.str();
}

testing::Matcher<const LogLine&> LineAt(log_id_t buffer, int priority, const std::string& message,
                                        const std::string& file,
                                        const testing::Matcher<std::string>& function) {
    return testing::AllOf(testing::Field("buffer", &LogLine::buffer, buffer),
                          testing::Field("priority", &LogLine::priority, priority),
                          testing::Field("tag", &LogLine::tag, "QEL"),
                          testing::Field("file", &LogLine::file, file),
                          testing::Field("function", &LogLine::function, function),
                          testing::Field("message", &LogLine::message, message));
}

testing::AssertionResult LoggedOnce(log_id_t buffer, int priority, const std::string& message,
                                    const std::string& file) {
    const auto matcher = LineAt(buffer, priority, message, file, testing::_);
    const std::vector<LogLine> lines = FakeLog::Lines();
    const auto count = std::count_if(lines.begin(), lines.end(), [&matcher](const LogLine& line) {
        return matcher.Matches(line);
    });
    if (count == 1) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << testing::PrintToString(message) << " was logged " << count
                                       << " times instead of once at " << buffer << "/" << priority
                                       << " by " << file << "; the log:" << Listed(lines);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.buffer << "/" << line.priority << " " << line.tag << " " << line.file << ": "
               << line.function << "(" << line.line << ") > "
               << testing::PrintToString(line.message);
}

int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const std::string text = Format(fmt, arguments);
    va_end(arguments);
    LogLine line{log_id, prio, tag == nullptr ? "" : tag, "", "", 0, text};
    const bool wellFormed = Split(text, line) && IsAllowedPair(log_id, prio) && line.tag == "QEL";
    if (const auto observer = Record(line, wellFormed ? std::string() : text)) {
        observer(line);
    }
    return static_cast<int>(text.size());
}

void FakeLog::Clear() {
    LogState& state = GetLogState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.lines.clear();
}

std::vector<LogLine> FakeLog::Lines() {
    LogState& state = GetLogState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.lines;
}

std::vector<LogLine> FakeLog::Errors() {
    return LinesAt(DLOG_ERROR);
}

std::vector<LogLine> FakeLog::ErrorsOf(const std::string& file) {
    std::vector<LogLine> errors = Errors();
    errors.erase(std::remove_if(errors.begin(), errors.end(),
                                [&](const LogLine& line) { return line.file != file; }),
                 errors.end());
    return errors;
}

std::vector<LogLine> FakeLog::Infos() {
    return LinesAt(DLOG_INFO);
}

std::vector<std::string> FakeLog::Messages() {
    return MessagesOf(Lines());
}

std::vector<std::string> FakeLog::ErrorMessages() {
    return MessagesOf(Errors());
}

int FakeLog::Count(const std::string& message) {
    const std::vector<std::string> messages = Messages();
    return static_cast<int>(std::count(messages.begin(), messages.end(), message));
}

bool FakeLog::WaitFor(const std::string& message, std::chrono::milliseconds limit) {
    LogState& state = GetLogState();
    std::unique_lock<std::mutex> lock(state.mutex);
    return state.written.wait_for(lock, limit, [&state, &message] {
        return std::any_of(state.lines.begin(), state.lines.end(),
                           [&message](const LogLine& line) { return line.message == message; });
    });
}

void FakeLog::Observe(std::function<void(const LogLine&)> observer) {
    LogState& state = GetLogState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.observer = std::move(observer);
}

std::vector<std::string> FakeLog::TakeMalformed() {
    LogState& state = GetLogState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    std::vector<std::string> malformed;
    malformed.swap(state.malformed);
    return malformed;
}

testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file) {
    return LineAt(LOG_ID_SYSTEM, DLOG_ERROR, message, file, testing::_);
}

testing::Matcher<const LogLine&> ErrorLine(const std::string& message, const std::string& file,
                                           const std::string& function) {
    return LineAt(LOG_ID_SYSTEM, DLOG_ERROR, message, file, function);
}

testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file) {
    return LineAt(LOG_ID_MAIN, DLOG_INFO, message, file, testing::_);
}

testing::Matcher<const LogLine&> InfoLine(const std::string& message, const std::string& file,
                                          const std::string& function) {
    return LineAt(LOG_ID_MAIN, DLOG_INFO, message, file, function);
}

testing::AssertionResult LoggedError(const std::string& message, const std::string& file) {
    return LoggedOnce(LOG_ID_SYSTEM, DLOG_ERROR, message, file);
}

testing::AssertionResult LoggedInfo(const std::string& message, const std::string& file) {
    return LoggedOnce(LOG_ID_MAIN, DLOG_INFO, message, file);
}

testing::AssertionResult LoggedNoError() {
    const std::vector<LogLine> errors = FakeLog::Errors();
    if (errors.empty()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "error lines in the log:" << Listed(errors);
}
