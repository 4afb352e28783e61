// Makes the application find a photo in the data folder when the photo's name is a path elsewhere.
// The data folder of quorvel-view and a restored capture contain such photos. The photos are not
// mounted at their paths, because a user cannot create the mount points. Without namespaces, all
// processes would also see the mounts.

#include <unistd.h>

#include <string>
#include <string_view>

#include "paths.h"
#include "photos.h"

// The linker's names for the call as the application makes it, and as libc has it.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
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
