#include "report/describe.h"

#include <algorithm>

#include "QELItemText.h"
#include "runs/printable.h"

namespace quorvel::report {

std::string DescribeRow(const LoadedRun& run, unsigned int id) {
    std::string row = QELItemText::ComposeRow(run.Store(), id);
    const app_result_type_e type = run.Store().GetResultType(id);
    const std::string& name = ValueOf(run.Store().GetFailedItems()[id], "name");
    const bool omitsName =
        type == RESULT_TYPE_BT || type == RESULT_TYPE_WIFI || type == RESULT_TYPE_INVALID;
    if (omitsName && !name.empty()) {
        row += (row.empty() ? "" : ", ") + name;
    }
    return row.empty() ? "(no name)" : runs::MakePrintable(row);
}

std::string FindDetailedText(const LoadedRun& run, unsigned int id) {
    const app_result_type_e type = run.Store().GetResultType(id);
    const bool isShown = type != RESULT_TYPE_IMAGE && type != RESULT_TYPE_RNSC &&
                         run.Store().GetFailedItems()[id].count("detailed") != 0;
    return isShown ? run.Store().GetResult(id, "detailed") : "";
}

std::int64_t OverlapOf(const QELTimeWindow_s& one, const QELTimeWindow_s& other) {
    return std::int64_t{std::min(one.end, other.end)} - std::max(one.start, other.start);
}

}  // namespace quorvel::report
