#ifndef QUORVEL_TOOLS_REPORT_OUTPUT_H_
#define QUORVEL_TOOLS_REPORT_OUTPUT_H_

#include <unistd.h>

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace quorvel::report {

// Writes all bytes, also after an interrupted or a partial write. Returns 0 or an error number.
int WriteAll(int descriptor, const void* data, std::size_t size);

// Writes to a descriptor that it does not own. The stream fails with the first failed write.
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor);
    ~DescriptorBuffer() override;
    DescriptorBuffer(const DescriptorBuffer&) = delete;
    DescriptorBuffer& operator=(const DescriptorBuffer&) = delete;

    // The error number of the first failed write, or 0.
    int Error() const { return m_Error; }

protected:
    int_type overflow(int_type c) override;
    int sync() override;

private:
    int m_Descriptor;
    int m_Error = 0;
    std::vector<char> m_Buffer;
};

// The report's destination: standard output, or a file that appears under its name only when it is
// complete. An incomplete file has no name. On a file system without unnamed files, an incomplete
// file has a temporary name. SIGHUP, SIGINT and SIGTERM remove this file before they end the
// process. One object in each process, one thread.
class Output {
public:
    // path: empty for standard output. The report is written directly to a device or a FIFO. Throws
    // std::system_error when the file cannot be created.
    explicit Output(const std::string& path);
    // Removes a file that is not complete.
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::ostream& Stream() { return m_Stream; }
    bool IsTerminal() const { return isatty(m_Descriptor) == 1; }
    // Completes the report. Throws std::system_error when a part of the report cannot be written.
    void Finish();

private:
    // Opens a new file for m_Path. Throws std::system_error.
    int m_Open();
    // Opens a file with a temporary name. Returns -1 and sets errno on an error.
    int m_OpenNamed();
    // Gives an unnamed file a temporary name. Returns false and sets errno on failure.
    bool m_Name();

    std::string m_Path;       // links resolved; empty for standard output
    std::string m_Temporary;  // empty when the file has no temporary name
    bool m_IsUnnamed = false;
    int m_Descriptor = STDOUT_FILENO;
    DescriptorBuffer m_Buffer;
    std::ostream m_Stream;
};

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_OUTPUT_H_
