#include "view/report.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <utility>

#include "QELAnalysisData.h"
#include "QELXmlParser.h"
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

std::string FormatTime(const runs::Run& run) {
    const std::time_t time = run.Time();
    std::array<char, 32> text{};
    std::tm parts{};
    localtime_r(&time, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

bool IsDamaged(const runs::ResultFile& file) {
    return file.state == runs::FileState::kDamaged || file.state == runs::FileState::kUnreadable;
}

// Returns the number in the list on the screen, the name and the code of an item that cannot be
// pressed; an empty text for another item.
std::string DescribeMalformedCode(const QELXmlParser& store, QELAnalysisData& analysis,
                                  unsigned int id) {
    for (const char* key : {"opcode", "msgcode"}) {
        try {
            unsigned char code = 0;
            analysis.GetCode(id, key, &code);
        } catch (const std::exception&) {
            return "item " + std::to_string(id + 1) + " (" + store.GetResult(id, "name") +
                   "): " + key + " \"" + store.GetResult(id, key) +
                   "\" is not a hexadecimal number";
        }
    }
    return {};
}

// The application's own check decides which items end the program.
void ReportMalformedCodes(const std::string& folder) {
    desktop::LimitXmlInput([](const std::string&) {});
    QELXmlParser* store = QELXmlParser::GetInstance();
    store->ParseFolder(folder);
    QELAnalysisData analysis;
    for (unsigned int id = 0; id < store->GetNumOfResult(); ++id) {
        try {
            analysis.IsValid(id);
        } catch (const std::exception&) {
            Report("OK ends quorvel on " + DescribeMalformedCode(*store, analysis, id));
        }
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
        const bool damaged = IsDamaged(run.files[0]) || IsDamaged(run.files[1]);
        const std::string serialNumber = run.serialNumber.empty() ? "-" : run.serialNumber;
        const std::string line = serialNumber + "  " + FormatTime(run) + "  " + run.path +
                                 (damaged ? "  (damaged)" : "");
        WriteLine(line);
    }
}

bool ReportDamage(const runs::Run& run) {
    bool damaged = false;
    for (const runs::ResultFile& file : run.files) {
        if (IsDamaged(file)) {
            damaged = true;
            const std::string line = file.line > 0 ? ":" + std::to_string(file.line) : "";
            Report(run.path + "/" + file.name + line + ": " + file.problem);
        }
    }
    return damaged;
}

void ReportSignal(int number, const std::string& folder) {
    Report("quorvel ended by signal " + std::to_string(number) + " (" + strsignal(number) + ")");
    if (number == SIGABRT) {
        ReportMalformedCodes(folder);
    }
}

}  // namespace quorvel::view
