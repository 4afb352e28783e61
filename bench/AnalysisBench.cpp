// Measures the analysis: the conflicts of one item for runs of several sizes, and the validity
// rules.

#include <benchmark/benchmark.h>
#include <dlog.h>

#include "BenchData.h"
#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELXmlParser.h"

namespace {

// Fills the result store with a run and creates the analysis data.
QELAnalysisData& LoadStores(int items) {
    BenchData(items).Load(*QELXmlParser::GetInstance());
    delete QELAnalysisData::m_QELAnalysisData;
    QELAnalysisData::m_QELAnalysisData = nullptr;
    return *QELAnalysisData::GetInstance();
}

void ConflictsWithItems(benchmark::State& state) {
    LoadStores(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(QELAnalysis::m_Analyze(10));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ConflictsWithItems)
    ->Arg(60)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

// The lower bound of ConflictsWithItems. Formats only the four log lines that the analysis writes
// for each item.
void LogLinesWithItems(benchmark::State& state) {
    const char* const format = "%s: %s(%d) > id=%d, strCode=%s\n";
    const char* const codeFormat = "%s: %s(%d) > id=%d, retCode=%x\n";
    const char* const file = "QELAnalysisData.cpp";
    for (auto _ : state) {
        for (int i = 0; i < state.range(0); ++i) {
            __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", format, file, "GetCodeFromAll", 117, i,
                         "11");
            __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", codeFormat, file, "GetCodeFromAll", 122, i,
                         0x11);
            __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", format, file, "GetCodeFromAll", 117, i,
                         "2A");
            __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QEL", codeFormat, file, "GetCodeFromAll", 122, i,
                         0x2A);
        }
    }
}
BENCHMARK(LogLinesWithItems)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void Validity(benchmark::State& state) {
    QELAnalysisData& analysisData = LoadStores(60);
    for (auto _ : state) {
        benchmark::DoNotOptimize(analysisData.IsValid(10));
    }
}
BENCHMARK(Validity);

}  // namespace
