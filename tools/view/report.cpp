#include "view/report.h"

#include <array>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <optional>
#include <utility>

#include "QELAnalysisData.h"
#include "QELXmlParser.h"
#include "runs/printable.h"
#include "xml_input.h"

namespace quorvel::view {

namespace {

// The lines since the last TakeReports.
std::string g_Reports;

void WriteLine(const std::string& text) {
    const std::string line = runs::MakePrintable(text) + "\n";
    std::fputs(line.c_str(), stderr);
    g_Reports += line;
}

// Values of a result file can have any length.
constexpr std::size_t kMaxValueBytes = 80;

std::string FormatTime(const runs::Run& run) {
    const std::time_t time = run.Time();
    std::array<char, 32> text{};
    std::tm parts{};
    localtime_r(&time, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

// Returns the position in the list, the name and the code of an item with a malformed code; an
// empty text for any other item.
std::string DescribeMalformedCode(const QELXmlParser& store, QELAnalysisData& analysis,
                                  unsigned int id) {
    for (const char* key : {"opcode", "msgcode"}) {
        try {
            unsigned char code = 0;
            analysis.GetCode(id, key, &code);
        } catch (const std::exception&) {
            return "item " + std::to_string(id + 1) + " (" +
                   runs::Shorten(store.GetResult(id, "name"), kMaxValueBytes) + "): " + key +
                   " \"" + runs::Shorten(store.GetResult(id, key), kMaxValueBytes) +
                   "\" is not a hexadecimal number up to 7FFFFFFF";
        }
    }
    return {};
}

// Returns the failed item that the last log line before the exception names:
// "...: GetCode(N) > id=ID, strCode=".
std::optional<unsigned int> ReadPressedItem(const std::string& exceptionFile) {
    std::string line;
    std::getline(std::ifstream(exceptionFile), line);
    const std::string key = "> id=";
    const std::size_t place = line.find(key, line.find("GetCode("));
    if (place == std::string::npos) {
        return std::nullopt;
    }
    unsigned int id = 0;
    const char* first = line.c_str() + place + key.size();
    if (std::from_chars(first, line.c_str() + line.size(), id).ptr == first) {
        return std::nullopt;
    }
    return id;
}

// Returns a line for each item on which OK ends the program. The application's own check decides.
std::vector<std::string> ListMalformedCodes(const QELXmlParser& store, QELAnalysisData& analysis) {
    std::vector<std::string> items;
    for (unsigned int id = 0; id < store.GetNumOfResult(); ++id) {
        try {
            analysis.IsValid(id);
        } catch (const std::exception&) {
            items.push_back(DescribeMalformedCode(store, analysis, id));
        }
    }
    return items;
}

// Reports the item that was pressed. Without its number in the exception file, reports all items
// with a malformed code.
void ReportMalformedCodes(const std::string& folder, const std::string& exceptionFile) {
    desktop::LimitXmlInput([](const std::string&) {});
    QELXmlParser* store = QELXmlParser::GetInstance();
    store->ParseFolder(folder);
    QELAnalysisData analysis;
    if (const std::optional<unsigned int> id = ReadPressedItem(exceptionFile)) {
        const std::string item = DescribeMalformedCode(*store, analysis, *id);
        if (!item.empty()) {
            Report("OK ended quorvel on " + item);
            return;
        }
    }
    for (const std::string& item : ListMalformedCodes(*store, analysis)) {
        Report("OK ends quorvel on " + item);
    }
}

}  // namespace

void Report(const std::string& message) {
    WriteLine("quorvel-view: " + message);
}

std::string TakeReports() {
    return std::exchange(g_Reports, {});
}

void ReportSeveral(const std::string& path, const std::vector<runs::Run>& runs) {
    Report(path + ": " + std::to_string(runs.size()) +
           " runs found; choose one, or add --latest for the first of them");
    for (const runs::Run& run : runs) {
        const bool damaged = run.files[0].HasProblem() || run.files[1].HasProblem();
        const std::string serialNumber =
            run.serialNumber.empty() ? "-" : runs::Shorten(run.serialNumber, kMaxValueBytes);
        const std::string line = serialNumber + "  " + FormatTime(run) + "  " + run.path +
                                 (damaged ? "  (damaged)" : "");
        WriteLine(line);
    }
}

bool ReportDamage(const runs::Run& run) {
    bool damaged = false;
    for (const runs::ResultFile& file : run.files) {
        if (file.HasProblem()) {
            damaged = true;
            Report(runs::DescribeProblem(run, file));
        }
    }
    return damaged;
}

void ReportSignal(int number, const std::string& folder, const std::string& exceptionFile) {
    Report("quorvel ended by signal " + std::to_string(number) + " (" + strsignal(number) + ")");
    if (number == SIGABRT) {
        ReportMalformedCodes(folder, exceptionFile);
    }
}

}  // namespace quorvel::view
