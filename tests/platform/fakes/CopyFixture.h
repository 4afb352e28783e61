#ifndef QUORVEL_TESTS_PLATFORM_COPY_FIXTURE_H_
#define QUORVEL_TESTS_PLATFORM_COPY_FIXTURE_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "log_copy.h"
#include "log_copy_service.h"

// The content of a folder: path below it to bytes (their number and a hash when they are many); a
// folder has a slash at its end and no bytes.
using Tree = std::map<std::string, std::string>;

// A temporary folder that goes with the object.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_Path; }

private:
    std::filesystem::path m_Path;
};

// A run of the log copy from a folder with two logs and both result files.
class CopyFixture : public testing::Test {
protected:
    CopyFixture();

    static void Write(const std::filesystem::path& path, const std::string& bytes);
    static std::string Read(const std::filesystem::path& path);
    static Tree TreeOf(const std::filesystem::path& folder);

    // Empties the storage and puts what somebody else has on it.
    void ResetStorage();
    quorvel::desktop::UsbStorage Storage() const { return {0, m_Storage.string(), std::nullopt}; }
    // Runs the whole copy on the storage; keeps the lines it logs.
    int Run(quorvel::desktop::FileIo& io);
    int Run(quorvel::desktop::FileIo& io, const quorvel::desktop::UsbStorage& storage);

    // What the storage holds before, and after a copy, with the copy in the folder of this name.
    Tree Before() const;
    Tree After() const { return After(m_CopyName); }
    Tree After(const std::string& copy) const;
    // The same after a second one in the same second.
    Tree AfterTwo() const;
    Tree OnStorage() const { return TreeOf(m_Storage); }

    ScratchFolder m_Scratch;
    std::filesystem::path m_State;
    std::filesystem::path m_Data;
    std::filesystem::path m_Storage;
    quorvel::desktop::LogCopyJob m_Job;
    std::string m_CopyName;
    Tree m_Sources;  // what a copy is to hold
    std::vector<std::string> m_Errors;
    std::vector<std::string> m_Infos;
};

#endif  // QUORVEL_TESTS_PLATFORM_COPY_FIXTURE_H_
