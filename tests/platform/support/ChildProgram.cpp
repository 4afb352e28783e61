#include "support/ChildProgram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace {

std::vector<std::string> Merge(const Environment& changes) {
    std::vector<std::string> merged;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string entry = *variable;
        if (changes.count(entry.substr(0, entry.find('='))) == 0) {
            merged.push_back(entry);
        }
    }
    for (const auto& [name, value] : changes) {
        if (!value.empty()) {
            merged.emplace_back(name).append("=").append(value);
        }
    }
    return merged;
}

std::vector<char*> Pointers(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (std::string& string : strings) {
        pointers.push_back(string.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Opened here and not by the child, so that the file is there from the start.
int OpenForWriting(const std::filesystem::path& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

int NextNumber() {
    static int last = 0;
    return ++last;
}

}  // namespace

bool Await(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

ChildProgram::ChildProgram(const PrivateFolders& folders, const std::filesystem::path& program,
                           const std::vector<std::string>& arguments, const Environment& extra,
                           int standardError) {
    const std::string number = std::to_string(NextNumber());
    m_Output = folders.Root() / ("output-" + number);
    m_Messages = folders.Root() / ("messages-" + number);

    Environment changes = extra;
    changes.merge(folders.Variables());
    std::vector<std::string> environment = Merge(changes);
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);

    std::array<int, 2> input{};
    if (pipe2(input.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const int output = OpenForWriting(m_Output);
    const int messages = standardError >= 0 ? standardError : OpenForWriting(m_Messages);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, messages, STDERR_FILENO);
    const int error = posix_spawnp(&m_Id, program.c_str(), &actions, nullptr,
                                   Pointers(words).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(output);
    close(input[0]);
    m_Input = input[1];
    if (messages != standardError) {
        close(messages);
    }
    if (error != 0) {
        throw std::runtime_error("cannot start " + program.string());
    }
}

ChildProgram::~ChildProgram() {
    close(m_Input);
    if (!m_Status) {
        kill(m_Id, SIGKILL);
        waitpid(m_Id, nullptr, 0);
    }
}

void ChildProgram::Signal(int number) const {
    kill(m_Id, number);
}

void ChildProgram::Stop() const {
    kill(m_Id, SIGSTOP);
    siginfo_t ignored{};
    if (waitid(P_PID, static_cast<id_t>(m_Id), &ignored, WSTOPPED | WNOWAIT) != 0) {
        throw std::runtime_error("the program does not stop");
    }
}

std::optional<int> ChildProgram::Exit() {
    int status = 0;
    if (!m_Status && Await([&] { return waitpid(m_Id, &status, WNOHANG) == m_Id; })) {
        m_Status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    return m_Status;
}

void ChildProgram::Proceed() const {
    if (write(m_Input, "\n", 1) != 1) {
        throw std::runtime_error("the program does not listen");
    }
}
