#include "PrivateData.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

const char* const FOLDER = "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data";

// Set for the program that runs with the temporary folder laid: the identity of that folder.
const char* const MARKER = "QUORVEL_TEST_DATA";

// Device and inode of a folder; they stay the same however it is mounted.
std::string IdentityOf(const std::string& folder) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
        return "none";
    }
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

std::string MakeTemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "quorvel-tests-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        std::perror("quorvel_tests: cannot make a temporary folder");
        std::exit(EXIT_FAILURE);
    }
    return name;
}

[[noreturn]] void RunAgain(const std::string& folder, char** argv) {
    // Not to outlive a test that ctest kills for its time.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv(MARKER, IdentityOf(folder).c_str(), 1);
    std::string self = fs::read_symlink("/proc/self/exe").string();
    std::string tool = QUORVEL_LAY_DATA;
    std::string option = "--private-tmp";
    std::string where = folder;
    std::vector<char*> command = {tool.data(), option.data(), where.data(), self.data()};
    for (char** argument = argv + 1; *argument != nullptr; ++argument) {
        command.push_back(*argument);
    }
    command.push_back(nullptr);
    execv(command[0], command.data());
    std::perror(QUORVEL_LAY_DATA);
    _exit(EXIT_FAILURE);
}

int ExitStatusOf(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        return EXIT_FAILURE;
    }
    const int result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (result > 128) {
        std::fprintf(stderr, "quorvel_tests: ended by signal %d\n", result - 128);
    }
    return result;
}

}  // namespace

bool PrivateData::IsLaid() {
    const char* marker = std::getenv(MARKER);
    if (marker == nullptr) {
        return false;
    }
    if (IdentityOf(FOLDER) != marker) {
        std::fprintf(stderr, "quorvel_tests: %s is not the folder that was laid for the tests\n",
                     FOLDER);
        std::exit(EXIT_FAILURE);
    }
    return true;
}

int PrivateData::RunLaid(char** argv) {
    const std::string folder = MakeTemporaryFolder();
    const pid_t child = fork();
    if (child == 0) {
        RunAgain(folder, argv);
    }
    const int status = child < 0 ? EXIT_FAILURE : ExitStatusOf(child);
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    return status;
}

std::string PrivateData::Folder() {
    return FOLDER;
}

std::string PrivateData::Path(const std::string& name) {
    return Folder() + "/" + name;
}

std::string PrivateData::RnscFile() {
    return Path("qelRnscXml.xml");
}

std::string PrivateData::MainFile() {
    return Path("qelXml.xml");
}

std::string PrivateData::LaunchCounter() {
    return Path("num_of_launch");
}

std::string PrivateData::CaptureCounter() {
    return Path("num_of_log_capture");
}

void PrivateData::Clean() {
    for (const std::string& name : Names()) {
        fs::remove_all(Path(name));
    }
}

void PrivateData::Write(const std::string& name, const std::string& content) {
    std::ofstream out(Path(name), std::ios::binary | std::ios::trunc);
    out << content;
    out.close();
    if (!out) {
        std::fprintf(stderr, "quorvel_tests: cannot write %s\n", Path(name).c_str());
        std::abort();
    }
}

void PrivateData::WriteRnsc(const std::string& content) {
    Write("qelRnscXml.xml", content);
}

void PrivateData::WriteMain(const std::string& content) {
    Write("qelXml.xml", content);
}

std::string PrivateData::Read(const std::string& name) {
    std::ifstream in(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool PrivateData::Exists(const std::string& name) {
    return fs::exists(Path(name));
}

std::vector<std::string> PrivateData::Names() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder())) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}
