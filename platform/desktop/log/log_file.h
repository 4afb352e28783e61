#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_

#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace quorvel::desktop {

struct LogFileLimits {
    std::size_t maxBytes;    // size at which the file is rotated
    std::size_t oldFiles;    // number of rotated files to keep
    std::size_t startBytes;  // size of the file with the first lines of this process
};

// Reports changes of the names in a folder, so that not every line needs a check of the log file.
// One thread at a time.
class FolderWatch {
public:
    FolderWatch();
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    // Watches this folder. An earlier folder that still exists is watched too.
    void Start(const std::string& folder);
    // Returns whether a file in the folder may have been created, renamed or removed since the last
    // call. Also true when the folder itself may have been renamed or removed. Always true when the
    // folder cannot be watched. True after Start, and at least twice a second.
    bool MayHaveChanged();

private:
    int m_Events;
    int m_Watch = -1;
    std::chrono::milliseconds m_NextCheck{0};
};

// The rotating log file. Several processes may write to the file, since a hand-over is logged too.
// If another process rotates or removes the file, the next line goes to the new file. The first
// lines of this process are kept in a second file, which no rotation removes: a.start.log for
// a.log. Owned by Log. One thread at a time.
class LogFile {
public:
    // Opens the file and creates missing folders. Only the user may access the file and the new
    // folders. Throws std::runtime_error when the file cannot be opened.
    LogFile(std::string path, const LogFileLimits& limits);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Appends one line, which ends with a line feed. The file has the line when the call returns.
    // The second file is replaced as soon as this process has written limits.startBytes; a process
    // that writes less leaves it unchanged. Throws std::runtime_error. On a full disk the file may
    // get a part of the line; a line feed then replaces the last byte of the part.
    void Write(std::string_view line);

private:
    void m_Open();
    bool m_IsReplaced() const;
    void m_Rotate();
    // Replaces the last byte of the part by a line feed.
    void m_EndPart();
    void m_KeepStart(std::string_view line);
    // Returns the path with the word before its extension: a.1.log for a.log.
    std::string m_PathWith(const std::string& word) const;

    std::string m_Path;
    LogFileLimits m_Limits;
    int m_File = -1;
    std::size_t m_Size = 0;   // without lines that other processes have written since m_Open
    off_t m_PartEnd = 0;      // end of a part of a line without a line feed; 0 for no such part
    struct stat m_Status {};  // of the open file
    FolderWatch m_Folder;
    std::string m_Start;  // the first lines, until the second file has them
    bool m_IsStartComplete = false;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_LOG_FILE_H_
