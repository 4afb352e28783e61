// JSON Lines: one object for each run, after docs/report.schema.json.

#include <ostream>
#include <string>

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

OrderedJson DescribeLine(const QELConflictLine_s& line) {
    return {{"start", line.window.start},
            {"end", line.window.end},
            {"name", line.name},
            {"thread", line.thread}};
}

OrderedJson DescribeAnalysis(const Analysis& analysis) {
    switch (analysis.state) {
        case AnalysisState::kRefused:
            return {{"state", "refused"}, {"reason", analysis.reason}};
        case AnalysisState::kMalformed:
            return {{"state", "malformed"}, {"reason", analysis.reason}};
        case AnalysisState::kDone:
            break;
    }
    OrderedJson json = {{"state", "done"}};
    OrderedJson conflicts = OrderedJson::array();
    for (const QELConflictLine_s& line : analysis.lines) {
        if (&line == &analysis.lines.front()) {
            json["own"] = DescribeLine(line);
        } else {
            conflicts.push_back(DescribeLine(line));
        }
    }
    json["conflicts"] = std::move(conflicts);
    return json;
}

OrderedJson DescribeItem(LoadedRun& run, unsigned int id) {
    OrderedJson json = {{"index", id}};
    const ResultItem& item = run.Store().GetFailedItems()[id];
    for (const char* key : {"type", "name", "opcode", "msgcode"}) {
        if (item.count(key) != 0) {
            json[key] = ValueOf(item, key);
        }
    }
    for (const auto& field : item) {
        // The value of "detailed" as the screen shows it.
        json[field.first] =
            field.first == "detailed" ? run.Store().GetResult(id, "detailed") : field.second;
    }
    json["analysis"] = DescribeAnalysis(run.Analyse(id));
    return json;
}

class JsonFormat : public Format {
public:
    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int /*number*/) const override {
        const QELXmlParser& store = run.Store();
        OrderedJson head = {
            {"schema", 1}, {"path", run.Source().path}, {"files", OrderedJson::array()}};
        for (const char* name : {"qelRnscXml.xml", "qelXml.xml"}) {
            for (const runs::ResultFile& file : run.Source().files) {
                if (file.name == name) {
                    head["files"].push_back(DescribeFile(file));
                }
            }
        }
        head["information"] = DescribeSection(store.GetInformationValues());
        head["network"] = DescribeSection(store.GetNetworkValues());
        head["summary"] = DescribeSection(store.GetSummaryValues());
        head["items"] = store.GetNumOfResultAll();
        // Written item by item: a large run has no second copy in memory.
        std::string text = Dump(head);
        text.back() = ',';
        out << text << "\"failed\":[";
        for (unsigned int id = 0; id < store.GetNumOfResult(); ++id) {
            out << (id == 0 ? "" : ",") << Dump(DescribeItem(run, id));
        }
        out << "]}\n";
    }
};

}  // namespace

std::unique_ptr<Format> MakeJsonFormat() {
    return std::make_unique<JsonFormat>();
}

}  // namespace quorvel::report
