#include "runs/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quorvel::runs {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    const fs::path parent = fs::absolute(fs::temp_directory_path(error));
    m_Path = (error ? fs::path("/tmp") : parent) / "quorvel-data.XXXXXX";
    if (mkdtemp(m_Path.data()) == nullptr) {
        throw fs::filesystem_error("cannot create a temporary folder", m_Path,
                                   std::error_code(errno, std::generic_category()));
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(m_Path, error);
}

}  // namespace quorvel::runs
