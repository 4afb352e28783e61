// Measures the result store: parsing files with several numbers of items, and queries of one item.

#include <benchmark/benchmark.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

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

// Reads the items as ParseFileOfItems does, but calls only libxml2 and the map. Reads no sections,
// writes no log lines and makes no checks.
class BareReader {
public:
    void Read(const char* path) {
        m_Failed.clear();
        m_All.clear();
        m_Document.reset(xmlParseFile(path));
        const xmlNode* list = m_FindChild(xmlDocGetRootElement(m_Document.get()), "FAnetTest");
        for (const xmlNode* node = list->children; node != nullptr; node = node->next) {
            if (xmlStrEqual(node->name, BAD_CAST "test") != 0) {
                m_Add(node);
            }
        }
    }
    std::size_t Size() const { return m_All.size() + m_Failed.size(); }

private:
    struct DocumentDeleter {
        void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    };

    static const xmlNode* m_FindChild(const xmlNode* parent, const char* tag) {
        const xmlNode* node = parent->children;
        while (node != nullptr && xmlStrEqual(node->name, BAD_CAST tag) == 0) {
            node = node->next;
        }
        return node;
    }

    void m_Add(const xmlNode* test) {
        ResultItem item;
        for (const char* key : kKeys) {
            const xmlNode* node = m_FindChild(test, key);
            if (node == nullptr) {
                continue;
            }
            xmlChar* text = xmlNodeListGetString(m_Document.get(), node->children, 1);
            if (text != nullptr) {
                item.emplace(key, reinterpret_cast<const char*>(text));
                xmlFree(text);
            }
        }
        if (item["result"] == "fail") {
            m_Failed.push_back(item);
        }
        m_All.push_back(std::move(item));
    }

    static constexpr const char* kKeys[] = {"type",    "name",    "opcode",   "msgcode",
                                            "imqs",    "result",  "duration", "retrycount",
                                            "spec",    "measure", "detailed", "timeAckAbsolute",
                                            "threadID"};

    std::unique_ptr<xmlDoc, DocumentDeleter> m_Document;
    std::vector<ResultItem> m_Failed;
    std::vector<ResultItem> m_All;
};

// The lower bound of ParseFileOfItems.
void ParseBareItems(benchmark::State& state) {
    const BenchData data(static_cast<int>(state.range(0)));
    BareReader reader;
    for (auto _ : state) {
        reader.Read(data.Path().c_str());
        benchmark::DoNotOptimize(reader.Size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ParseBareItems)->Arg(60)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

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
