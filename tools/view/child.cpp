#include "view/child.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace quorvel::view {

namespace {

constexpr int kNotStarted = 127;

// Blocks the signals that RunProgram passes on, and SIGCHLD, until the object is destroyed.
class BlockedSignals {
public:
    BlockedSignals() {
        // A process inherits ignored signals. With SIGCHLD ignored, waitpid finds no child.
        (void)std::signal(SIGCHLD, SIG_DFL);
        sigemptyset(&m_Signals);
        sigaddset(&m_Signals, SIGCHLD);
        for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
            struct sigaction action {};
            sigaction(number, nullptr, &action);
            if (action.sa_handler != SIG_IGN) {
                sigaddset(&m_Signals, number);
            }
        }
        sigprocmask(SIG_BLOCK, &m_Signals, &m_Former);
    }
    ~BlockedSignals() { Restore(); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

    void Restore() const { sigprocmask(SIG_SETMASK, &m_Former, nullptr); }

    // Waits for one of the signals and returns its number.
    int Await() const {
        int number = 0;
        sigwait(&m_Signals, &number);
        return number;
    }

private:
    sigset_t m_Signals{};
    sigset_t m_Former{};
};

// Runs in the child process.
[[noreturn]] void Execute(std::vector<std::string>& words, pid_t parent) {
    // In its own session, the program gets a signal of the terminal only from RunProgram.
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() == parent) {
        std::vector<char*> pointers;
        pointers.reserve(words.size() + 1);
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        execv(pointers[0], pointers.data());
        std::perror(pointers[0]);
    }
    _exit(kNotStarted);
}

}  // namespace

std::string FindProgram(const std::string& name) {
    namespace fs = std::filesystem;
    const fs::path own = fs::read_symlink("/proc/self/exe").parent_path();
    for (const fs::path& folder : {own, own / "../libexec/quorvel"}) {
        const fs::path program = folder / name;
        if (access(program.c_str(), X_OK) == 0) {
            return program.lexically_normal();
        }
    }
    throw std::runtime_error(name + " is missing; install Quorvel again");
}

int RunProgram(std::vector<std::string> words) {
    const BlockedSignals signals;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        std::perror("quorvel-view");
        return kNotStarted;
    }
    if (child == 0) {
        signals.Restore();
        Execute(words, parent);
    }
    int status = 0;
    while (waitpid(child, &status, WNOHANG) != child) {
        const int number = signals.Await();
        if (number != SIGCHLD) {
            kill(child, number);
        }
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace quorvel::view
