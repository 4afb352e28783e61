// Runs a fuzz target on stored inputs. Each argument is a file or a folder of files.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "FuzzTarget.h"

namespace fs = std::filesystem;

namespace {

int g_Inputs = 0;

void Run(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++g_Inputs;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            Run(argv[i]);
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) {
                Run(entry.path());
            }
        }
    }
    std::printf("%d inputs\n", g_Inputs);
    return g_Inputs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
