#include "paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace quorvel::desktop {

namespace {

std::string HomeOfAccount() {
    // More bytes than the entry of an account needs.
    std::array<char, 16384> text{};
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, text.data(), text.size(), &found);
    return found == nullptr ? std::string() : found->pw_dir;
}

std::string Home() {
    const std::string home = EnvironmentPath("HOME");
    return home.empty() ? HomeOfAccount() : home;
}

}  // namespace

std::string EnvironmentValue(const char* variable, const std::string& other) {
    const char* value = std::getenv(variable);
    return value == nullptr || value[0] == '\0' ? other : value;
}

std::string EnvironmentPath(const char* variable, const std::string& other) {
    std::string path = EnvironmentValue(variable);
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path[0] == '/' ? path : other;
}

std::string DataFolder() {
    return "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data";
}

bool IsResultFile(const std::string& name) {
    return name == kMainResultFile || name == kRnscResultFile;
}

std::string FolderIdentity(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return "none";
    }
    return std::to_string(status.st_dev) + " " + std::to_string(status.st_ino);
}

std::string StateFolder() {
    const std::string state = EnvironmentPath("XDG_STATE_HOME");
    if (!state.empty()) {
        return state + "/quorvel";
    }
    const std::string home = Home();
    return home.empty() ? home : home + "/.local/state/quorvel";
}

std::string LogFilePath() {
    const std::string folder = StateFolder();
    return folder.empty() ? folder : folder + "/" + RotatedLogName(0);
}

std::string RotatedLogName(unsigned age) {
    return age == 0 ? "quorvel.log" : "quorvel." + std::to_string(age) + ".log";
}

}  // namespace quorvel::desktop
