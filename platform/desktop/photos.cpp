#include "photos.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <system_error>

#include "paths.h"

namespace quorvel::desktop {

namespace {

namespace fs = std::filesystem;

// How many folders of a shortened path are tried. The whole path is tried in any case.
constexpr std::size_t kMaxShortenedParts = 8;

bool IsResultFile(const std::string& name) {
    return name == kMainResultFile || name == kRnscResultFile;
}

// Returns the components of the name without the data folder; empty for a name without a place.
std::vector<std::string> SplitName(const std::string& name) {
    if (name.empty() || name[0] != '/' || name.size() >= PATH_MAX ||
        name.find('\0') != std::string::npos) {
        return {};
    }
    const std::string data = DataFolder() + "/";
    const std::string rest =
        name.compare(0, data.size(), data) == 0 ? name.substr(data.size()) : name;
    std::vector<std::string> parts;
    for (const fs::path& part : fs::path(rest).relative_path()) {
        if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    const bool usable = !parts.empty() && name.back() != '/' && !IsResultFile(parts.back()) &&
                        std::find(parts.begin(), parts.end(), "..") == parts.end();
    return usable ? parts : std::vector<std::string>();
}

std::string Join(const std::vector<std::string>& parts, std::size_t first) {
    std::string path = parts[first];
    for (std::size_t i = first + 1; i < parts.size(); ++i) {
        path.append("/").append(parts[i]);
    }
    return path;
}

bool IsRegularFile(const std::string& folder, const std::string& place) {
    fs::path path = folder;
    std::error_code error;
    for (const fs::path& part : fs::path(place)) {
        path /= part;
        const fs::file_status status = fs::symlink_status(path, error);
        if (error || fs::is_symlink(status)) {
            return false;
        }
    }
    return fs::is_regular_file(path, error);
}

}  // namespace

std::vector<std::string> ListPhotoPlaces(const std::string& name) {
    const std::vector<std::string> parts = SplitName(name);
    std::vector<std::string> places;
    for (std::size_t first = 0; first < parts.size(); ++first) {
        if (first > 0 && parts.size() - first > kMaxShortenedParts) {
            continue;
        }
        const std::string end = Join(parts, first);
        places.push_back(end);
        places.push_back("capture/" + end);
    }
    return places;
}

std::string FindPhoto(const std::string& folder, const std::string& name) {
    for (const std::string& place : ListPhotoPlaces(name)) {
        if (IsRegularFile(folder, place)) {
            std::string path = folder;
            return path.append("/").append(place);
        }
    }
    return {};
}

}  // namespace quorvel::desktop
