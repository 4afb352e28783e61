#ifndef QUORVEL_BENCH_BENCH_DATA_H_
#define QUORVEL_BENCH_BENCH_DATA_H_

#include <string>

#include "QELXmlParser.h"

// A temporary result file with a given number of items.
class BenchData {
public:
    // Writes the file. Every second item is a failed item. The items run on four threads in
    // overlapping time windows. The destructor removes the file.
    explicit BenchData(int items);
    ~BenchData();
    BenchData(const BenchData&) = delete;
    BenchData& operator=(const BenchData&) = delete;

    const std::string& Path() const { return m_Path; }

    // Replaces the items of the store with the items of the file.
    void Load(QELXmlParser& store) const;

private:
    std::string m_Path;
};

#endif  // QUORVEL_BENCH_BENCH_DATA_H_
