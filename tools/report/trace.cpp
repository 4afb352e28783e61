// Trace Event JSON: one process for each run, one thread for each test thread, one complete event
// for each item that has times and a thread.

#include <algorithm>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "report/format.h"
#include "report/json_text.h"

namespace quorvel::report {

namespace {

// The unit of time of the format is the microsecond.
std::int64_t MicrosecondsOf(TimeUnit unit) {
    switch (unit) {
        case TimeUnit::kMicroseconds:
            return 1;
        case TimeUnit::kMilliseconds:
            return 1000;
        case TimeUnit::kSeconds:
            break;
    }
    return 1'000'000;
}

// The events of one run.
class RunTrace {
public:
    RunTrace(std::ostream& out, const LoadedRun& run, unsigned int process, std::int64_t unit)
        : m_Out(out), m_Run(run), m_Process(process), m_Unit(unit) {}

    void Write() {
        const std::string& serialNumber = m_Run.Source().serialNumber;
        const std::string separator = serialNumber.empty() ? "" : " ";
        m_WriteName("process_name", 0, serialNumber + separator + m_Run.Source().path);
        m_NumberThreads();
        for (const auto& [thread, number] : m_Threads) {
            m_WriteName("thread_name", number, "thread " + std::to_string(thread));
        }
        m_WriteItems();
    }

private:
    // The format has no negative threads, so the threads are numbered from 1.
    void m_NumberThreads() {
        for (unsigned int i = 0; i < m_Run.Store().GetNumOfResultAll(); ++i) {
            if (const auto slot = m_Run.FindSlot(i)) {
                m_Threads[slot->thread] = 0;
            }
        }
        unsigned int number = 0;
        for (auto& thread : m_Threads) {
            thread.second = ++number;
        }
    }

    void m_WriteItems() {
        const std::vector<unsigned int> failed = m_Run.FindFailedPositions();
        for (unsigned int i = 0; i < m_Run.Store().GetNumOfResultAll(); ++i) {
            if (const auto slot = m_Run.FindSlot(i)) {
                m_WriteItem(i, *slot, std::binary_search(failed.begin(), failed.end(), i));
            }
        }
    }

    void m_WriteItem(unsigned int i, const Slot& slot, bool isFailed) {
        const ResultItem& item = m_Run.Store().GetAllItems()[i];
        OrderedJson event = {{"ph", "X"},
                             {"name", ValueOf(item, "name")},
                             {"cat", isFailed ? "failed" : "passed"},
                             {"ts", m_Unit * slot.start},
                             {"dur", m_Unit * std::max(slot.duration, 0)},
                             {"pid", m_Process},
                             {"tid", m_Threads[slot.thread]}};
        if (isFailed) {
            event["cname"] = "terrible";
        }
        event["args"] = item;
        m_Out << ",\n" << Dump(event);
    }

    void m_WriteName(const char* kind, unsigned int thread, const std::string& name) {
        const OrderedJson event = {{"ph", "M"},
                                   {"name", kind},
                                   {"pid", m_Process},
                                   {"tid", thread},
                                   {"args", {{"name", name}}}};
        m_Out << (m_Process == 1 && thread == 0 ? "" : ",\n") << Dump(event);
    }

    std::ostream& m_Out;
    const LoadedRun& m_Run;
    unsigned int m_Process;
    std::int64_t m_Unit;
    std::map<int, unsigned int> m_Threads;  // the number of each thread of the result files
};

class TraceFormat : public Format {
public:
    explicit TraceFormat(TimeUnit unit) : m_Unit(MicrosecondsOf(unit)) {}

    void Begin(std::ostream& out) const override {
        out << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n";
    }
    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int number) const override {
        RunTrace(out, run, number + 1, m_Unit).Write();
    }
    void End(std::ostream& out, const Totals& /*totals*/) const override { out << "\n]}\n"; }

private:
    std::int64_t m_Unit;
};

}  // namespace

std::unique_ptr<Format> MakeTraceFormat(TimeUnit unit) {
    return std::make_unique<TraceFormat>(unit);
}

}  // namespace quorvel::report
