#ifndef QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_
#define QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_

#include <string>
#include <vector>

// Where the photo of an "image" item is found. A result file names the photo by its absolute path
// on the set. On a PC, the photo is in the folder of the result files. Any thread.
namespace quorvel::desktop {

// Returns the places of a photo below the folder of its result files, as relative paths in the
// order of search. The first place is the path below the data folder, or the whole path for a photo
// outside the data folder. Shorter ends of the path follow, each also below "capture/", down to the
// base name. Photos with equal base names stay distinct as long as their folders are kept.
// Returns no place for a name that is not an absolute path, contains "..", or ends like a result
// file.
std::vector<std::string> ListPhotoPlaces(const std::string& name);

// Returns the path of the photo in the folder: the first place that has a regular file. Links are
// not followed. Returns an empty text when there is no such file.
std::string FindPhoto(const std::string& folder, const std::string& name);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_
