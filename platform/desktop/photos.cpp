#include "photos.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <locale>
#include <map>
#include <set>
#include <string_view>
#include <system_error>

#include "paths.h"

namespace quorvel::desktop {

namespace {

namespace fs = std::filesystem;

// The largest number of parts of a shortened path. The whole path can have more parts.
constexpr std::ptrdiff_t kMaxShortenedParts = 8;

// Returns the path below the data folder, or the whole path as a relative path for a photo outside
// the data folder. Empty for a name without a place.
std::string FindRelativePath(const std::string& name) {
    if (name.empty() || name[0] != '/' || name.back() == '/' || name.size() >= PATH_MAX ||
        name.find('\0') != std::string::npos) {
        return {};
    }
    const std::string data = DataFolder() + "/";
    const std::string rest =
        name.compare(0, data.size(), data) == 0 ? name.substr(data.size()) : name;
    fs::path path;
    for (const fs::path& part : fs::path(rest).relative_path()) {
        if (part == "..") {
            return {};
        }
        if (part != ".") {
            path /= part;
        }
    }
    return IsResultFile(path.filename()) ? std::string() : path.string();
}

// Every file system accepts names up to this length.
constexpr std::size_t kMaxFileName = 255;

bool IsRejectedByFat(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte < 0x20 || byte == 0x7F ||
           std::string_view("\\:*?\"<>|").find(letter) != std::string_view::npos;
}

// Returns the file name for the end of a path. FAT drops a dot or a blank at the end of a name.
std::string ToFileName(std::string end) {
    std::replace(end.begin(), end.end(), '/', '+');
    std::replace_if(end.begin(), end.end(), IsRejectedByFat, '_');
    if (end.back() == '.' || end.back() == ' ') {
        end.back() = '_';
    }
    return end;
}

// Returns the text in small letters, since FAT and Windows ignore the case of letters.
std::string FoldCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char letter) { return std::tolower(letter, std::locale::classic()); });
    return text;
}

// Returns the places that are names of files without a folder, shortest first.
std::vector<std::string> ListFileNames(const std::string& photo) {
    const std::vector<std::string> places = ListPhotoPlaces(photo);
    std::vector<std::string> names;
    std::copy_if(places.rbegin(), places.rend(), std::back_inserter(names),
                 [](const std::string& place) { return place.find('/') == std::string::npos; });
    return names;
}

// A path with a link differs from its canonical path.
bool IsRegularFile(const std::string& folder, const std::string& place) {
    std::error_code error;
    const fs::path path = fs::path(folder) / place;
    return fs::is_regular_file(path, error) &&
           fs::canonical(path, error) == fs::canonical(folder, error) / place;
}

}  // namespace

std::vector<std::string> ListPhotoPlaces(const std::string& name) {
    const std::string whole = FindRelativePath(name);
    std::vector<std::string> places;
    for (std::string end = whole; !end.empty();) {
        const std::size_t slash = end.find('/');
        if (end == whole || std::count(end.begin(), end.end(), '/') < kMaxShortenedParts) {
            places.push_back(end);
            places.push_back("capture/" + end);
            if (const std::string fileName = ToFileName(end); fileName != end) {
                places.push_back(fileName);
            }
        }
        end.erase(0, slash == std::string::npos ? slash : slash + 1);
    }
    return places;
}

std::vector<std::string> ChoosePhotoFiles(const std::vector<std::string>& photos,
                                          const std::vector<std::string>& taken) {
    std::map<std::string, std::set<std::string_view>> users;
    for (const std::string& photo : photos) {
        for (const std::string& name : ListFileNames(photo)) {
            users[FoldCase(name)].insert(photo);
        }
    }
    for (const std::string& name : taken) {
        users.erase(FoldCase(name));
    }
    std::vector<std::string> chosen;
    for (const std::string& photo : photos) {
        const std::vector<std::string> names = ListFileNames(photo);
        const auto isFree = [&users](const std::string& name) {
            return name.size() <= kMaxFileName && users[FoldCase(name)].size() == 1 &&
                   ToFileName(name) == name;
        };
        const auto found = std::find_if(names.begin(), names.end(), isFree);
        chosen.push_back(found == names.end() ? std::string() : *found);
    }
    return chosen;
}

std::string FindPhoto(const std::string& folder, const std::string& name) {
    for (const std::string& place : ListPhotoPlaces(name)) {
        if (IsRegularFile(folder, place)) {
            return fs::path(folder) / place;
        }
    }
    return {};
}

}  // namespace quorvel::desktop
