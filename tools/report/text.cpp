// Text for people: each run with its failed items, their details and their conflicts.

#include <algorithm>
#include <cwchar>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "QELItemText.h"
#include "report/describe.h"
#include "report/format.h"
#include "runs/printable.h"

namespace quorvel::report {

namespace {

using Row = std::vector<std::string>;

// Returns the number of terminal columns of the text.
std::size_t WidthOf(const std::string& text) {
    std::size_t width = 0;
    std::mbstate_t state{};
    for (std::size_t i = 0; i < text.size();) {
        wchar_t character = 0;
        const std::size_t size = std::mbrtowc(&character, &text[i], text.size() - i, &state);
        if (size == 0 || size > text.size() - i) {
            // The locale does not decode the byte.
            state = {};
            ++width;
            ++i;
            continue;
        }
        width += static_cast<std::size_t>(std::max(wcwidth(character), 0));
        i += size;
    }
    return width;
}

// Writes a table. Columns before firstTextColumn are numbers, aligned to the right. A line has no
// blanks at its end.
void WriteColumns(std::ostream& out, const std::string& indent, const std::vector<Row>& rows,
                  std::size_t firstTextColumn) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    for (const Row& row : rows) {
        std::string line = indent;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - WidthOf(row[i]), ' ');
            line += i < firstTextColumn ? padding + row[i] : row[i] + padding;
            line += i + 1 < row.size() ? "  " : "";
        }
        out << line.erase(line.find_last_not_of(' ') + 1) << "\n";
    }
}

void WriteIndented(std::ostream& out, const std::string& indent, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out << (line.empty() ? "" : indent + runs::MakePrintable(line)) << "\n";
    }
}

void WriteValue(std::ostream& out, const char* label, const std::string& value) {
    out << "  " << label << (value.empty() ? "-" : runs::MakePrintable(value)) << "\n";
}

void WriteHeading(std::ostream& out, const LoadedRun& run) {
    const runs::Run& source = run.Source();
    out << "Run " << runs::MakePrintable(source.path) << "\n";
    WriteValue(out, "serial number  ", source.serialNumber);
    WriteValue(out, "model          ", source.model);
    WriteValue(out, "start time     ", source.startTime);
    for (auto file = source.files.rbegin(); file != source.files.rend(); ++file) {
        out << "  " << file->name << std::string(15 - file->name.size(), ' ')
            << NameOf(file->state);
        const auto size = run.FindSize(*file);
        if (size) {
            out << ", " << *size << " bytes";
        }
        out << "\n";
    }
    out << "  items          " << run.Store().GetNumOfResultAll() << ", "
        << run.Store().GetNumOfResult() << " failed\n";
    for (const std::string& problem : ListProblems(run)) {
        out << "  warning: " << runs::MakePrintable(problem) << "\n";
    }
}

Row DescribeLine(const QELConflictLine_s& line, const std::string& overlap) {
    return {std::to_string(line.window.start), std::to_string(line.window.end), overlap,
            runs::MakePrintable(line.thread), runs::MakePrintable(line.name)};
}

void WriteAnalysis(std::ostream& out, const Analysis& analysis) {
    if (analysis.state == AnalysisState::kRefused) {
        out << "     not analysed: " << analysis.reason << "\n";
        return;
    }
    if (analysis.state == AnalysisState::kMalformed) {
        out << "     warning: " << analysis.reason << ", so not analysed\n";
        return;
    }
    if (analysis.lines.empty()) {
        out << "     warning: " << analysis.reason << "\n";
        return;
    }
    const QELConflictLine_s& own = analysis.lines.front();
    const std::size_t count = analysis.lines.size() - 1;
    out << "     conflicts: " << count << "\n";
    std::vector<Row> rows = {{"start", "end", "overlap", "thread", "name"}, DescribeLine(own, "")};
    for (std::size_t i = 1; i <= count; ++i) {
        const QELConflictLine_s& line = analysis.lines[i];
        rows.push_back(DescribeLine(line, std::to_string(OverlapOf(own.window, line.window))));
    }
    WriteColumns(out, "       ", rows, 4);
}

// Returns the path of a file of the run as the user sees it.
std::string ComposeShownPath(const runs::Run& run, const std::string& file) {
    const bool isInside = file.compare(0, run.folder.size() + 1, run.folder + "/") == 0;
    return isInside ? run.path + file.substr(run.folder.size()) : file;
}

void WritePhoto(std::ostream& out, const LoadedRun& run, unsigned int id) {
    const std::string photo = run.FindPhoto(id);
    if (photo.empty()) {
        out << "     warning: photo missing: "
            << runs::MakePrintable(run.Store().GetResult(id, "detailed")) << "\n";
    } else {
        out << "     photo: " << runs::MakePrintable(ComposeShownPath(run.Source(), photo)) << "\n";
    }
}

void WriteItem(std::ostream& out, LoadedRun& run, unsigned int id) {
    const QELXmlParser& store = run.Store();
    out << "\n"
        << std::string(id < 9 ? 1 : 0, ' ') << " " << id + 1 << ". " << DescribeRow(run, id)
        << "\n";
    WriteIndented(out, "     ", QELItemText::ComposeResult(store, id));
    if (store.GetResultType(id) == RESULT_TYPE_IMAGE) {
        WritePhoto(out, run, id);
    }
    WriteIndented(out, "     ", FindDetailedText(run, id));
    WriteIndented(out, "     ", ValueOf(store.GetFailedItems()[id], "reason"));
    WriteAnalysis(out, run.Analyse(id));
}

std::string DescribeShare(unsigned int part, unsigned int whole) {
    return std::to_string((200UL * part + whole) / (2UL * whole)) + " %";
}

void WriteMostFrequent(std::ostream& out, const Totals& totals) {
    std::vector<std::pair<ItemKey, unsigned int>> items(totals.runsOfItem.begin(),
                                                        totals.runsOfItem.end());
    std::stable_sort(items.begin(), items.end(),
                     [](const auto& one, const auto& other) { return one.second > other.second; });
    std::vector<Row> rows = {{"runs", "share", "type", "codes", "name"}};
    for (const auto& [key, runs] : items) {
        const std::string codes = key[2].empty() && key[3].empty() ? "-" : key[2] + "," + key[3];
        rows.push_back({std::to_string(runs), DescribeShare(runs, totals.runs),
                        runs::MakePrintable(key[0].empty() ? "-" : key[0]),
                        runs::MakePrintable(codes), runs::MakePrintable(key[1])});
    }
    out << "Failed items of " << totals.runs << " runs, most frequent first\n";
    WriteColumns(out, "  ", rows, 2);
}

class TextFormat : public Format {
public:
    bool ListsFrequentItems() const override { return true; }

    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int number) const override {
        out << (number == 0 ? "" : "\n");
        WriteHeading(out, run);
        for (unsigned int id = 0; id < run.Store().GetNumOfResult(); ++id) {
            WriteItem(out, run, id);
        }
    }

    void End(std::ostream& out, const Totals& totals) const override {
        if (totals.runs > 1 && !totals.runsOfItem.empty()) {
            out << "\n";
            WriteMostFrequent(out, totals);
        }
    }
};

}  // namespace

std::unique_ptr<Format> MakeTextFormat() {
    return std::make_unique<TextFormat>();
}

}  // namespace quorvel::report
