#include "resources.h"

#include <tv_services.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "paths.h"

namespace quorvel::desktop {

namespace {

constexpr const char* kHighContrast = "high-contrast";

// The absolute paths of the folders of resources, each with a slash at the end, in the order of the
// search.
std::vector<std::string> Folders() {
    std::vector<std::string> folders;
    const bool isHighContrast = EnvironmentValue("QUORVEL_THEME") == kHighContrast;
    const auto add = [&folders, isHighContrast](const std::string& folder) {
        if (isHighContrast) {
            folders.push_back(folder + kHighContrast + "/");
        }
        folders.push_back(folder);
    };
    std::error_code error;
    const std::string chosen = EnvironmentValue("QUORVEL_RESOURCES");
    if (!chosen.empty()) {
        // Image widgets accept absolute paths only.
        add(std::filesystem::absolute(chosen + "/", error));
    }
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (!error) {
        add(program / "resources/");
        add(program.parent_path() / "share/quorvel/resources/");
    }
    return folders;
}

}  // namespace

std::string UnknownTheme() {
    const std::string theme = EnvironmentValue("QUORVEL_THEME");
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
    return path;
}

bool IsResource(const std::string& path) {
    const std::vector<std::string> folders = Folders();
    return std::any_of(folders.begin(), folders.end(), [&path](const std::string& folder) {
        return path.compare(0, folder.size(), folder) == 0;
    });
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
