#include "LoopImage.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

namespace fs = std::filesystem;

namespace {

// The kernel's request to stop an ext4 file system at once, and that it is not to write its journal
// before; in no public header.
constexpr unsigned long kShutdownRequest = _IOR('X', 125, std::uint32_t);
constexpr std::uint32_t kWithoutJournal = 2;

struct ContextRelease {
    void operator()(libmnt_context* context) const { mnt_free_context(context); }
};
using Context = std::unique_ptr<libmnt_context, ContextRelease>;

std::string MakerOf(const std::string& type) {
    for (const char* folder : {"/sbin/mkfs.", "/usr/sbin/mkfs."}) {
        if (fs::exists(folder + type)) {
            return folder + type;
        }
    }
    return {};
}

// The one that is served by a program, as those of some distributions are.
bool IsInUserSpace(const std::string& type) {
    return type == "ntfs";
}

std::string MountTypeOf(const std::string& type) {
    return type == "ntfs" ? "ntfs-3g" : type;
}

bool CanServe(const std::string& type) {
    return access("/dev/fuse", R_OK | W_OK) == 0 &&
           (fs::exists("/sbin/mount." + MountTypeOf(type)) ||
            fs::exists("/usr/sbin/mount." + MountTypeOf(type)));
}

bool KernelKnows(const std::string& type) {
    std::ifstream list("/proc/filesystems");
    std::string word;
    while (list >> word) {
        if (word == type) {
            return true;
        }
    }
    return false;
}

// Standard output and error go to a file beside the image.
int RunMaker(const std::string& maker, const fs::path& image) {
    std::string program = maker;
    std::string file = image.string();
    // A file is no block device, but will do.
    std::string force = "-F";
    std::vector<char*> arguments = {program.data(), force.data(), file.data(), nullptr};
    if (maker.find("ntfs") == std::string::npos) {
        arguments.erase(arguments.begin() + 1);
    }
    char* environment[] = {nullptr};
    const std::string report = image.string() + ".report";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, report.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = 0;
    int status = -1;
    if (posix_spawn(&child, maker.c_str(), &actions, nullptr, arguments.data(), environment) == 0) {
        waitpid(child, &status, 0);
    }
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

}  // namespace

bool MakeMountsPrivate() {
    static const bool done = unshare(CLONE_NEWNS) == 0 &&
                             mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return done;
}

std::string LoopImage::WhyNot(const std::string& type) {
    if (access("/dev/loop-control", R_OK | W_OK) != 0) {
        return "no access to loop devices";
    }
    if (MakerOf(type).empty()) {
        return "no mkfs." + type;
    }
    if (!(IsInUserSpace(type) ? CanServe(type) : KernelKnows(type))) {
        return "the running system cannot mount " + type;
    }
    return MakeMountsPrivate() ? "" : "mounting is not permitted";
}

LoopImage::LoopImage(const fs::path& folder, const std::string& type, std::uintmax_t size)
    : m_File(folder / (type + ".image")), m_Folder(folder / ("mounted " + type)), m_Type(type) {
    std::ofstream(m_File).close();
    fs::resize_file(m_File, size);
    fs::create_directory(m_Folder);
    if (RunMaker(MakerOf(type), m_File) != 0) {
        Fail("mkfs." + type);
    }
}

LoopImage::~LoopImage() {
    if (m_IsMounted) {
        umount2(m_Folder.c_str(), MNT_DETACH);
    }
}

void LoopImage::Mount(const std::string& options) {
    const Context context(mnt_new_context());
    mnt_context_set_source(context.get(), m_File.c_str());
    mnt_context_set_target(context.get(), m_Folder.c_str());
    mnt_context_set_fstype(context.get(), MountTypeOf(m_Type).c_str());
    mnt_context_set_options(context.get(), ("loop," + options).c_str());
    const int result = mnt_context_mount(context.get());
    if (result != 0) {
        Fail("mounting " + m_File.string() + " (" + std::to_string(result) + ")");
    }
    m_IsMounted = true;
}

void LoopImage::Unmount() {
    if (umount2(m_Folder.c_str(), 0) != 0) {
        Fail("unmounting " + m_Folder.string());
    }
    m_IsMounted = false;
}

void LoopImage::Unplug() const {
    const int folder = open(m_Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::uint32_t how = kWithoutJournal;
    const int result = folder < 0 ? -1 : ioctl(folder, kShutdownRequest, &how);
    close(folder);
    if (result != 0) {
        Fail("stopping " + m_Folder.string());
    }
}

std::string LoopImage::Node() const {
    const std::unique_ptr<libmnt_table, void (*)(libmnt_table*)> table(mnt_new_table(),
                                                                       mnt_unref_table);
    mnt_table_parse_mtab(table.get(), nullptr);
    libmnt_fs* row = mnt_table_find_target(table.get(), m_Folder.c_str(), MNT_ITER_BACKWARD);
    return row == nullptr ? "" : mnt_fs_get_srcpath(row);
}
