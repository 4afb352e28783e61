// The files of the pictures that the application shows. The path of a photo comes from a result
// file and can be any text. The photo in the data folder replaces a photo whose path leads
// elsewhere. The data folder of quorvel-view and a restored capture contain such photos. A user
// cannot create mount points at the paths of the photos. Without namespaces, all processes would
// see the mounts. The link option --wrap leads the application's calls of elm_image_file_set and
// access to this file. elm_image_file_set: main-loop thread; access: any thread.

#include <Elementary.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

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

// Returns the photo in the data folder if the path names a photo there, else the path itself. A
// resource has its own path.
std::string FindPicture(const std::string& path) {
    const std::string photo = IsResource(path) ? "" : FindPhoto(DataFolder(), path);
    return photo.empty() ? path : photo;
}

}  // namespace

}  // namespace quorvel::desktop

// The linker's names: __wrap_ replaces the application's call, __real_ is the original function.
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

extern "C" int __real_access(const char* path, int mode);
extern "C" int __wrap_access(const char* path, int mode);

// Also succeeds for a photo that is found in the data folder. The application's other files are in
// the data folder and are checked as they are.
int __wrap_access(const char* path, int mode) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    const std::string data = DataFolder() + "/";
    const bool isPhoto = mode == F_OK && std::string_view(path).substr(0, data.size()) != data &&
                         !FindPhoto(DataFolder(), path).empty();
    return isPhoto ? 0 : __real_access(path, mode);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
