#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <vector>

class QELAnalysisData;
class QELXmlParser;

// The time window of an item, in the unit of the result files. A negative number is converted to
// unsigned, and the end may wrap around.
struct QELTimeWindow_s {
    std::uint32_t start;
    std::uint32_t end;
};

// One line of a conflict list: the analysed item or one of its conflicts.
struct QELConflictLine_s {
    QELTimeWindow_s window;
    std::string name;
    // Intentional: a number for the analysed item, the unchanged text of the file for a conflict
    // ("007" gives 7 and 007).
    std::string thread;
    // The index in the list of all items; kNoItem for the analysed item.
    unsigned int item;

    static constexpr unsigned int kNoItem = std::numeric_limits<unsigned int>::max();
};

enum class QELConflictState_e {
    kFound,            // the list has at least the line of the analysed item
    kNoCode,           // the item has no opcode or no msgcode
    kBlocked,          // the code pair of the item is block-listed
    kInvalidArgument,  // a value that the comparison needs is not a number
    kOutOfRange,       // a number that the comparison needs does not fit an int
};

// The conflicts of one failed item.
struct QELConflictList_s {
    QELConflictState_e state;
    unsigned char opcode;   // 0 when it was not read
    unsigned char msgcode;  // 0 when it was not read
    std::string problem;    // the text of the exception; empty for the other states
    // The analysed item, then its conflicts in the order of all items. Empty unless the state is
    // kFound: one invalid number drops all lines.
    std::vector<QELConflictLine_s> lines;
};

// The rules of the conflict analysis. All operations are static, keep no state, and only read the
// result store and the analysis data. Any thread.
class QELConflicts {
public:
    QELConflicts() = delete;

    // Compares the failed item id with all items. Throws as QELAnalysisData::GetCode does for an
    // invalid code of the item itself; no other exception of a number leaves the call.
    static QELConflictList_s Find(const QELXmlParser& parser, QELAnalysisData& analysisData,
                                  unsigned int id);

    // Return the thread and the time window of the item i of all items, which must exist. Throw as
    // std::stoi does.
    static int ReadThread(const QELXmlParser& parser, unsigned int i);
    static QELTimeWindow_s ReadWindow(const QELXmlParser& parser, unsigned int i);
};

// The conflicts of many failed items of one run. The constructor reads every item once. The time of
// a query depends on the number of its conflicts and on the logarithm of the number of items. The
// result store must not change while the index exists. Any thread, but only one thread at a time.
class QELConflictIndex {
public:
    QELConflictIndex(const QELXmlParser& parser, QELAnalysisData& analysisData);

    // Returns what QELConflicts::Find returns, and throws as it does.
    QELConflictList_s Find(unsigned int id) const;

private:
    // An item that takes part in the comparison.
    struct Candidate_s {
        QELTimeWindow_s window;
        int thread;
        unsigned int item;
    };
    // The candidates in the order of one of their two times.
    struct Order_s {
        std::vector<std::uint32_t> times;
        std::vector<std::uint32_t> candidates;
        // For each position, the next position whose candidate ran on another thread.
        std::vector<std::uint32_t> nextThread;
    };
    // The latest end of some candidates, the thread of the candidate with this end, and the latest
    // end on any other thread; kNoEnd without a candidate.
    struct LatestEnd_s {
        std::int64_t end;
        int thread;
        std::int64_t endElsewhere;
    };
    // An invalid number of an item. A comparison that reads the number ends with the exception.
    struct Problem_s {
        // The thread of the item: a failed item on the same thread does not read the number. No
        // value when every failed item reads the number.
        std::optional<int> thread;
        std::exception_ptr exception;
    };

    static constexpr std::int64_t kNoEnd = -1;

    // Returns false when the item i ends every comparison.
    bool m_ReadCandidate(unsigned int i);
    void m_AddWindowProblem(int thread);
    template <typename TimeOf>
    Order_s m_Sort(const TimeOf& timeOf) const;
    void m_BuildTree();
    static LatestEnd_s m_Merge(const LatestEnd_s& left, const LatestEnd_s& right);

    void m_ThrowProblem(int thread) const;
    std::vector<std::uint32_t> m_FindCandidates(const QELTimeWindow_s& own, int thread) const;
    template <typename Visit>
    void m_VisitRange(const Order_s& order, std::size_t first, std::size_t last, int thread,
                      const Visit& visit) const;
    template <typename Visit>
    void m_VisitEnclosing(std::size_t node, const QELTimeWindow_s& own, int thread,
                          const Visit& visit) const;

    const QELXmlParser& m_Parser;
    QELAnalysisData& m_AnalysisData;
    std::vector<Candidate_s> m_Candidates;
    Order_s m_ByStart;
    Order_s m_ByEnd;
    // Over the positions of m_ByStart: the root is 1, the children of i are 2i and 2i + 1.
    std::vector<LatestEnd_s> m_Tree;
    std::vector<Problem_s> m_Problems;  // in the order of the items; at most three
};
