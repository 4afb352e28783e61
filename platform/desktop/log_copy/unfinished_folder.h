#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_

#include <optional>
#include <string>

#include "log_copy/file_io.h"
#include "log_copy/log_sources.h"

namespace quorvel::desktop {

// A new folder on the storage. It has a temporary name until its content is on the device. The
// destructor removes the folder unless Finish returned. A storage that fails permanently may keep
// it: under the temporary name, or complete. Functions throw LogCopyError. One thread at a time.
class UnfinishedFolder {
public:
    // Creates nothing yet. parent must outlive the object.
    UnfinishedFolder(const File& parent, const std::string& finalName);
    ~UnfinishedFolder();
    UnfinishedFolder(const UnfinishedFolder&) = delete;
    UnfinishedFolder& operator=(const UnfinishedFolder&) = delete;

    // Creates the folder. Call it first.
    void Make();
    // Copies the file into the folder and syncs it to the device. Throws SourceError when the file
    // cannot be read, or when the storage rejects its name; the folder then has no part of it.
    void Add(const LogSource& source);
    // Gives the folder its final name and syncs it to the device. Returns the name; it ends in a
    // number when finalName is taken. Call it last.
    std::string Finish();

    // Removes the unfinished folders of earlier copies from parent, as far as possible. The caller
    // holds the lock on parent, so that no other copy uses them.
    static void RemoveLeftOvers(const File& parent);

private:
    void m_RestoreTemporaryName();

    const File& m_Parent;
    std::string m_FinalName;
    std::string m_UnfinishedName;  // empty unless the folder has a temporary name
    std::string m_UnsyncedName;    // the final name, until the device has it
    std::optional<File> m_Folder;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
