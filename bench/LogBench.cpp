// Measures one line of the log. The port writes the line to the terminal and to the file. The lower
// bound is a rotating file of spdlog that is flushed after each line. The standard error is
// /dev/null.

#include <benchmark/benchmark.h>
#include <dlog.h>
#include <fcntl.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{4} << 20;
constexpr std::size_t kOldFiles = 3;

// The folder of all logs.
std::filesystem::path g_Folder;

void LogLine(benchmark::State& state) {
    int id = 0;
    for (auto _ : state) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", "%s: %s(%d) > id=%d, strCode=%s\n",
                     "QELAnalysisData.cpp", "GetCodeFromAll", 127, id++, "2A");
    }
}
BENCHMARK(LogLine)->MeasureProcessCPUTime();

void SpdlogLine(benchmark::State& state) {
    spdlog::sinks::rotating_file_sink_st sink((g_Folder / "spdlog.log").string(), kMaxFileBytes,
                                              kOldFiles);
    sink.set_pattern("%Y-%m-%d %H:%M:%S.%e %L/%-8n(%5P): %v");
    const std::string text = "QELAnalysisData.cpp: GetCodeFromAll(127) > id=1000, strCode=2A";
    for (auto _ : state) {
        sink.log({"QEL", spdlog::level::info, text});
        sink.flush();
    }
}
BENCHMARK(SpdlogLine)->MeasureProcessCPUTime();

bool UseTemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quorvel-bench-XXXXXX").string();
    const int terminal = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (mkdtemp(name.data()) == nullptr || terminal < 0) {
        std::perror("quorvel_log_bench: cannot create a temporary folder");
        return false;
    }
    g_Folder = name;
    setenv("XDG_STATE_HOME", name.c_str(), 1);
    return dup2(terminal, STDERR_FILENO) >= 0;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (!UseTemporaryFolder()) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(g_Folder);
    return EXIT_SUCCESS;
}
