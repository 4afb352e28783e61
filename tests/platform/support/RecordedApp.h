#ifndef QUORVEL_TESTS_PLATFORM_RECORDED_APP_H_
#define QUORVEL_TESTS_PLATFORM_RECORDED_APP_H_

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/ChildProgram.h"
#include "support/LoggedLines.h"
#include "support/PrivateFolders.h"

using Event = std::string;
using Arguments = std::vector<std::string>;

// Starts the recording_app and tells what the platform called in it.
class RecordedApp : public testing::Test {
protected:
    std::unique_ptr<ChildProgram> Start(const Arguments& arguments = {},
                                        Environment extra = {}) const {
        extra.emplace("RECORD", m_Record);
        return std::make_unique<ChildProgram>(m_Folders, QUORVEL_RECORDING_APP, arguments, extra);
    }

    // Runs one that is expected to end by itself; its exit status.
    std::optional<int> Run(const Arguments& arguments = {}, const Environment& extra = {}) const {
        return Start(arguments, extra)->Exit();
    }

    // What happened in all programs, or in one.
    std::vector<Event> Events() const {
        std::vector<Event> events;
        for (const std::string& line : LinesOf(ReadFile(m_Record))) {
            events.push_back(line.substr(line.find(' ') + 1));
        }
        return events;
    }
    std::vector<Event> Events(const ChildProgram& program) const {
        const std::string process = std::to_string(program.Id()) + " ";
        std::vector<Event> events;
        for (const std::string& line : LinesOf(ReadFile(m_Record))) {
            if (line.compare(0, process.size(), process) == 0) {
                events.push_back(line.substr(process.size()));
            }
        }
        return events;
    }

    long Count(const Event& event) const {
        const std::vector<Event> events = Events();
        return std::count(events.begin(), events.end(), event);
    }

    bool AwaitEvent(const Event& event, long times = 1) const {
        return Await([&] { return Count(event) >= times; });
    }

    // The errors on the program's terminal, without those of the toolkit.
    static std::vector<std::string> Errors(const ChildProgram& program) {
        std::vector<std::string> errors;
        for (const std::string& line : LinesOf(program.Messages())) {
            if (line.rfind("E/", 0) == 0) {
                errors.push_back(MessagesOf(line).front());
            }
        }
        return errors;
    }

    PrivateFolders m_Folders;
    std::string m_Record = m_Folders.Root() / "record";
};

#endif  // QUORVEL_TESTS_PLATFORM_RECORDED_APP_H_
