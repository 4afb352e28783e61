#include "lifecycle/runtime_folder.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace quorvel::desktop {

namespace {

// Bytes for the longest file name in the folder, with its slash and zero byte.
constexpr std::size_t kNameBytes = 16;

// Returns an absolute path from the environment, or an empty string.
std::string PathFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

// lstat does not follow a symbolic link that another user has created.
bool IsPrivate(const std::string& folder) {
    struct stat status {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

bool CreatePrivate(const std::string& folder, std::string& why) {
    if (folder.size() + kNameBytes > sizeof(sockaddr_un::sun_path)) {
        why = folder + ": path too long for a socket; set TMPDIR to a shorter path";
        return false;
    }
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        why = "cannot create " + folder + ": " + std::strerror(errno);
        return false;
    }
    if (!IsPrivate(folder)) {
        why = folder + ": not a private folder of this user; remove it or set XDG_RUNTIME_DIR";
        return false;
    }
    return true;
}

std::string TemporaryFolder() {
    const std::string chosen = PathFromEnvironment("TMPDIR");
    return chosen.empty() ? "/tmp" : chosen;
}

// cron and ssh may not set the variable, although the folder exists while the user has a session.
std::string SessionFolder(const std::string& sessions) {
    const char* chosen = std::getenv("XDG_RUNTIME_DIR");
    if (chosen == nullptr || chosen[0] == '\0') {
        return sessions + "/" + std::to_string(geteuid());
    }
    return PathFromEnvironment("XDG_RUNTIME_DIR");
}

}  // namespace

std::string RuntimeFolder(std::string& why, const std::string& sessions) {
    const std::string session = SessionFolder(sessions);
    if (IsPrivate(session) && CreatePrivate(session + "/quorvel", why)) {
        return session + "/quorvel";
    }
    const std::string fallback = TemporaryFolder() + "/quorvel-" + std::to_string(geteuid());
    return CreatePrivate(fallback, why) ? fallback : std::string();
}

}  // namespace quorvel::desktop
