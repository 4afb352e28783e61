#ifndef QUORVEL_TOOLS_VIEW_COPY_H_
#define QUORVEL_TOOLS_VIEW_COPY_H_

#include <string>

#include "runs/runs.h"

namespace quorvel::view {

// Copies only the result files that can be opened and the photos that they name, to an empty
// folder. A photo gets the first of its places, see ListPhotoPlaces. Photos with equal base names
// therefore stay distinct, and FindPhoto finds each photo. Throws std::filesystem::filesystem_error
// when a result file cannot be copied completely. Writes a warning to standard error for a photo
// that is left out.
void CopyRun(const runs::Run& run, const std::string& folder);

}  // namespace quorvel::view

#endif  // QUORVEL_TOOLS_VIEW_COPY_H_
