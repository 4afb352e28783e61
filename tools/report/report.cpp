#include "report/report.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "report/jobs.h"
#include "report/output.h"
#include "report/progress.h"
#include "runs/printable.h"
#include "runs/runs.h"

namespace quorvel::report {

namespace {

std::string ComposeMessage(const std::string& text) {
    return "quorvel-report: " + runs::MakePrintable(text);
}

// The runs of all paths in the order of the paths, and the problems.
struct Found {
    std::vector<runs::Run> runs;
    std::vector<std::string> problems;
};

// Returns one message for a path without a run. Moves the problems of the path itself from problems
// to the message.
std::string DescribeMissingRun(const std::string& path, std::vector<std::string>& problems) {
    std::string message = runs::DescribeNoRun(path);
    const std::string prefix = path + ": ";
    const auto isOther = [&](const std::string& problem) { return problem.rfind(prefix, 0) != 0; };
    const auto first = std::stable_partition(problems.begin(), problems.end(), isOther);
    std::for_each(first, problems.end(), [&](const std::string& problem) {
        message += "; " + problem.substr(prefix.size());
    });
    problems.erase(first, problems.end());
    return message;
}

void FindRunsAt(const std::string& path, Found& found) {
    runs::SearchResult result = runs::FindRuns(path, {}, runs::Reading::kLater);
    // FindRuns sorts by time, but a run that is read later has no time yet.
    std::stable_sort(result.runs.begin(), result.runs.end(),
                     [](const auto& one, const auto& other) { return one.path < other.path; });
    if (!result.failure.empty()) {
        found.problems.push_back(result.failure);
    } else if (result.runs.empty()) {
        found.problems.push_back(DescribeMissingRun(path, result.problems));
    }
    std::move(result.problems.begin(), result.problems.end(), std::back_inserter(found.problems));
    for (runs::Run& run : result.runs) {
        // Every format is UTF-8. The folder of the run keeps its bytes.
        run.path = runs::MakeUtf8(run.path);
    }
    std::move(result.runs.begin(), result.runs.end(), std::back_inserter(found.runs));
}

void Add(const RunResult& result, Totals& totals) {
    ++totals.runs;
    totals.runsWithFailures += result.failedItems > 0 ? 1 : 0;
    totals.items += result.items;
    totals.failedItems += result.failedItems;
    for (const ItemKey& key : result.failedKeys) {
        ++totals.runsOfItem[key];
    }
}

int WriteFound(const Options& options, const Found& found) {
    const std::unique_ptr<Format> format = MakeFormat(options);
    Output output(options.output);
    // On a terminal that shows the report, the bar would be mixed with the lines of the report.
    Progress progress(output.IsTerminal() ? 0 : found.runs.size());
    Totals totals;
    bool hasProblem = !found.problems.empty();
    for (const std::string& problem : found.problems) {
        progress.WriteLine(ComposeMessage(problem));
    }
    format->Begin(output.Stream());
    WriteRuns(*format, found.runs, options.jobs, output.Stream(), [&](const RunResult& result) {
        Add(result, totals);
        if (!result.problems.empty()) {
            // A terminal that shows the report too then shows the problems after their run.
            output.Stream().flush();
        }
        for (const std::string& problem : result.problems) {
            progress.WriteLine(ComposeMessage(problem));
            hasProblem = true;
        }
        progress.Advance();
    });
    format->End(output.Stream(), totals);
    output.Finish();
    if (hasProblem) {
        return kTrouble;
    }
    return totals.failedItems > 0 ? kSomeFailed : kAllPassed;
}

}  // namespace

int WriteReport(const Options& options) {
    try {
        Found found;
        for (const std::string& path : options.paths) {
            FindRunsAt(path, found);
        }
        return WriteFound(options, found);
    } catch (const std::exception& error) {
        Progress(0).WriteLine(ComposeMessage(error.what()));
        return kTrouble;
    }
}

}  // namespace quorvel::report
