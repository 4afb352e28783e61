#include "QELConflicts.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "QELAnalysisData.h"
#include "QELXmlParser.h"

namespace {

// Returns what std::stoi returns, and throws what std::stoi throws. Faster for up to nine digits.
int ParseNumber(const std::string& text) {
    int number = 0;
    for (const char letter : text) {
        if (letter < '0' || letter > '9' || text.size() > std::numeric_limits<int>::digits10) {
            return std::stoi(text);
        }
        number = number * 10 + (letter - '0');
    }
    return text.empty() ? std::stoi(text) : number;
}

std::uint32_t ParseTime(const std::string& text) {
    return static_cast<std::uint32_t>(ParseNumber(text));
}

// The conflict rule.
bool Conflicts(const QELTimeWindow_s& own, const QELTimeWindow_s& other) {
    const bool startsInside = own.start <= other.start && other.start < own.end;
    const bool endsInside = own.start < other.end && other.end <= own.end;
    const bool encloses = other.start < own.start && own.end < other.end;
    return startsInside || endsInside || encloses;
}

const std::string kOpcode = "opcode";
const std::string kMsgcode = "msgcode";
const std::string kThread = "threadID";
const std::string kStart = "timeAckAbsolute";
const std::string kDuration = "duration";

// Returns the position of key in the item. Tries from and the next two positions first, because a
// search from the root of the map takes longer.
ResultItem::const_iterator FindNear(const ResultItem& item, ResultItem::const_iterator from,
                                    const std::string& key) {
    for (int i = 0; i < 3 && from != item.end(); ++i, ++from) {
        if (from->first == key) {
            return from;
        }
    }
    return item.find(key);
}

// Reads the values of one item that the comparison needs. A missing value is read as an empty text,
// and each read logs an error. The parser must outlive the object. i: index in the list of all
// items.
class ComparedItem {
public:
    ComparedItem(const QELXmlParser& parser, unsigned int i)
        : m_Parser(parser),
          m_Item(parser.GetAllItems()[i]),
          m_Index(i),
          m_MsgcodeAt(m_Item.find(kMsgcode)),
          m_ThreadAt(m_Item.end()) {}

    // Returns whether the item takes part in the comparison: it has a code pair, and the pair is
    // not block-listed. Throws as QELAnalysisData::GetCodeFromAll does.
    bool IsCandidate(QELAnalysisData& analysisData) const {
        unsigned char opcode = 0;
        unsigned char msgcode = 0;
        return m_ReadCode(FindNear(m_Item, m_MsgcodeAt, kOpcode), kOpcode, opcode) &&
               m_ReadCode(m_MsgcodeAt, kMsgcode, msgcode) &&
               !analysisData.IsItInBlockList(opcode, msgcode);
    }

    // Throw as std::stoi does.
    int ReadThread() {
        m_ThreadAt = m_Item.find(kThread);
        return ParseNumber(m_ValueAt(m_ThreadAt, kThread));
    }
    QELTimeWindow_s ReadWindow() const {
        const auto startAt = FindNear(m_Item, m_ThreadAt, kStart);
        const std::uint32_t start = ParseTime(m_ValueAt(startAt, kStart));
        const auto durationAt = FindNear(m_Item, m_Item.begin(), kDuration);
        return {start, start + ParseTime(m_ValueAt(durationAt, kDuration))};
    }

private:
    bool m_ReadCode(ResultItem::const_iterator at, const std::string& key,
                    unsigned char& code) const {
        return QELAnalysisData::GetCodeFromAll(m_Index, &m_ValueAt(at, key), &code);
    }

    const std::string& m_ValueAt(ResultItem::const_iterator at, const std::string& key) const {
        static const std::string kEmpty;
        if (at == m_Item.end()) {
            m_Parser.GetResultFromAll(m_Index, key);  // logs the error
            return kEmpty;
        }
        return at->second;
    }

    const QELXmlParser& m_Parser;
    const ResultItem& m_Item;
    unsigned int m_Index;
    // Where FindNear starts to search for other keys.
    ResultItem::const_iterator m_MsgcodeAt;
    ResultItem::const_iterator m_ThreadAt;
};

QELConflictLine_s MakeLine(const QELXmlParser& parser, const QELTimeWindow_s& window,
                           unsigned int i) {
    return {window, parser.GetResultFromAll(i, "name"), parser.GetResultFromAll(i, "threadID"), i};
}

// Reads the failed item id, and lets collect(own, thread, lines) append its conflicts. Intentional:
// one invalid number removes all lines.
template <typename Collect>
void CollectLines(const QELXmlParser& parser, unsigned int id, QELConflictList_s& list,
                  const Collect& collect) {
    try {
        const int thread = std::stoi(parser.GetResult(id, "threadID"));
        QELTimeWindow_s own = {ParseTime(parser.GetResult(id, "timeAckAbsolute")), 0};
        own.end = own.start + ParseTime(parser.GetResult(id, "duration"));
        list.lines.push_back({own, parser.GetResult(id, "name"), std::to_string(thread),
                              QELConflictLine_s::kNoItem});
        collect(own, thread, list.lines);
        return;
    } catch (const std::invalid_argument& e) {
        list.state = QELConflictState_e::kInvalidArgument;
        list.problem = e.what();
    } catch (const std::out_of_range& e) {
        list.state = QELConflictState_e::kOutOfRange;
        list.problem = e.what();
    }
    list.lines.clear();
}

template <typename Collect>
QELConflictList_s FindLines(const QELXmlParser& parser, QELAnalysisData& analysisData,
                            unsigned int id, const Collect& collect) {
    QELConflictList_s list = {QELConflictState_e::kFound, 0, 0, "", {}};
    if (!analysisData.GetCode(id, "opcode", &list.opcode) ||
        !analysisData.GetCode(id, "msgcode", &list.msgcode)) {
        list.state = QELConflictState_e::kNoCode;
    } else if (analysisData.IsItInBlockList(list.opcode, list.msgcode)) {
        list.state = QELConflictState_e::kBlocked;
    } else {
        CollectLines(parser, id, list, collect);
    }
    return list;
}

}  // namespace

int QELConflicts::ReadThread(const QELXmlParser& parser, unsigned int i) {
    return ComparedItem(parser, i).ReadThread();
}

QELTimeWindow_s QELConflicts::ReadWindow(const QELXmlParser& parser, unsigned int i) {
    return ComparedItem(parser, i).ReadWindow();
}

QELConflictList_s QELConflicts::Find(const QELXmlParser& parser, QELAnalysisData& analysisData,
                                     unsigned int id) {
    return FindLines(parser, analysisData, id,
                     [&](const QELTimeWindow_s& own, int thread, auto& lines) {
                         const unsigned int count = parser.GetNumOfResultAll();
                         for (unsigned int i = 0; i < count; ++i) {
                             ComparedItem item(parser, i);
                             if (!item.IsCandidate(analysisData) || item.ReadThread() == thread) {
                                 continue;
                             }
                             const QELTimeWindow_s other = item.ReadWindow();
                             if (Conflicts(own, other)) {
                                 lines.push_back(MakeLine(parser, other, i));
                             }
                         }
                     });
}

QELConflictIndex::QELConflictIndex(const QELXmlParser& parser, QELAnalysisData& analysisData)
    : m_Parser(parser), m_AnalysisData(analysisData) {
    const unsigned int count = parser.GetNumOfResultAll();
    for (unsigned int i = 0; i < count; ++i) {
        if (!m_ReadCandidate(i)) {
            break;
        }
    }
    m_ByStart = m_Sort([](const Candidate_s& candidate) { return candidate.window.start; });
    m_ByEnd = m_Sort([](const Candidate_s& candidate) { return candidate.window.end; });
    m_BuildTree();
}

bool QELConflictIndex::m_ReadCandidate(unsigned int i) {
    ComparedItem item(m_Parser, i);
    int thread = 0;
    try {
        if (!item.IsCandidate(m_AnalysisData)) {
            return true;
        }
        thread = item.ReadThread();
    } catch (const std::logic_error&) {
        m_Problems.push_back({std::nullopt, std::current_exception()});
        return false;
    }
    try {
        m_Candidates.push_back({item.ReadWindow(), thread, i});
    } catch (const std::logic_error&) {
        m_AddWindowProblem(thread);
    }
    return true;
}

// Keeps the first problem, and the first problem on another thread. Every analysis ends at one of
// these two, so later problems have no effect.
void QELConflictIndex::m_AddWindowProblem(int thread) {
    if (m_Problems.empty() || (m_Problems.size() == 1 && m_Problems[0].thread != thread)) {
        m_Problems.push_back({thread, std::current_exception()});
    }
}

template <typename TimeOf>
QELConflictIndex::Order_s QELConflictIndex::m_Sort(const TimeOf& timeOf) const {
    const std::size_t count = m_Candidates.size();
    Order_s order;
    order.candidates.resize(count);
    std::iota(order.candidates.begin(), order.candidates.end(), 0U);
    std::stable_sort(order.candidates.begin(), order.candidates.end(),
                     [this, &timeOf](std::uint32_t a, std::uint32_t b) {
                         return timeOf(m_Candidates[a]) < timeOf(m_Candidates[b]);
                     });
    order.nextThread.resize(count);
    for (std::size_t i = count; i-- > 0;) {
        const bool isSame = i + 1 < count && m_Candidates[order.candidates[i]].thread ==
                                                 m_Candidates[order.candidates[i + 1]].thread;
        order.nextThread[i] = isSame ? order.nextThread[i + 1] : static_cast<std::uint32_t>(i + 1);
    }
    for (const std::uint32_t candidate : order.candidates) {
        order.times.push_back(timeOf(m_Candidates[candidate]));
    }
    return order;
}

void QELConflictIndex::m_BuildTree() {
    std::size_t leaves = 1;
    while (leaves < m_Candidates.size()) {
        leaves *= 2;
    }
    m_Tree.assign(2 * leaves, {kNoEnd, 0, kNoEnd});
    for (std::size_t i = 0; i < m_Candidates.size(); ++i) {
        const Candidate_s& candidate = m_Candidates[m_ByStart.candidates[i]];
        m_Tree[leaves + i] = {candidate.window.end, candidate.thread, kNoEnd};
    }
    for (std::size_t node = leaves; node-- > 1;) {
        m_Tree[node] = m_Merge(m_Tree[2 * node], m_Tree[2 * node + 1]);
    }
}

QELConflictIndex::LatestEnd_s QELConflictIndex::m_Merge(const LatestEnd_s& left,
                                                        const LatestEnd_s& right) {
    const LatestEnd_s& latest = left.end < right.end ? right : left;
    const LatestEnd_s& other = left.end < right.end ? left : right;
    const std::int64_t otherEnd = other.thread == latest.thread ? other.endElsewhere : other.end;
    return {latest.end, latest.thread, std::max(latest.endElsewhere, otherEnd)};
}

QELConflictList_s QELConflictIndex::Find(unsigned int id) const {
    return FindLines(
        m_Parser, m_AnalysisData, id, [this](const QELTimeWindow_s& own, int thread, auto& lines) {
            m_ThrowProblem(thread);
            for (const std::uint32_t i : m_FindCandidates(own, thread)) {
                lines.push_back(MakeLine(m_Parser, m_Candidates[i].window, m_Candidates[i].item));
            }
        });
}

// Throws what the comparison with all items on other threads throws first.
void QELConflictIndex::m_ThrowProblem(int thread) const {
    for (const Problem_s& problem : m_Problems) {
        if (problem.thread != thread) {
            std::rethrow_exception(problem.exception);
        }
    }
}

// The ranges select at least every conflict; Conflicts decides. A conflict rule that finds more
// items needs wider ranges.
std::vector<std::uint32_t> QELConflictIndex::m_FindCandidates(const QELTimeWindow_s& own,
                                                              int thread) const {
    std::vector<std::uint32_t> found;
    const auto visit = [this, &own, &found](std::uint32_t i) {
        if (Conflicts(own, m_Candidates[i].window)) {
            found.push_back(i);
        }
    };
    const auto from = [](const Order_s& order, std::uint32_t time) {
        const auto it = std::lower_bound(order.times.begin(), order.times.end(), time);
        return static_cast<std::size_t>(it - order.times.begin());
    };
    const auto after = [](const Order_s& order, std::uint32_t time) {
        const auto it = std::upper_bound(order.times.begin(), order.times.end(), time);
        return static_cast<std::size_t>(it - order.times.begin());
    };
    m_VisitRange(m_ByStart, from(m_ByStart, own.start), from(m_ByStart, own.end), thread, visit);
    m_VisitRange(m_ByEnd, after(m_ByEnd, own.start), after(m_ByEnd, own.end), thread, visit);
    m_VisitEnclosing(1, own, thread, visit);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

// Visits the candidates on other threads at the positions from first to last - 1.
template <typename Visit>
void QELConflictIndex::m_VisitRange(const Order_s& order, std::size_t first, std::size_t last,
                                    int thread, const Visit& visit) const {
    for (std::size_t i = first; i < last;) {
        const std::uint32_t candidate = order.candidates[i];
        if (m_Candidates[candidate].thread == thread) {
            i = order.nextThread[i];
        } else {
            visit(candidate);
            ++i;
        }
    }
}

// Visits each candidate below the node that ran on another thread, starts before own and ends after
// own.
template <typename Visit>
void QELConflictIndex::m_VisitEnclosing(std::size_t node, const QELTimeWindow_s& own, int thread,
                                        const Visit& visit) const {
    const LatestEnd_s& latest = m_Tree[node];
    const std::int64_t end = latest.thread == thread ? latest.endElsewhere : latest.end;
    if (end <= static_cast<std::int64_t>(own.end)) {
        return;
    }
    const std::size_t leaves = m_Tree.size() / 2;
    // The leftmost leaf below the node has the earliest start.
    std::size_t leftmost = node;
    while (leftmost < leaves) {
        leftmost *= 2;
    }
    if (m_ByStart.times[leftmost - leaves] >= own.start) {
        return;
    }
    if (node >= leaves) {
        visit(m_ByStart.candidates[node - leaves]);
        return;
    }
    m_VisitEnclosing(2 * node, own, thread, visit);
    m_VisitEnclosing(2 * node + 1, own, thread, visit);
}
