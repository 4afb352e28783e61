// Limits the files that the toolkit opens as the picture of an image widget. The path of a photo
// comes from a result file and can be any text. The link option --wrap leads the application's
// calls of elm_image_file_set to this file. Main-loop thread.

#include <Elementary.h>
#include <sys/stat.h>

#include <string>

#include "paths.h"
#include "photos.h"
#include "resources.h"

namespace quorvel::desktop {

namespace {

// The toolkit would download a URL, and would block on a FIFO.
bool IsAbsolutePathOfRegularFile(const char* path) {
    struct stat status {};
    return path[0] == '/' && stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

// Returns the photo in the data folder for a path outside the folder, see photo_access.cpp; else
// the path itself. A resource has its own path.
std::string FindPicture(const std::string& path) {
    const std::string photo = IsResource(path) ? "" : FindPhoto(DataFolder(), path);
    return photo.empty() ? path : photo;
}

}  // namespace

}  // namespace quorvel::desktop

// The linker's names: __wrap_ replaces the application's call, __real_ is the toolkit's function.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" Eina_Bool __real_elm_image_file_set(Evas_Object* image, const char* file,
                                               const char* group);
extern "C" Eina_Bool __wrap_elm_image_file_set(Evas_Object* image, const char* file,
                                               const char* group);

// Returns EINA_FALSE and keeps the picture if file is not an absolute path of a regular file. Null
// removes the picture.
Eina_Bool __wrap_elm_image_file_set(Evas_Object* image, const char* file, const char* group) {
    if (file == nullptr) {
        return __real_elm_image_file_set(image, file, group);
    }
    const std::string picture = quorvel::desktop::FindPicture(file);
    return quorvel::desktop::IsAbsolutePathOfRegularFile(picture.c_str())
               ? __real_elm_image_file_set(image, picture.c_str(), group)
               : EINA_FALSE;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
