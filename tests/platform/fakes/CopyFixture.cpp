#include "CopyFixture.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// So that a failed comparison can be read.
std::string Summary(const std::string& bytes) {
    return bytes.size() < 100 ? bytes
                              : std::to_string(bytes.size()) + " bytes of hash " +
                                    std::to_string(std::hash<std::string>()(bytes));
}

// In memory where there is such a folder: the copies are many, and their disk is not tested.
fs::path FastFolder() {
    const fs::path inMemory = "/dev/shm";
    return access(inMemory.c_str(), W_OK | X_OK) == 0 ? inMemory : fs::temp_directory_path();
}

// Nowhere the same twice, so that no part can stand in for another.
std::string LongText() {
    std::string text;
    for (int line = 0; text.size() < 300'000; ++line) {
        text += std::to_string(line) + '\n';
    }
    return text;
}

}  // namespace

ScratchFolder::ScratchFolder() {
    std::string name = (FastFolder() / "quorvel-platform-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    // As the kernel names it in /proc.
    m_Path = fs::canonical(name);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_Path, ignored);
}

CopyFixture::CopyFixture()
    : m_State(m_Scratch.Path() / "state"),
      m_Data(m_Scratch.Path() / "data"),
      m_Storage(m_Scratch.Path() / "storage"),
      m_Job{m_Data, m_State, "line-7", 86400},
      m_CopyName(quorvel::desktop::LogCopyName(m_Job.host, m_Job.time)),
      // The one result file is longer than what is read at a time.
      m_Sources{{"quorvel.log", "young\n"},
                {"quorvel.1.log", "old\n"},
                {"qelXml.xml", LongText()},
                {"qelRnscXml.xml", "<results/>"}} {
    for (const auto& [name, bytes] : m_Sources) {
        Write((name.rfind("quorvel", 0) == 0 ? m_State : m_Data) / name, bytes);
    }
    ResetStorage();
}

void CopyFixture::Write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    out.close();
    ASSERT_TRUE(out) << path;
}

std::string CopyFixture::Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

Tree CopyFixture::TreeOf(const fs::path& folder) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder);
        if (entry.is_directory()) {
            tree[name + "/"] = "";
        } else {
            tree[name] = Summary(Read(entry.path()));
        }
    }
    return tree;
}

Tree CopyFixture::Before() const {
    return {{"holiday.jpg", "picture"}};
}

Tree CopyFixture::After(const std::string& copy) const {
    Tree tree = Before();
    tree[copy + "/"] = "";
    for (const auto& [name, bytes] : m_Sources) {
        tree[fs::path(copy) / name] = Summary(bytes);
    }
    return tree;
}

Tree CopyFixture::AfterTwo() const {
    Tree tree = After();
    tree.merge(After(m_CopyName + "-2"));
    return tree;
}

void CopyFixture::ResetStorage() {
    fs::remove_all(m_Storage);
    for (const auto& [name, bytes] : Before()) {
        Write(m_Storage / name, bytes);
    }
}

int CopyFixture::Run(quorvel::desktop::FileIo& io) {
    return Run(io, Storage());
}

int CopyFixture::Run(quorvel::desktop::FileIo& io, const quorvel::desktop::UsbStorage& storage) {
    m_Errors.clear();
    m_Infos.clear();
    return quorvel::desktop::RunLogCopy({io, [&storage] { return storage; },
                                         [this](bool isError, const std::string& line) {
                                             (isError ? m_Errors : m_Infos).push_back(line);
                                         }},
                                        m_Job);
}
