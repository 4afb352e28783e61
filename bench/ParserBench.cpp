// Measures the result store: parsing a file, by the number of items, and queries of one item.

#include <benchmark/benchmark.h>

#include <filesystem>

#include "BenchData.h"
#include "QELXmlParser.h"

namespace {

void ParseFileOfItems(benchmark::State& state) {
    const BenchData data(static_cast<int>(state.range(0)));
    QELXmlParser store;
    for (auto _ : state) {
        data.Load(store);
        benchmark::DoNotOptimize(store.GetNumOfResultAll());
    }
    const auto bytes = static_cast<int64_t>(std::filesystem::file_size(data.Path()));
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ParseFileOfItems)->Arg(60)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void ItemText(benchmark::State& state) {
    const BenchData data(60);
    QELXmlParser store;
    data.Load(store);
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.GetResult(0));
    }
}
BENCHMARK(ItemText);

void DetailedOfItem(benchmark::State& state) {
    const BenchData data(60);
    QELXmlParser store;
    data.Load(store);
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.GetResult(0, "detailed"));
    }
}
BENCHMARK(DetailedOfItem);

}  // namespace
