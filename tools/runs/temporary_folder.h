#ifndef QUORVEL_TOOLS_RUNS_TEMPORARY_FOLDER_H_
#define QUORVEL_TOOLS_RUNS_TEMPORARY_FOLDER_H_

#include <filesystem>
#include <optional>
#include <string>

#include "runs/descriptor.h"

namespace quorvel::runs {

// A new folder in TMPDIR or /tmp that only the user can enter. The destructor removes the folder
// and everything in it. The constructor removes the folders of killed processes of the user. Any
// thread.
class TemporaryFolder {
public:
    // Creates the folder. Throws std::filesystem::filesystem_error when the creation fails.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // The absolute path, without a slash at its end.
    const std::string& Path() const { return m_Path; }

private:
    bool m_Keep();

    std::string m_Path;
    std::optional<Descriptor> m_Lock;
};

// Returns one line about a file that cannot be written or copied: the path, the reason and the
// remedy.
std::string DescribeUnwritten(const std::filesystem::filesystem_error& error);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_TEMPORARY_FOLDER_H_
