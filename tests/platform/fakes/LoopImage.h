#ifndef QUORVEL_TESTS_PLATFORM_LOOP_IMAGE_H_
#define QUORVEL_TESTS_PLATFORM_LOOP_IMAGE_H_

#include <cstdint>
#include <filesystem>
#include <string>

// A file system in a file, to be mounted as a device is. The mounts are this process's alone, so
// none of them outlives it.
class LoopImage {
public:
    // Why this machine cannot make or mount images of this file system; empty when it can.
    static std::string WhyNot(const std::string& type);

    // Makes an image of so many bytes below folder. Throws std::runtime_error.
    LoopImage(const std::filesystem::path& folder, const std::string& type, std::uintmax_t size);
    ~LoopImage();
    LoopImage(const LoopImage&) = delete;
    LoopImage& operator=(const LoopImage&) = delete;

    // Mounts it ("rw" or "ro") and unmounts it, however it is in use. Throw std::runtime_error.
    void Mount(const std::string& options);
    void Unmount();
    // Lets the device fail from now on, as when it is pulled out; ext4 only.
    void Unplug() const;

    const std::filesystem::path& Folder() const { return m_Folder; }
    // The node that is mounted, as "/dev/loop0".
    std::string Node() const;

private:
    std::filesystem::path m_File;
    std::filesystem::path m_Folder;
    std::string m_Type;
    bool m_IsMounted = false;
};

// Mounts of this process are no longer those of the system. False, with errno, when not permitted.
bool MakeMountsPrivate();

#endif  // QUORVEL_TESTS_PLATFORM_LOOP_IMAGE_H_
