#include "report/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quorvel::report {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 16;

// Returns 0 or an error number.
int WriteAll(int descriptor, const char* bytes, std::size_t size) {
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

[[noreturn]] void Throw(int error, const std::string& path) {
    throw std::system_error(error, std::generic_category(),
                            path.empty() ? "standard output" : path);
}

// mkstemp creates a file for the user alone. The report gets the usual mode, or that of the file
// that it replaces.
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

}  // namespace

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
      m_Descriptor(m_Open(m_Path, m_Temporary)),
      m_Buffer(m_Descriptor),
      m_Stream(&m_Buffer) {}

Output::~Output() {
    if (!m_Path.empty() && m_Descriptor >= 0) {
        close(m_Descriptor);
    }
    if (!m_Temporary.empty()) {
        unlink(m_Temporary.c_str());
    }
}

int Output::m_Open(std::string& path, std::string& temporary) {
    if (path.empty()) {
        return STDOUT_FILENO;
    }
    std::error_code error;
    const fs::path target = fs::weakly_canonical(path, error);
    if (!error) {
        path = target;
    }
    int descriptor = -1;
    if (fs::exists(path, error) && !fs::is_regular_file(path, error)) {
        descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        temporary = path + ".XXXXXX";
        descriptor = mkostemp(temporary.data(), O_CLOEXEC);
        if (descriptor < 0) {
            temporary.clear();
        } else {
            SetMode(descriptor, path);
        }
    }
    if (descriptor < 0) {
        Throw(errno, path);
    }
    return descriptor;
}

void Output::Finish() {
    m_Stream.flush();
    if (m_Buffer.Error() != 0 || !m_Stream) {
        Throw(m_Buffer.Error() != 0 ? m_Buffer.Error() : EIO, m_Path);
    }
    if (m_Path.empty()) {
        return;
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
