#include "report/jobs.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <streambuf>

#include "report/output.h"

namespace quorvel::report {

namespace {

using Json = nlohmann::json;

constexpr std::size_t kChunkBytes = std::size_t{1} << 16;
constexpr int kPipeBytes = 1 << 20;

std::vector<ItemKey> ListFailedKeys(const LoadedRun& run) {
    std::set<ItemKey> keys;
    for (const ResultItem& item : run.Store().GetFailedItems()) {
        keys.insert({ValueOf(item, "type"), ValueOf(item, "name"), ValueOf(item, "opcode"),
                     ValueOf(item, "msgcode")});
    }
    return {keys.begin(), keys.end()};
}

RunResult WriteRun(const Format& format, const runs::Run& run, unsigned int number,
                   std::ostream& out) {
    LoadedRun loaded(run);
    format.WriteRun(out, loaded, number);
    RunResult result;
    result.problems = ListProblems(loaded);
    result.items = loaded.Store().GetNumOfResultAll();
    result.failedItems = loaded.Store().GetNumOfResult();
    if (format.ListsFrequentItems()) {
        result.failedKeys = ListFailedKeys(loaded);
    }
    return result;
}

std::string Pack(const RunResult& result) {
    const Json json = {result.problems, result.items, result.failedItems, result.failedKeys};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

RunResult Unpack(const std::string& text) {
    const Json json = Json::parse(text);
    RunResult result;
    json[0].get_to(result.problems);
    json[1].get_to(result.items);
    json[2].get_to(result.failedItems);
    json[3].get_to(result.failedKeys);
    return result;
}

// A part of the data of a child process: output, the result of a run, or the error that ended the
// child.
enum class PieceKind : std::uint32_t { kOutput, kResult, kFailure };
struct PieceHead {
    PieceKind kind;
    std::uint32_t size;
};

void SendPiece(int descriptor, PieceKind kind, const char* bytes, std::size_t size) {
    const PieceHead head = {kind, static_cast<std::uint32_t>(size)};
    if (WriteAll(descriptor, &head, sizeof head) != 0 || WriteAll(descriptor, bytes, size) != 0) {
        // The main process has ended.
        _exit(EXIT_FAILURE);
    }
}

// Sends the output of a child process in pieces.
class PieceBuffer : public std::streambuf {
public:
    explicit PieceBuffer(int descriptor) : m_Descriptor(descriptor) { m_Reset(); }

protected:
    int_type overflow(int_type c) override {
        sync();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override {
        if (pptr() > pbase()) {
            SendPiece(m_Descriptor, PieceKind::kOutput, pbase(),
                      static_cast<std::size_t>(pptr() - pbase()));
        }
        m_Reset();
        return 0;
    }

private:
    void m_Reset() { setp(m_Bytes.data(), m_Bytes.data() + m_Bytes.size()); }

    int m_Descriptor;
    std::array<char, kChunkBytes> m_Bytes{};
};

// A child process that writes every step-th run, beginning with the run first. The destructor kills
// the process and waits for its end.
class JobProcess {
public:
    JobProcess(const Format& format, const std::vector<runs::Run>& runs, std::size_t first,
               std::size_t step) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error(std::string("cannot create a pipe: ") + std::strerror(errno));
        }
        fcntl(ends[1], F_SETPIPE_SZ, kPipeBytes);
        m_Process = fork();
        if (m_Process == 0) {
            close(ends[0]);
            m_Work(format, runs, first, step, ends[1]);
        }
        const int error = errno;
        close(ends[1]);
        m_Input = ends[0];
        if (m_Process < 0) {
            close(m_Input);
            throw std::runtime_error(std::string("cannot start a process: ") +
                                     std::strerror(error));
        }
    }
    ~JobProcess() {
        close(m_Input);
        kill(m_Process, SIGKILL);
        while (waitpid(m_Process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    JobProcess(const JobProcess&) = delete;
    JobProcess& operator=(const JobProcess&) = delete;

    // Copies the output of the next run to out and returns its result.
    RunResult Receive(std::ostream& out) {
        std::string bytes;
        while (true) {
            PieceHead head{};
            m_Read(&head, sizeof head);
            bytes.resize(head.size);
            m_Read(bytes.data(), bytes.size());
            switch (head.kind) {
                case PieceKind::kOutput:
                    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                    break;
                case PieceKind::kResult:
                    return Unpack(bytes);
                case PieceKind::kFailure:
                    throw std::runtime_error(bytes);
            }
        }
    }

private:
    // Body of the child process. Ends without the cleanup of the main process, which owns the
    // temporary folders and the output file.
    [[noreturn]] static void m_Work(const Format& format, const std::vector<runs::Run>& runs,
                                    std::size_t first, std::size_t step, int output) {
        try {
            for (std::size_t i = first; i < runs.size(); i += step) {
                PieceBuffer buffer(output);
                std::ostream out(&buffer);
                const RunResult result =
                    WriteRun(format, runs[i], static_cast<unsigned int>(i), out);
                out.flush();
                const std::string text = Pack(result);
                SendPiece(output, PieceKind::kResult, text.data(), text.size());
            }
        } catch (const std::exception& error) {
            SendPiece(output, PieceKind::kFailure, error.what(), std::strlen(error.what()));
        }
        _exit(EXIT_SUCCESS);
    }

    void m_Read(void* data, std::size_t size) {
        char* bytes = static_cast<char*>(data);
        while (size > 0) {
            const ssize_t count = read(m_Input, bytes, size);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                throw std::runtime_error("a job ended unexpectedly");
            }
            bytes += count;
            size -= static_cast<std::size_t>(count);
        }
    }

    pid_t m_Process = -1;
    int m_Input = -1;
};

}  // namespace

void WriteRuns(const Format& format, const std::vector<runs::Run>& runs, unsigned int jobs,
               std::ostream& out, const std::function<void(const RunResult&)>& onResult) {
    const std::size_t count = std::min<std::size_t>(jobs, runs.size());
    std::vector<std::unique_ptr<JobProcess>> processes;
    for (std::size_t i = 0; count > 1 && i < count; ++i) {
        processes.push_back(std::make_unique<JobProcess>(format, runs, i, count));
    }
    for (std::size_t i = 0; i < runs.size() && out; ++i) {
        onResult(processes.empty() ? WriteRun(format, runs[i], static_cast<unsigned int>(i), out)
                                   : processes[i % count]->Receive(out));
    }
}

}  // namespace quorvel::report
