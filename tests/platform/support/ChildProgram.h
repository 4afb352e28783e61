#ifndef QUORVEL_TESTS_PLATFORM_CHILD_PROGRAM_H_
#define QUORVEL_TESTS_PLATFORM_CHILD_PROGRAM_H_

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/PrivateFolders.h"

// Longer than anything takes that goes well, on a busy machine under a sanitizer.
constexpr std::chrono::seconds kLongEnough{30};

// What a busy machine and a sanitizer add to a time that a program keeps.
constexpr std::chrono::seconds kSpareTime{10};

// Waits for the condition, but not for ever; returns whether it came true.
bool Await(const std::function<bool()>& condition,
           std::chrono::milliseconds patience = kLongEnough);

// A program that a test runs beside itself. What it writes is kept in files in its folder. Killed,
// if it still runs, when the object goes.
class ChildProgram {
public:
    // folders: whose environment it gets, with extra on top. standardError: where its messages go
    // instead of the file, which stays the caller's to close.
    ChildProgram(const PrivateFolders& folders, const std::filesystem::path& program,
                 const std::vector<std::string>& arguments, const Environment& extra = {},
                 int standardError = -1);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    pid_t Id() const { return m_Id; }
    void Signal(int number) const;
    // Stops it, until SIGCONT; it does nothing any more when this returns.
    void Stop() const;

    // Its exit status, or minus the signal that ended it; nothing when it does not end in time.
    std::optional<int> Exit();

    // What it wrote so far.
    std::string Output() const { return ReadFile(m_Output); }
    std::string Messages() const { return ReadFile(m_Messages); }

    // Lets the program read a line from its standard input.
    void Proceed() const;

private:
    pid_t m_Id = 0;
    int m_Input = -1;
    std::optional<int> m_Status;
    std::filesystem::path m_Output;
    std::filesystem::path m_Messages;
};

#endif  // QUORVEL_TESTS_PLATFORM_CHILD_PROGRAM_H_
