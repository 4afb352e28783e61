#include "resources.h"

#include <tv_services.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace quorvel::desktop {

namespace {

// The folders of resources in the order of the search, each with a slash at the end.
std::vector<std::string> Folders() {
    std::vector<std::string> folders;
    const char* chosen = std::getenv("QUORVEL_RESOURCES");
    if (chosen != nullptr && chosen[0] != '\0') {
        folders.push_back(std::string(chosen) + "/");
    }
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (!error) {
        folders.push_back(program / "resources/");
        folders.push_back(program.parent_path() / "share/quorvel/resources/");
    }
    return folders;
}

}  // namespace

std::string FindResource(const std::string& relativePath) {
    std::string path;
    for (const std::string& folder : Folders()) {
        path = folder + relativePath;
        if (access(path.c_str(), F_OK) == 0) {
            break;
        }
    }
    // Image widgets accept absolute paths only.
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

}  // namespace quorvel::desktop

char* getResourcePath(const char* appId, const char* relativePath) {
    if (appId == nullptr || relativePath == nullptr) {
        return nullptr;
    }
    const std::string path =
        quorvel::desktop::FindResource(std::string(appId) + "/" + relativePath);
    return strdup(path.c_str());
}
