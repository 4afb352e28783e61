#ifndef QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_
#define QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Where the photo of an "image" item is found. A result file names the photo by its absolute path
// on the set. On a PC, the photo is in the folder of the result files. Any thread.
namespace quorvel::desktop {

// The largest photo that is copied, in bytes.
constexpr std::int64_t kMaxPhotoBytes = std::int64_t{64} << 20;

// The largest number of photos of a run that are found or copied. A run has fewer photos.
constexpr std::size_t kMaxPhotos = 10'000;

// Returns the places of a photo below the folder of its result files, as relative paths in the
// order of search. The first place is the path below the data folder, or the whole path for a photo
// outside the data folder. Shorter ends of the path follow, down to the base name. Each end has
// three places: the end itself, the end below "capture/", and a file name for a capture. In the
// file name, "+" replaces "/", and "_" replaces characters that FAT rejects. Photos with equal base
// names stay distinct as long as their folders are kept.
// Returns no place for a name that is not an absolute path, contains "..", or ends like a result
// file.
std::vector<std::string> ListPhotoPlaces(const std::string& name);

// Chooses the file names of photos in a capture. Returns for each photo its shortest place without
// a folder. The place belongs to no other photo and is not in taken; the case of letters does not
// count. Returns an empty text for a photo without such a place. FindPhoto finds each photo by its
// file name.
std::vector<std::string> ChoosePhotoFiles(const std::vector<std::string>& photos,
                                          const std::vector<std::string>& taken);

// Returns the path of the photo in the folder: the first place that has a regular file. Links are
// not followed. Returns an empty text when there is no such file.
std::string FindPhoto(const std::string& folder, const std::string& name);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_PHOTOS_H_
