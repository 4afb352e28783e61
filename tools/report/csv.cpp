// CSV as in RFC 4180: a header and one line for each failed item, values unmodified.

#include <ostream>
#include <string>

#include "report/format.h"

namespace quorvel::report {

namespace {

std::string Quote(const std::string& value) {
    if (value.find_first_of("\",\r\n") == std::string::npos) {
        return value;
    }
    std::string quoted = "\"";
    for (const char c : value) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

// Returns an empty text for an item without a comparison.
std::string CountConflicts(const Analysis& analysis) {
    return analysis.lines.empty() ? "" : std::to_string(analysis.lines.size() - 1);
}

class CsvFormat : public Format {
public:
    void Begin(std::ostream& out) const override {
        out << "path,sn,index,type,name,opcode,msgcode,timeAckAbsolute,duration,threadID,conflicts,"
               "detailed\r\n";
    }

    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int /*number*/) const override {
        const std::string prefix =
            Quote(run.Source().path) + "," + Quote(run.Source().serialNumber) + ",";
        for (unsigned int id = 0; id < run.Store().GetNumOfResult(); ++id) {
            const ResultItem& item = run.Store().GetFailedItems()[id];
            out << prefix << id;
            for (const char* key :
                 {"type", "name", "opcode", "msgcode", "timeAckAbsolute", "duration", "threadID"}) {
                out << "," << Quote(ValueOf(item, key));
            }
            out << "," << CountConflicts(run.Analyse(id)) << "," << Quote(ValueOf(item, "detailed"))
                << "\r\n";
        }
    }
};

}  // namespace

std::unique_ptr<Format> MakeCsvFormat() {
    return std::make_unique<CsvFormat>();
}

}  // namespace quorvel::report
