#include "report/loaded_run.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <utility>

#include "runs/check.h"

namespace quorvel::report {

namespace {

const char* DescribeRefusal(QELRefusal_e refusal) {
    switch (refusal) {
        case QELRefusal_e::kRnscItem:
            return "an item of type rnsc is not analysed";
        case QELRefusal_e::kImageItem:
            return "an item of type image is not analysed";
        case QELRefusal_e::kNoCode:
            return "the item has no opcode or no msgcode";
        case QELRefusal_e::kNoCheckTable:
            return "the code pair is block-listed, and the item has no detailed text";
        default:
            return "the item cannot be analysed";
    }
}

const char* DescribeMissingLines(QELConflictState_e state) {
    switch (state) {
        case QELConflictState_e::kNoCode:
            return "the item has no opcode or no msgcode, so no conflicts";
        case QELConflictState_e::kBlocked:
            return "the code pair is block-listed, so no conflicts";
        case QELConflictState_e::kInvalidArgument:
            return "a time, a thread or a code is missing or not a number, so no conflicts";
        case QELConflictState_e::kOutOfRange:
            return "a time, a thread or a code is out of range, so no conflicts";
        case QELConflictState_e::kFound:
            break;
    }
    return "";
}

// Reads the run into the result store of the process, because the analysis reads only this store.
QELXmlParser& Load(runs::Run& run) {
    QELXmlParser* store = QELXmlParser::GetInstance();
    if (store == nullptr) {
        throw std::bad_alloc();
    }
    runs::CheckRun(run, *store);
    return *store;
}

}  // namespace

LoadedRun::LoadedRun(runs::Run run) : m_Run(std::move(run)), m_Store(Load(m_Run)) {}

// Without the release, the store keeps the document of every run.
LoadedRun::~LoadedRun() {
    m_Store.ReleaseDocument();
}

Analysis LoadedRun::Analyse(unsigned int id) {
    Analysis analysis;
    try {
        QELRefusal_e refusal = QELRefusal_e::kAllowed;
        if (!m_AnalysisData.IsValid(id, refusal)) {
            analysis.state = AnalysisState::kRefused;
            analysis.reason = DescribeRefusal(refusal);
            return analysis;
        }
        if (!m_Index) {
            m_Index.emplace(m_Store, m_AnalysisData);
        }
        QELConflictList_s list = m_Index->Find(id);
        analysis.reason = DescribeMissingLines(list.state);
        analysis.lines = std::move(list.lines);
        return analysis;
    } catch (const std::invalid_argument&) {
        analysis.reason = "a code is not a hexadecimal number";
    } catch (const std::out_of_range&) {
        analysis.reason = "a code is out of range";
    }
    analysis.state = AnalysisState::kMalformed;
    return analysis;
}

// Both lists have the same order, and equal items have the same result. A failed item is therefore
// the first equal item after the previous match.
std::vector<unsigned int> LoadedRun::FindFailedPositions() const {
    const std::vector<ResultItem>& failed = m_Store.GetFailedItems();
    const std::vector<ResultItem>& all = m_Store.GetAllItems();
    std::vector<unsigned int> positions;
    for (unsigned int i = 0; i < all.size() && positions.size() < failed.size(); ++i) {
        if (all[i] == failed[positions.size()]) {
            positions.push_back(i);
        }
    }
    return positions;
}

std::optional<Slot> LoadedRun::FindSlot(unsigned int i) const {
    const ResultItem& item = m_Store.GetAllItems()[i];
    if (ValueOf(item, "threadID").empty() || ValueOf(item, "timeAckAbsolute").empty() ||
        ValueOf(item, "duration").empty()) {
        return std::nullopt;
    }
    try {
        const QELTimeWindow_s window = QELConflicts::ReadWindow(m_Store, i);
        return Slot{QELConflicts::ReadThread(m_Store, i), static_cast<int>(window.start),
                    static_cast<int>(window.end - window.start), window};
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

std::optional<long long> LoadedRun::FindSize(const runs::ResultFile& file) const {
    struct stat status {};
    if (stat((m_Run.folder + "/" + file.name).c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_size;
}

std::string LoadedRun::FindPhoto(unsigned int id) const {
    const std::string name = m_Store.GetResult(id, "detailed");
    const auto photo =
        std::find_if(m_Run.photos.begin(), m_Run.photos.end(),
                     [&name](const runs::Photo& known) { return known.name == name; });
    return photo == m_Run.photos.end() ? std::string() : photo->file;
}

const std::string& ValueOf(const ResultItem& item, const char* key) {
    static const std::string kEmpty;
    const auto value = item.find(key);
    return value == item.end() ? kEmpty : value->second;
}

const char* NameOf(runs::FileState state) {
    switch (state) {
        case runs::FileState::kRead:
            return "read";
        case runs::FileState::kMissing:
            return "missing";
        case runs::FileState::kUnreadable:
            return "unreadable";
        case runs::FileState::kDamaged:
            return "damaged";
    }
    return "";
}

std::vector<std::string> ListProblems(const LoadedRun& run) {
    std::vector<std::string> problems;
    for (const runs::ResultFile& file : run.Source().files) {
        if (file.HasProblem()) {
            problems.push_back(runs::DescribeProblem(run.Source(), file));
        }
    }
    if (run.Store().GetNumOfResultAll() == 0) {
        problems.push_back(run.Source().path + ": no item, so nothing was tested");
    }
    return problems;
}

}  // namespace quorvel::report
