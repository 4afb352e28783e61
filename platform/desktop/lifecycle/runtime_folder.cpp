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

// Room that the longest file name in the folder takes, with its slash and final zero.
constexpr std::size_t kRoomForName = 16;

std::string FromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

// lstat, so that a link that somebody else laid is not followed.
bool IsPrivate(const std::string& folder) {
    struct stat status {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

bool MakePrivate(const std::string& folder, std::string& why) {
    if (folder.size() + kRoomForName > sizeof(sockaddr_un::sun_path)) {
        why = folder + " is too long a path for a socket";
        return false;
    }
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        why = "cannot make " + folder + ": " + std::strerror(errno);
        return false;
    }
    if (!IsPrivate(folder)) {
        why = folder + " is not a folder of yours that is closed to others";
        return false;
    }
    return true;
}

std::string TemporaryFolder() {
    const std::string chosen = FromEnvironment("TMPDIR");
    return chosen.empty() ? "/tmp" : chosen;
}

// Cron and ssh may leave the variable out, but the folder is there while the user has a session.
std::string SessionFolder(const std::string& sessions) {
    const char* chosen = std::getenv("XDG_RUNTIME_DIR");
    if (chosen == nullptr || chosen[0] == '\0') {
        return sessions + "/" + std::to_string(geteuid());
    }
    return FromEnvironment("XDG_RUNTIME_DIR");
}

}  // namespace

std::string RuntimeFolder(std::string& why, const std::string& sessions) {
    const std::string session = SessionFolder(sessions);
    if (IsPrivate(session) && MakePrivate(session + "/quorvel", why)) {
        return session + "/quorvel";
    }
    const std::string fallback = TemporaryFolder() + "/quorvel-" + std::to_string(geteuid());
    return MakePrivate(fallback, why) ? fallback : std::string();
}

}  // namespace quorvel::desktop
