// Logs the lines of a scenario of kScenarios. The first argument is the name of the scenario.

#include <dlog.h>
#include <pthread.h>
#include <sys/resource.h>
#include <tv_services.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kFloodLines = 30000;

int Info(const std::string& message) {
    return __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", "%s", message.c_str());
}

int Error(const std::string& message) {
    return __dlog_print(LOG_ID_SYSTEM, DLOG_ERROR, "QEL", "%s", message.c_str());
}

void TwoLines() {
    Info("an information\n");
    Error("an error\n");
}

// Eight threads log messages of two lines each at the same time.
void Threads() {
    std::vector<std::thread> threads(8);
    for (std::size_t thread = 0; thread < threads.size(); ++thread) {
        threads[thread] = std::thread([thread] {
            for (int i = 0; i < 200; ++i) {
                __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", "first %zu/%d\nsecond %zu/%d\n", thread,
                             i, thread, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void Flood() {
    const std::string filling(100, '.');
    for (int i = 0; i < kFloodLines; ++i) {
        Info("line " + std::to_string(i) + " " + filling);
    }
}

// Prints a line after the last log line. Waits for a line on standard input before each further
// step.
void FloodAndWait() {
    Flood();
    std::puts("logged");
    std::fflush(stdout);
    std::getchar();
    Info("after the flood");
    std::getchar();
}

void Results() {
    errno = EBADF;
    const int good = Info("good");
    const bool kept = errno == EBADF;
    const int noTag = __dlog_print(LOG_ID_MAIN, DLOG_INFO, nullptr, "%d", 1);
    const int noPriority = __dlog_print(LOG_ID_MAIN, 77, "QEL", "%d", 1);
    std::printf("%d %d %d %d\n", good, kept, noTag < 0, noPriority < 0);
}

// Logs more than the file and the rotated files hold.
void Fill() {
    const std::string quarter(std::size_t{256} << 10, 'x');
    for (int i = 0; i < 80; ++i) {
        Info(quarter);
    }
}

// Logs until a rotation has dropped the first line, then copies the logs.
void FillAndCopy() {
    Info("first line");
    for (int i = 0; i < 270; ++i) {
        Info(std::string(std::size_t{64} << 10, 'x'));
    }
    automation_copy_log_to_usb();
}

void CopyLog() {
    Info("to be copied");
    std::printf("%d\n", automation_copy_log_to_usb());
}

void LongAndWait() {
    Info("<" + std::string(300000, 'x') + ">");
    std::getchar();
}

// Waits for a line on standard input, so that the test can close the pipe first.
void AfterReaderIsGone() {
    std::getchar();
    for (int i = 0; i < 10; ++i) {
        Info("line " + std::to_string(i));
    }
}

// Logs while no thread can start, because the default stack is larger than the address space.
void WithoutThreads() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 60);
    pthread_setattr_default_np(&attributes);
    TwoLines();
}

// The first line contains C0 characters and DEL, the second line C1 and other UTF-8 characters.
void Controls() {
    Info(
        "a\x1b[2Jb\x07\tc\x7f"
        "d\re");
    Error(
        "a\u009b2Jb\x9b"
        "c\x85 \u00e9\u2713\u00a0");
}

// Logs while no file can grow.
void FileSizeLimit() {
    const rlimit limit{0, 0};
    setrlimit(RLIMIT_FSIZE, &limit);
    TwoLines();
}

// Logs without open standard streams. Aborts if the log reuses a descriptor of a standard stream.
void ClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        close(stream);
    }
    TwoLines();
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (write(stream, "in the log\n", 11) < 0 && errno == EBADF) {
            std::abort();
        }
    }
}

[[noreturn]] void ThrowInThread() {
    std::thread([] {
        Info("id=3, strCode=zz");
        std::thread([] { Info("another thread"); }).join();
        throw std::invalid_argument("stoi");
    }).join();
    std::abort();
}

[[noreturn]] void Terminate() {
    TwoLines();
    std::terminate();
}

const std::map<std::string, std::function<void()>> kScenarios = {
    {"two-lines", TwoLines},
    {"inner-lines", [] { Error("one\n\ntwo\n\n\n"); }},
    {"empty", [] { Info(""); }},
    {"long", [] { Info("<" + std::string(300000, 'x') + ">"); }},
    {"long-and-wait", LongAndWait},
    {"fill", Fill},
    {"fill-and-copy", FillAndCopy},
    {"copy", CopyLog},
    {"threads", Threads},
    {"flood", Flood},
    {"flood-and-wait", FloodAndWait},
    {"results", Results},
    {"reader-gone", AfterReaderIsGone},
    {"without-threads", WithoutThreads},
    {"controls", Controls},
    {"file-size-limit", FileSizeLimit},
    {"closed-streams", ClosedStreams},
    {"throw",
     [] {
         TwoLines();
         throw std::runtime_error("thrown on request");
     }},
    {"throw-in-thread", ThrowInThread},
    {"throw-number",
     [] {
         TwoLines();
         throw 1;
     }},
    {"terminate", Terminate},
    {"kill",
     [] {
         TwoLines();
         std::raise(SIGKILL);
     }},
};

}  // namespace

// The scenario "throw" ends the program with an uncaught exception.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int, char** argv) {
    kScenarios.at(argv[1])();
    return 0;
}
