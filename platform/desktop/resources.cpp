#include "resources.h"

#include <tv_services.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace quorvel::desktop {

namespace {

constexpr const char* kHighContrast = "high-contrast";

std::string ChosenTheme() {
    const char* theme = std::getenv("QUORVEL_THEME");
    return theme == nullptr ? "" : theme;
}

// The folders of resources in the order of the search, each with a slash at the end.
std::vector<std::string> Folders() {
    std::vector<std::string> folders;
    const auto add = [&folders](const std::string& folder) {
        if (ChosenTheme() == kHighContrast) {
            folders.push_back(folder + kHighContrast + "/");
        }
        folders.push_back(folder);
    };
    const char* chosen = std::getenv("QUORVEL_RESOURCES");
    if (chosen != nullptr && chosen[0] != '\0') {
        add(std::string(chosen) + "/");
    }
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (!error) {
        add(program / "resources/");
        add(program.parent_path() / "share/quorvel/resources/");
    }
    return folders;
}

}  // namespace

std::string UnknownTheme() {
    const std::string theme = ChosenTheme();
    return theme == kHighContrast ? "" : theme;
}

std::string FindResource(const std::string& relativePath) {
    std::error_code error;
    std::string path;
    for (const std::string& folder : Folders()) {
        path = folder + relativePath;
        // access() would also find photos, see toolkit/image_file.cpp.
        if (std::filesystem::exists(path, error)) {
            break;
        }
    }
    // Image widgets accept absolute paths only.
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

bool IsResource(const std::string& path) {
    std::error_code error;
    for (const std::string& folder : Folders()) {
        const std::string prefix = std::filesystem::absolute(folder, error);
        if (path.compare(0, prefix.size(), prefix) == 0) {
            return true;
        }
    }
    return false;
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
