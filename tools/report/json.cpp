// JSON Lines: one object for each run, as docs/report.schema.json defines it.

#include <ostream>
#include <string>
#include <vector>

#include "report/format.h"
#include "report/json_text.h"

namespace quorvel::report {

namespace {

OrderedJson DescribeFile(const runs::ResultFile& file) {
    OrderedJson json = {{"name", file.name}, {"state", NameOf(file.state)}};
    if (!file.problem.empty()) {
        json["problem"] = file.problem;
    }
    if (file.line > 0) {
        json["line"] = file.line;
    }
    return json;
}

OrderedJson DescribeSection(const SectionValues& values) {
    OrderedJson json = OrderedJson::object();
    for (const auto& [name, value] : values) {
        json[name] = value;
    }
    return json;
}

// Writes the failed items of one run. The text of a conflict is kept, because one item can be a
// conflict of many failed items.
class FailedItems {
public:
    FailedItems(std::ostream& out, LoadedRun& run)
        : m_Out(out), m_Run(run), m_Ends(run.Store().GetNumOfResultAll()) {}

    void Write() {
        m_Out << "\"failed\":[";
        for (unsigned int id = 0; id < m_Run.Store().GetNumOfResult(); ++id) {
            m_Out << (id == 0 ? "" : ",");
            m_WriteItem(id);
        }
        m_Out << "]";
    }

private:
    void m_WriteItem(unsigned int id) {
        OrderedJson json = {{"index", id}};
        const ResultItem& item = m_Run.Store().GetFailedItems()[id];
        // These keys come first.
        for (const char* key : {"type", "name", "opcode", "msgcode"}) {
            if (item.count(key) != 0) {
                json[key] = ValueOf(item, key);
            }
        }
        for (const auto& [key, value] : item) {
            // The value of "detailed" as the screen shows it.
            json[key] = key == "detailed" ? m_Run.Store().GetResult(id, key) : value;
        }
        std::string text = Dump(json);
        text.pop_back();
        m_Out << text << ",\"analysis\":";
        m_WriteAnalysis(m_Run.Analyse(id));
        m_Out << "}";
    }

    void m_WriteAnalysis(const Analysis& analysis) {
        if (analysis.state != AnalysisState::kDone) {
            const bool isRefused = analysis.state == AnalysisState::kRefused;
            m_Out << Dump(
                {{"state", isRefused ? "refused" : "malformed"}, {"reason", analysis.reason}});
            return;
        }
        m_Out << R"({"state":"done")";
        if (!analysis.lines.empty()) {
            const QELConflictLine_s& own = analysis.lines.front();
            m_Out << ",\"own\":";
            m_WriteLine(own, m_ComposeEnd(own));
        }
        m_Out << ",\"conflicts\":[";
        for (std::size_t i = 1; i < analysis.lines.size(); ++i) {
            const QELConflictLine_s& line = analysis.lines[i];
            std::string& end = m_Ends[line.item];
            if (end.empty()) {
                end = m_ComposeEnd(line);
            }
            m_Out << (i == 1 ? "" : ",");
            m_WriteLine(line, end);
        }
        m_Out << "]}";
    }

    void m_WriteLine(const QELConflictLine_s& line, const std::string& end) {
        m_Out << "{\"start\":" << line.window.start << ",\"end\":" << line.window.end << end;
    }

    static std::string m_ComposeEnd(const QELConflictLine_s& line) {
        return Dump({{"name", line.name}, {"thread", line.thread}}).replace(0, 1, ",");
    }

    std::ostream& m_Out;
    LoadedRun& m_Run;
    // The end of the line of a conflict for each item of all items; empty before its first use.
    std::vector<std::string> m_Ends;
};

class JsonFormat : public Format {
public:
    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int /*number*/) const override {
        const QELXmlParser& store = run.Store();
        OrderedJson head = {
            {"schema", 1}, {"path", run.Source().path}, {"files", OrderedJson::array()}};
        // In the order in which the files are read.
        const auto& files = run.Source().files;
        for (auto file = files.rbegin(); file != files.rend(); ++file) {
            head["files"].push_back(DescribeFile(*file));
        }
        head["information"] = DescribeSection(store.GetInformationValues());
        head["network"] = DescribeSection(store.GetNetworkValues());
        head["summary"] = DescribeSection(store.GetSummaryValues());
        head["items"] = store.GetNumOfResultAll();
        // Written item by item, so that a large run has no second copy in memory.
        std::string text = Dump(head);
        text.back() = ',';
        out << text;
        FailedItems(out, run).Write();
        out << "}\n";
    }
};

}  // namespace

std::unique_ptr<Format> MakeJsonFormat() {
    return std::make_unique<JsonFormat>();
}

}  // namespace quorvel::report
