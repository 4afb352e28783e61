#include "support/PrivateFolders.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

PrivateFolders::PrivateFolders() {
    // Short, since the path of a socket is limited.
    std::string path = "/tmp/quorvel-test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("cannot make " + path);
    }
    m_Root = path;
    for (const char* name : {"home", "run", "state", "tmp"}) {
        fs::create_directory(m_Root / name);
        fs::permissions(m_Root / name, fs::perms::owner_all);
    }
}

PrivateFolders::~PrivateFolders() {
    std::error_code ignored;
    fs::remove_all(m_Root, ignored);
}

Environment PrivateFolders::Variables() const {
    return {{"HOME", m_Root / "home"},
            {"XDG_RUNTIME_DIR", m_Root / "run"},
            {"XDG_STATE_HOME", m_Root / "state"},
            {"TMPDIR", m_Root / "tmp"},
            {"ELM_DISPLAY", "buffer"},
            {"EINA_LOG_BACKTRACE", "-1"},
            {"ECORE_NO_SYSTEM_MODULES", "1"},
            {"DISPLAY", ""},
            {"WAYLAND_DISPLAY", ""},
            {"ELM_ENGINE", ""},
            {"QUORVEL_LOG_LEVEL", ""},
            {"QUORVEL_RESOURCES", ""}};
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
