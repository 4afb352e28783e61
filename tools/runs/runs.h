#ifndef QUORVEL_TOOLS_RUNS_RUNS_H_
#define QUORVEL_TOOLS_RUNS_RUNS_H_

#include <array>
#include <cstddef>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "paths.h"
#include "runs/temporary_folder.h"

// Finds the runs below a path and checks their result files. Needs no toolkit, no display and no
// log. Reads only; an archive is unpacked into a temporary folder. One thread at a time.
namespace quorvel::runs {

enum class FileState {
    kRead,        // the file is well-formed
    kMissing,     // the folder has no such file
    kUnreadable,  // the file exists but cannot be read
    kDamaged,     // the file is empty or not well-formed
};

// One of the two result files of a run.
struct ResultFile {
    std::string name;
    FileState state = FileState::kMissing;
    std::string problem = {};  // the reason of kUnreadable and kDamaged, in one line
    int line = 0;              // the line of the problem in the file, or 0

    bool HasProblem() const {
        return state == FileState::kDamaged || state == FileState::kUnreadable;
    }
    // Returns whether the application can show a part of the file.
    bool CanBeOpened() const { return state == FileState::kRead || state == FileState::kDamaged; }
};

// The photo that an "image" item names.
struct Photo {
    std::string name;  // the value of the item
    std::string file;  // the path of the file in the folder of the run; empty when it is missing
};

// One run: the values of its result files, and the places of the files.
struct Run {
    std::string path;    // as the user sees it: a folder, or an archive and the folder in it
    std::string folder;  // the folder from which the files are read
    // Contains folder when the run is from an archive. Copies of a Run share it.
    std::shared_ptr<const TemporaryFolder> unpacked;
    // Changes when a result file or the archive changes or is replaced. One line.
    std::string identity;
    std::array<ResultFile, 2> files = {ResultFile{desktop::kMainResultFile},
                                       ResultFile{desktop::kRnscResultFile}};
    std::string serialNumber;
    std::string model;
    std::string startTime;     // the value of Summary, as the file has it; may be empty
    std::time_t fileTime = 0;  // the modification time of the newer result file
    unsigned int items = 0;    // all items
    unsigned int failedItems = 0;
    // The first kMaxPhotos photos of the failed items of type "image", without repetitions.
    std::vector<Photo> photos;

    // Returns the start time when it has the form YYYY-MM-DD HH:MM[:SS], else the time of the file.
    // Both are local times.
    std::time_t Time() const;
};

// Returns one line about a file with a problem: its path as the user sees it, the line in the file
// and the problem.
std::string DescribeProblem(const Run& run, const ResultFile& file);

// Returns one line about a path without a run.
std::string DescribeNoRun(const std::string& path);

struct SearchResult {
    std::vector<Run> runs;  // newest first
    // One line for each place that could not be searched: the path and the reason.
    std::vector<std::string> problems;
    // The path and the reason why the search could not start; empty after a start.
    std::string failure;
};

constexpr int kMaxDepth = 6;  // levels of folders below the path, or in an archive

// The limits of one search, over all folders and archives.
struct Limits {
    long entries = 100'000;               // entries of folders and archives
    long long unpackedBytes = 1LL << 30;  // bytes of archives
};

enum class Reading { kNow, kLater };

// Finds all runs at the path. The path is a folder, a result file or an archive (.tar, .tar.gz,
// .tgz, .tar.xz, .zip). It can also name a folder or a result file in an archive. A folder is
// searched with the folders and archives below it. A result file stands for its folder. Links below
// the path are not followed, and unfinished captures are left out.
//
// reading: with kLater, the files of a run in a folder are not read. Such a run has only a path and
// a folder until CheckRun reads the files.
SearchResult FindRuns(const std::string& path, const Limits& limits = {},
                      Reading reading = Reading::kNow);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_RUNS_H_
