// Runs log_writer and tests the lines on the terminal and in the file.

#include <dlog.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Socket.h"

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

// Number of lines that log_writer logs in the scenario "flood".
constexpr std::size_t kFloodLines = 30000;

// The two ends of a pipe or a terminal. The destructor closes both ends.
struct Ends {
    int reader = -1;
    int writer = -1;

    ~Ends() {
        close(reader);
        close(writer);
    }

    static Ends OfPipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        return {ends[0], ends[1]};
    }

    static Ends OfTerminal() {
        Ends ends;
        EXPECT_EQ(openpty(&ends.reader, &ends.writer, nullptr, nullptr, nullptr), 0);
        return ends;
    }

    // Reads until the text is received. Returns everything that was read.
    std::string ReadUntil(const std::string& text) const {
        std::string all;
        std::array<char, 65536> part{};
        while (all.find(text) == std::string::npos) {
            const ssize_t size = read(reader, part.data(), part.size());
            if (size <= 0) {
                ADD_FAILURE() << "closed before: " << text;
                break;
            }
            all.append(part.data(), static_cast<std::size_t>(size));
        }
        return all;
    }
};

class LogTest : public testing::Test {
protected:
    ChildProgram Start(const std::string& scenario, const Environment& extra = {},
                       int standardError = -1) const {
        return {m_Folders, QUORVEL_LOG_WRITER, {scenario}, extra, standardError};
    }

    // Runs a scenario until the program exits. Returns the lines on the terminal.
    std::vector<std::string> Run(const std::string& scenario, const Environment& extra = {}) const {
        ChildProgram program = Start(scenario, extra);
        EXPECT_EQ(program.Exit(), 0);
        return LinesOf(program.Messages());
    }

    // Returns the messages in the file.
    std::vector<std::string> FileMessages() const { return MessagesOf(ReadFile(m_Folders.Log())); }

    PrivateFolders m_Folders;
};

TEST_F(LogTest, WritesBriefFormToTerminal) {
    ChildProgram program = Start("two-lines");
    EXPECT_EQ(program.Exit(), 0);
    std::string process = std::to_string(program.Id());
    process.insert(0, process.size() < 5 ? 5 - process.size() : 0, ' ');
    EXPECT_EQ(program.Messages(), "I/QEL     (" + process + "): an information\n" + "E/QEL     (" +
                                      process + "): an error\n");
}

TEST_F(LogTest, WritesTimeAndBriefFormToFile) {
    Run("two-lines");
    const std::string start = "^[0-9-]+ [0-9:]+\\.[0-9]+ ";
    EXPECT_THAT(LinesOf(ReadFile(m_Folders.Log())),
                ElementsAre(ContainsRegex(start + "I/QEL     \\( *[0-9]+\\): an information$"),
                            ContainsRegex(start + "E/QEL     \\( *[0-9]+\\): an error$")));
}

TEST_F(LogTest, CreatesPrivateFolder) {
    Run("two-lines");
    EXPECT_EQ(fs::status(m_Folders.Log().parent_path()).permissions(), fs::perms::owner_all);
}

TEST_F(LogTest, PrefixesEachLineAndDropsTrailingBreaks) {
    EXPECT_THAT(Run("inner-lines"),
                ElementsAre(EndsWith("): one"), EndsWith("): "), EndsWith("): two")));
    EXPECT_THAT(FileMessages(), ElementsAre("one", "", "two"));
}

TEST_F(LogTest, EscapesControlCharactersOnTerminalOnly) {
    EXPECT_THAT(Run("controls"),
                ElementsAre(EndsWith("): a\\x1b[2Jb\\x07\tc\\x7fd\\x0de"),
                            EndsWith("): a\\xc2\\x9b2Jb\\x9bc\\x85 \u00e9\u2713\u00a0")));
    EXPECT_THAT(FileMessages(), ElementsAre("a\x1b[2Jb\x07\tc\x7f"
                                            "d\re",
                                            "a\u009b2Jb\x9b"
                                            "c\x85 \u00e9\u2713\u00a0"));
}

TEST_F(LogTest, WritesEmptyMessageAsLine) {
    EXPECT_THAT(Run("empty"), ElementsAre(EndsWith("): ")));
}

TEST_F(LogTest, KeepsLongLine) {
    const std::string line = "<" + std::string(300000, 'x') + ">";
    EXPECT_THAT(Run("long"), ElementsAre(EndsWith(line)));
    EXPECT_THAT(FileMessages(), ElementsAre(line));
}

TEST_F(LogTest, ShowsOnlyErrorsAtLevelError) {
    EXPECT_THAT(Run("two-lines", {{"QUORVEL_LOG_LEVEL", "error"}}),
                ElementsAre(EndsWith("an error")));
    EXPECT_THAT(FileMessages(), ElementsAre("an error"));
}

TEST_F(LogTest, ShowsNothingAtLevelOff) {
    EXPECT_THAT(Run("two-lines", {{"QUORVEL_LOG_LEVEL", "off"}}), IsEmpty());
    EXPECT_THAT(FileMessages(), IsEmpty());
}

TEST_F(LogTest, ShowsEverythingAtLevelInfo) {
    EXPECT_THAT(Run("two-lines", {{"QUORVEL_LOG_LEVEL", "info"}}), SizeIs(2));
}

TEST_F(LogTest, ReportsUnknownLevelAndShowsEverything) {
    EXPECT_THAT(Run("two-lines", {{"QUORVEL_LOG_LEVEL", "loud"}}),
                ElementsAre(HasSubstr("QUORVEL_LOG_LEVEL"), EndsWith("an information"),
                            EndsWith("an error")));
}

TEST_F(LogTest, KeepsLinesOfOneMessageTogether) {
    Run("threads");
    const std::vector<std::string> lines = FileMessages();
    ASSERT_THAT(lines, SizeIs(8 * 200 * 2));
    std::set<std::string> names;
    for (std::size_t i = 0; i < lines.size(); i += 2) {
        const std::string name = lines[i].substr(lines[i].find(' ') + 1);
        EXPECT_EQ(lines[i], "first " + name);
        EXPECT_EQ(lines[i + 1], "second " + name);
        names.insert(name);
    }
    EXPECT_THAT(names, SizeIs(8 * 200));
}

// The pipe holds 64 KB and the flood has 4 MB, so a program that waited would never exit.
TEST_F(LogTest, ContinuesAndExitsWhileTerminalStalls) {
    const Ends pipe = Ends::OfPipe();
    ChildProgram program = Start("flood", {}, pipe.writer);
    EXPECT_EQ(program.Exit(), 0);
    const fs::path older = m_Folders.Log().parent_path() / "quorvel.1.log";
    std::vector<std::string> lines = MessagesOf(ReadFile(older) + ReadFile(m_Folders.Log()));
    ASSERT_THAT(lines, SizeIs(kFloodLines));
    for (std::size_t i = 0; i < kFloodLines; ++i) {
        EXPECT_THAT(lines[i], StartsWith("line " + std::to_string(i) + " "));
    }
}

TEST_F(LogTest, CountsLinesOmittedFromStalledTerminal) {
    const Ends pipe = Ends::OfPipe();
    const ChildProgram program = Start("flood-and-wait", {}, pipe.writer);
    ASSERT_TRUE(Await([&] { return program.Output() == "logged\n"; }));
    const std::vector<std::string> flood = LinesOf(pipe.ReadUntil(" omitted\n"));
    program.Proceed();
    pipe.ReadUntil("after the flood\n");

    const std::string notice = flood.back().substr(flood.back().find("): ") + 3);
    EXPECT_THAT(flood.back(), MatchesRegex("W/quorvel \\( *[0-9]+\\): [0-9]+ lines omitted"));
    EXPECT_LT(flood.size() - 1, kFloodLines);
    EXPECT_EQ(flood.size() - 1 + std::stoul(notice), kFloodLines);
    program.Proceed();
}

// The program waits half a second for the terminal.
TEST_F(LogTest, WaitsBrieflyForStalledTerminalAtExit) {
    const Ends pipe = Ends::OfPipe();
    ChildProgram program = Start("long-and-wait", {}, pipe.writer);
    ASSERT_TRUE(Await([this] { return !FileMessages().empty(); }));
    const auto start = std::chrono::steady_clock::now();
    program.Proceed();
    EXPECT_EQ(program.Exit(), 0);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(500));
    EXPECT_LT(taken, std::chrono::milliseconds(500) + kSpareTime);
}

TEST_F(LogTest, WritesQueuedLinesToNonBlockingTerminal) {
    const Ends pipe = Ends::OfPipe();
    ASSERT_EQ(fcntl(pipe.writer, F_SETFL, O_NONBLOCK), 0);
    const ChildProgram program = Start("long-and-wait", {}, pipe.writer);
    EXPECT_THAT(pipe.ReadUntil("x>\n"), EndsWith("<" + std::string(300000, 'x') + ">\n"));
}

TEST_F(LogTest, KeepsLinesBeforeUncaughtException) {
    ChildProgram program = Start("throw");
    EXPECT_EQ(program.Exit(), -SIGABRT);
    EXPECT_THAT(FileMessages(),
                ElementsAre("an information", "an error",
                            "uncaught exception: thrown on request; last line of its thread: "
                            "an error"));
    EXPECT_THAT(program.Messages(), HasSubstr("uncaught exception: thrown on request"));
}

TEST_F(LogTest, ReportsLastLineBeforeUncaughtExceptionAtEachLevel) {
    for (const char* level : {"error", "off"}) {
        fs::remove(m_Folders.Log());
        ChildProgram program = Start("throw-in-thread", {{"QUORVEL_LOG_LEVEL", level}});
        EXPECT_EQ(program.Exit(), -SIGABRT);
        EXPECT_THAT(FileMessages(), ElementsAre("uncaught exception: stoi; last line of its "
                                                "thread: id=3, strCode=zz"));
    }
}

TEST_F(LogTest, ReportsLastLineOfThreadThatThrows) {
    ChildProgram program = Start("throw-in-thread");
    EXPECT_EQ(program.Exit(), -SIGABRT);
    EXPECT_THAT(FileMessages(),
                ElementsAre("id=3, strCode=zz", "another thread",
                            "uncaught exception: stoi; last line of its thread: id=3, strCode=zz"));
}

TEST_F(LogTest, SavesLastLineOfThreadThatThrows) {
    const std::string file = m_Folders.Root() / "exception";
    ChildProgram program = Start("throw-in-thread", {{"QUORVEL_EXCEPTION_FILE", file}});
    EXPECT_EQ(program.Exit(), -SIGABRT);
    EXPECT_EQ(ReadFile(file), "id=3, strCode=zz");
}

TEST_F(LogTest, ReportsExceptionOfUnknownType) {
    ChildProgram program = Start("throw-number");
    EXPECT_EQ(program.Exit(), -SIGABRT);
    EXPECT_THAT(FileMessages(), ElementsAre("an information", "an error",
                                            "uncaught exception: of an unknown type; last line of "
                                            "its thread: an error"));
}

TEST_F(LogTest, ReportsNoExceptionOnTerminate) {
    ChildProgram program = Start("terminate");
    EXPECT_EQ(program.Exit(), -SIGABRT);
    EXPECT_THAT(FileMessages(), ElementsAre("an information", "an error"));
}

TEST_F(LogTest, KeepsLinesBeforeKill) {
    ChildProgram program = Start("kill");
    EXPECT_EQ(program.Exit(), -SIGKILL);
    EXPECT_THAT(FileMessages(), ElementsAre("an information", "an error"));
}

TEST_F(LogTest, ContinuesWhenPipeReaderCloses) {
    Ends pipe = Ends::OfPipe();
    ChildProgram program = Start("reader-gone", {}, pipe.writer);
    close(std::exchange(pipe.reader, -1));
    program.Proceed();
    EXPECT_EQ(program.Exit(), 0);
    EXPECT_THAT(FileMessages(), SizeIs(10));
}

TEST_F(LogTest, WritesToFileWhenTerminalThreadCannotStart) {
    EXPECT_THAT(Run("without-threads"), IsEmpty());
    EXPECT_THAT(FileMessages(), ElementsAre("an information", "an error"));
}

TEST_F(LogTest, ReportsUnwritableStateFolderOnce) {
    EXPECT_THAT(Run("two-lines", {{"XDG_STATE_HOME", "/dev/null"}}),
                ElementsAre(HasSubstr("logging to the terminal only"), EndsWith("an information"),
                            EndsWith("an error")));
}

// A limit on the size of files simulates a full disk. A pipe has no such limit.
TEST_F(LogTest, ReportsFailedWriteOnceAndContinues) {
    const Ends pipe = Ends::OfPipe();
    ChildProgram program = Start("file-size-limit", {}, pipe.writer);
    EXPECT_EQ(program.Exit(), 0);
    EXPECT_THAT(LinesOf(pipe.ReadUntil("an error\n")),
                ElementsAre(EndsWith("an information"), HasSubstr("cannot write to the log file"),
                            EndsWith("an error")));
}

// A program that blocked on the FIFO would never exit.
TEST_F(LogTest, ReportsFifoAsLogFileOnce) {
    fs::create_directories(m_Folders.Log().parent_path());
    ASSERT_EQ(mkfifo(m_Folders.Log().c_str(), 0600), 0);
    const auto isReported =
        ElementsAre(EndsWith("logging to the terminal only: " + m_Folders.Log().string() +
                             ": not a regular file; remove it"),
                    EndsWith("an information"), EndsWith("an error"));
    EXPECT_THAT(Run("two-lines"), isReported);
    const int reader = open(m_Folders.Log().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_THAT(Run("two-lines"), isReported);
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(LogTest, ReportsDeviceOrSocketAsLogFileOnce) {
    fs::create_directories(m_Folders.Log().parent_path());
    fs::create_symlink("/dev/full", m_Folders.Log());
    EXPECT_THAT(Run("two-lines"), ElementsAre(HasSubstr("not a regular file"),
                                              EndsWith("an information"), EndsWith("an error")));
    fs::remove(m_Folders.Log());
    const Socket socket = Socket::ListenAsOwner(m_Folders.Log());
    EXPECT_THAT(Run("two-lines"), ElementsAre(HasSubstr("not a regular file"),
                                              EndsWith("an information"), EndsWith("an error")));
}

// The log file is the first file that the program opens.
TEST_F(LogTest, KeepsStandardStreamsApartFromLogFile) {
    EXPECT_THAT(Run("closed-streams"), IsEmpty());
    EXPECT_THAT(FileMessages(), ElementsAre("an information", "an error"));
}

TEST_F(LogTest, ColoursTerminalByLevel) {
    const Ends terminal = Ends::OfTerminal();
    ChildProgram program = Start("two-lines", {{"TERM", "xterm"}}, terminal.writer);
    const std::string text = terminal.ReadUntil("an error");
    EXPECT_EQ(program.Exit(), 0);
    const auto colour = [&](const std::string& letter) {
        const std::size_t start = text.find(letter + "/QEL");
        const std::size_t code = text.rfind('\x1b', start);
        return code == std::string::npos ? "" : text.substr(code, start - code);
    };
    EXPECT_EQ(colour("I"), "\x1b[32m");
    EXPECT_EQ(colour("E"), "\x1b[1;31m");
    EXPECT_EQ(ReadFile(m_Folders.Log()).find('\x1b'), std::string::npos);
}

TEST_F(LogTest, WritesNoColoursToPlainTerminal) {
    const Ends terminal = Ends::OfTerminal();
    ChildProgram program =
        Start("two-lines", {{"TERM", "dumb"}, {"COLORTERM", ""}}, terminal.writer);
    EXPECT_THAT(terminal.ReadUntil("an error"), testing::Not(HasSubstr("\x1b")));
    EXPECT_EQ(program.Exit(), 0);
}

TEST_F(LogTest, RotatesAtFourMebibytesAndKeepsThreeOldFiles) {
    Run("fill");
    const fs::path folder = m_Folders.Log().parent_path();
    for (const char* name : {"quorvel.1.log", "quorvel.2.log", "quorvel.3.log"}) {
        // The file is rotated when the next line of 256 KiB does not fit.
        EXPECT_LE(fs::file_size(folder / name), 4U << 20U) << name;
        EXPECT_GT(fs::file_size(folder / name), (4U << 20U) - (257U << 10U)) << name;
    }
    EXPECT_FALSE(fs::exists(folder / "quorvel.4.log"));
}

TEST_F(LogTest, CopiesFirstLinesThatRotationDropped) {
    const fs::path storage = m_Folders.Root() / "storage";
    fs::create_directory(storage);
    Run("fill-and-copy", {{"QUORVEL_USB_DIR", storage}});
    const fs::path folder = m_Folders.Log().parent_path();
    const std::string logs = ReadFile(folder / "quorvel.log") + ReadFile(folder / "quorvel.1.log") +
                             ReadFile(folder / "quorvel.2.log") +
                             ReadFile(folder / "quorvel.3.log");
    EXPECT_THAT(logs, testing::Not(HasSubstr("first line")));
    const fs::path copy = fs::directory_iterator(storage)->path();
    const std::string start = ReadFile(copy / "quorvel.start.log");
    EXPECT_THAT(MessagesOf(start)[0], "first line");
    EXPECT_LE(start.size(), 512U << 10U);
    EXPECT_GT(start.size(), (512U << 10U) - (65U << 10U));
}

TEST_F(LogTest, ReturnsResultAndKeepsErrno) {
    ChildProgram program = Start("results");
    EXPECT_EQ(program.Exit(), 0);
    EXPECT_EQ(program.Output(), "4 1 1 1\n");
}

}  // namespace
