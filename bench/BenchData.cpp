#include "BenchData.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

std::string TextOf(const char* tag, const std::string& text) {
    return std::string("      <") + tag + ">" + text + "</" + tag + ">\n";
}

std::string ItemText(int i) {
    static const char* const kTypes[] = {"bt", "wifi", "app"};
    return "    <test>\n" + TextOf("type", kTypes[i % 3]) +
           TextOf("name", "TEST_ITEM_" + std::to_string(i)) + TextOf("opcode", "11") +
           TextOf("msgcode", "2A") + TextOf("imqs", "0") +
           TextOf("result", i % 2 == 0 ? "fail" : "pass") + TextOf("duration", "500") +
           TextOf("retrycount", "1") + TextOf("spec", "-60 to -30 dBm") +
           TextOf("measure", "-72 dBm") +
           (i % 2 == 0 ? TextOf("detailed", "level too low;AP 2.4 GHz^see &lt;antenna&gt;") : "") +
           TextOf("timeAckAbsolute", std::to_string(1000 + i * 100)) +
           TextOf("threadID", std::to_string(i % 4)) + "    </test>\n";
}

std::string MakeTemporaryFile() {
    std::string name = (std::filesystem::temp_directory_path() / "quorvel-bench-XXXXXX").string();
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) {
        std::perror("quorvel_bench: cannot create a temporary file");
        std::exit(EXIT_FAILURE);
    }
    close(descriptor);
    return name;
}

}  // namespace

BenchData::BenchData(int items) : m_Path(MakeTemporaryFile()) {
    std::ofstream out(m_Path);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QELResult>\n"
        << "  <Information><model>M</model></Information>\n  <Network/>\n  <Summary/>\n"
        << "  <FAnetTest>\n";
    for (int i = 0; i < items; ++i) {
        out << ItemText(i);
    }
    out << "  </FAnetTest>\n</QELResult>\n";
}

BenchData::~BenchData() {
    std::remove(m_Path.c_str());
}

void BenchData::Load(QELXmlParser& store) const {
    store.m_resultFailData.clear();
    store.m_resultAllData.clear();
    store.m_ParseFile(m_Path.c_str());
}
