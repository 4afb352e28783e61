#include "view/copy.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "photos.h"
#include "view/report.h"

namespace quorvel::view {

namespace {

namespace fs = std::filesystem;

void CopyPhoto(const runs::Photo& photo, const fs::path& folder) {
    std::error_code error;
    if (fs::file_size(photo.file, error) > desktop::kMaxPhotoBytes && !error) {
        Report(photo.file + ": larger than " + std::to_string(desktop::kMaxPhotoBytes >> 20) +
               " MiB, not shown");
        return;
    }
    const fs::path target = folder / desktop::ListPhotoPlaces(photo.name).front();
    if (fs::exists(target, error)) {
        return;  // two paths of the same photo
    }
    fs::create_directories(target.parent_path(), error);
    if (!fs::copy_file(photo.file, target, error)) {
        Report(photo.file + ": " + error.message() + ", not shown");
        // A failed copy can leave the beginning of the photo.
        fs::remove(target, error);
    }
}

}  // namespace

void CopyRun(const runs::Run& run, const std::string& folder) {
    for (const runs::ResultFile& file : run.files) {
        if (file.CanBeOpened()) {
            fs::copy_file(run.folder + "/" + file.name, folder + "/" + file.name);
        }
    }
    for (const runs::Photo& photo : run.photos) {
        if (!photo.file.empty()) {
            CopyPhoto(photo, folder);
        }
    }
}

}  // namespace quorvel::view
