// Measures the failure analysis: the conflicts of one item, by the size of the run, and the
// validity rules.

#include <benchmark/benchmark.h>

#include "BenchData.h"
#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELXmlParser.h"

namespace {

// Fills the result store with a run and creates the analysis store.
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
BENCHMARK(ConflictsWithItems)->Arg(60)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void Validity(benchmark::State& state) {
    QELAnalysisData& analysisData = LoadStores(60);
    for (auto _ : state) {
        benchmark::DoNotOptimize(analysisData.IsValid(10));
    }
}
BENCHMARK(Validity);

}  // namespace
