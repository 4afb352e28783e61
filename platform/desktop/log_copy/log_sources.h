#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_

#include <sys/stat.h>

#include <string>
#include <vector>

#include "log_copy/file_io.h"

namespace quorvel::desktop {

// The files that a log copy takes, opened for reading before the first one is copied, so that what
// happens to their names meanwhile does not matter. One thread at a time.
class LogSources {
public:
    struct Source {
        std::string name;
        FileHandle file;
        struct stat status;  // when it was opened; st_size is how much to copy
    };

    // io must outlive it.
    explicit LogSources(FileIo& io) : m_Io(io) {}

    // Our log and the rotated ones in the folder, as many as there are. Throws LogCopyError when
    // one is there and cannot be read.
    void AddLogs(const std::string& folder);
    // The same for the result files.
    void AddResults(const std::string& folder);

    std::vector<Source>& Files() { return m_Files; }

private:
    void m_Add(const std::string& folder, const std::string& name);
    bool m_Has(const struct stat& status) const;
    std::vector<unsigned> m_LogAges(const std::string& folder);

    FileIo& m_Io;
    std::vector<Source> m_Files;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
