// Decides which files the toolkit may open as the picture of an image widget. A result file names
// the photo of an item, so the name can be anything.

#include <Elementary.h>
#include <sys/stat.h>

namespace quorvel::desktop {

namespace {

// The toolkit would download a URL, and would block on a FIFO.
bool IsAbsolutePathOfRegularFile(const char* path) {
    struct stat status {};
    return path[0] == '/' && stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

}  // namespace quorvel::desktop

// The linker's names for the call as the application makes it, and as the toolkit has it.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" Eina_Bool __real_elm_image_file_set(Evas_Object* image, const char* file,
                                               const char* group);
extern "C" Eina_Bool __wrap_elm_image_file_set(Evas_Object* image, const char* file,
                                               const char* group);

// Returns EINA_FALSE and leaves the picture unchanged for any other file. Null takes the picture
// away.
Eina_Bool __wrap_elm_image_file_set(Evas_Object* image, const char* file, const char* group) {
    if (file != nullptr && !quorvel::desktop::IsAbsolutePathOfRegularFile(file)) {
        return EINA_FALSE;
    }
    return __real_elm_image_file_set(image, file, group);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
