#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_

#include <string>

#include "log_copy/file_io.h"
#include "log_copy/log_sources.h"

namespace quorvel::desktop {

// A new folder on the storage that has a temporary name until it is complete and on the device, and
// that is removed again unless it gets that far. A storage that fails for good keeps it, under the
// temporary name, or whole. Operations throw LogCopyError. The FileIo and the
// open folder it is made in must outlive it. One thread at a time.
class UnfinishedFolder {
public:
    // It is to lie in the open folder parent. Nothing is made yet.
    UnfinishedFolder(FileIo& io, int parent, const std::string& finalName);
    ~UnfinishedFolder();
    UnfinishedFolder(const UnfinishedFolder&) = delete;
    UnfinishedFolder& operator=(const UnfinishedFolder&) = delete;

    // Makes it, before anything else is called.
    void Make();
    // Copies the file into it and waits until it is on the device.
    void Add(const LogSources::Source& source);
    // Gives it the final name, or one with a number behind it when that is taken, and waits until
    // that is on the device. Returns the name. Nothing else may be called afterwards.
    std::string Finish();

    // Removes from parent the folders that earlier copies left unfinished. One that resists stays.
    // The caller holds the lock on parent, so none of them is in use.
    static void RemoveLeftOvers(FileIo& io, int parent);

private:
    void m_Discard();
    void m_TakeNameBack();

    FileIo& m_Io;
    int m_Parent;
    std::string m_FinalName;
    std::string m_UnfinishedName;  // while the folder has it
    std::string m_UnsyncedName;    // the final one, until it is on the device
    FileHandle m_Handle;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
