#include "report/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quorvel::report {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 16;

[[noreturn]] void Throw(int error, const std::string& path) {
    throw std::system_error(error, std::generic_category(),
                            path.empty() ? "standard output" : path);
}

// Sets the mode of the file that the report replaces; without such a file, the usual mode.
void SetMode(int descriptor, const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        fchmod(descriptor, status.st_mode & 07777U);
        return;
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666U & ~mask);
}

// The path of the temporary file that OnSignal removes; empty without such a file.
std::array<char, PATH_MAX> g_RemovedFile{};

void OnSignal(int number) {
    unlink(g_RemovedFile.data());
    // SA_RESETHAND has restored the default action.
    raise(number);
}

// Blocks the signals that end the process.
class SignalBlock {
public:
    SignalBlock() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int number : kSignals) {
            sigaddset(&signals, number);
        }
        pthread_sigmask(SIG_BLOCK, &signals, &m_Before);
    }
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &m_Before, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

private:
    sigset_t m_Before{};
};

// Removes the file when a signal ends the process. An ignored signal stays ignored.
void RemoveOnSignal(const std::string& path) {
    if (path.size() >= g_RemovedFile.size()) {
        return;
    }
    path.copy(g_RemovedFile.data(), path.size());
    for (const int number : SignalBlock::kSignals) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_DFL) {
            action.sa_handler = OnSignal;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(number, &action, nullptr);
        }
    }
}

}  // namespace

int WriteAll(int descriptor, const void* data, std::size_t size) {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = write(descriptor, bytes, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errno;
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

DescriptorBuffer::DescriptorBuffer(int descriptor)
    : m_Descriptor(descriptor), m_Buffer(kBufferBytes) {
    setp(m_Buffer.data(), m_Buffer.data() + m_Buffer.size());
}

DescriptorBuffer::~DescriptorBuffer() = default;

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type c) {
    if (sync() != 0) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

int DescriptorBuffer::sync() {
    if (m_Error == 0) {
        m_Error = WriteAll(m_Descriptor, pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(m_Buffer.data(), m_Buffer.data() + m_Buffer.size());
    }
    return m_Error == 0 ? 0 : -1;
}

Output::Output(const std::string& path)
    : m_Path(path),
      m_Descriptor(path.empty() ? STDOUT_FILENO : m_Open()),
      m_Buffer(m_Descriptor),
      m_Stream(&m_Buffer) {}

Output::~Output() {
    if (!m_Path.empty() && m_Descriptor >= 0) {
        close(m_Descriptor);
    }
    if (!m_Temporary.empty()) {
        unlink(m_Temporary.c_str());
    }
    g_RemovedFile[0] = '\0';
}

int Output::m_Open() {
    std::error_code error;
    const fs::path target = fs::weakly_canonical(m_Path, error);
    if (!error) {
        m_Path = target;
    }
    if (fs::exists(m_Path, error) && !fs::is_regular_file(m_Path, error)) {
        const int device = open(m_Path.c_str(), O_WRONLY | O_CLOEXEC);
        if (device < 0) {
            Throw(errno, m_Path);
        }
        return device;
    }
    const fs::path folder = fs::absolute(m_Path, error).parent_path();
    int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    m_IsUnnamed = descriptor >= 0;
    if (descriptor < 0) {
        descriptor = m_OpenNamed();
    }
    if (descriptor < 0) {
        Throw(errno, m_Path);
    }
    SetMode(descriptor, m_Path);
    return descriptor;
}

int Output::m_OpenNamed() {
    const SignalBlock block;
    m_Temporary = m_Path + ".XXXXXX";
    const int descriptor = mkostemp(m_Temporary.data(), O_CLOEXEC);
    if (descriptor < 0) {
        m_Temporary.clear();
    } else {
        RemoveOnSignal(m_Temporary);
    }
    return descriptor;
}

bool Output::m_Name() {
    const std::string file = "/proc/self/fd/" + std::to_string(m_Descriptor);
    for (int number = 0;; ++number) {
        std::string name = m_Path + "." + std::to_string(getpid()) + "." + std::to_string(number);
        if (linkat(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            m_Temporary = std::move(name);
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
}

void Output::Finish() {
    m_Stream.flush();
    if (m_Buffer.Error() != 0 || !m_Stream) {
        Throw(m_Buffer.Error() != 0 ? m_Buffer.Error() : EIO, m_Path);
    }
    if (m_Path.empty()) {
        return;
    }
    // No signal ends the process between the temporary and the final name.
    const SignalBlock block;
    if (m_IsUnnamed && !m_Name()) {
        Throw(errno, m_Path);
    }
    const int descriptor = m_Descriptor;
    m_Descriptor = -1;
    if (close(descriptor) != 0 ||
        (!m_Temporary.empty() && std::rename(m_Temporary.c_str(), m_Path.c_str()) != 0)) {
        Throw(errno, m_Path);
    }
    m_Temporary.clear();
}

}  // namespace quorvel::report
