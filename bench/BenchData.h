#ifndef QUORVEL_BENCH_BENCH_DATA_H_
#define QUORVEL_BENCH_BENCH_DATA_H_

#include <string>

#include "QELXmlParser.h"

// Result files of a given size and the store that was filled from them.
class BenchData {
public:
    // Writes a file with so many items, every second of them failed, on four threads with
    // overlapping times. It is removed with the object.
    explicit BenchData(int items);
    ~BenchData();
    BenchData(const BenchData&) = delete;
    BenchData& operator=(const BenchData&) = delete;

    const std::string& Path() const { return m_Path; }

    // Replaces what the store holds by what the file holds.
    void Load(QELXmlParser& store) const;

private:
    std::string m_Path;
};

#endif  // QUORVEL_BENCH_BENCH_DATA_H_
