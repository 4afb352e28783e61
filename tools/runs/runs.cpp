#include "runs/runs.h"

#include <algorithm>
#include <array>
#include <deque>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

#include "runs/archive.h"
#include "runs/check.h"

namespace quorvel::runs {

namespace {

namespace fs = std::filesystem;

bool HasResultFiles(const std::string& folder) {
    const Run run;
    return std::any_of(run.files.begin(), run.files.end(), [&folder](const ResultFile& file) {
        std::error_code error;
        const fs::file_type type = fs::symlink_status(folder + "/" + file.name, error).type();
        return type != fs::file_type::not_found && type != fs::file_type::none;
    });
}

Run ReadFolder(const std::string& path, Reading reading) {
    Run run;
    run.path = path;
    run.folder = fs::absolute(path).lexically_normal();
    if (reading == Reading::kNow) {
        CheckRun(run);
    }
    return run;
}

// Searches folders level by level, so that a limit cuts off the deepest folders. One object for
// each call of FindRuns.
class Search {
public:
    Search(const Limits& limits, Reading reading) : m_Reading(reading), m_Left(limits) {}

    SearchResult InFolder(const std::string& path) {
        m_Folders.push_back({path, 0});
        while (!m_Folders.empty()) {
            const Folder folder = std::move(m_Folders.front());
            m_Folders.pop_front();
            m_Visit(folder);
        }
        if (m_Left.entries < 0) {
            m_Result.problems.push_back(path + ": too many entries; not all are searched");
        }
        if (m_HasDeeper && m_Result.runs.empty()) {
            m_Result.problems.push_back(path + ": folders below level " +
                                        std::to_string(kMaxDepth) + " are not searched");
        }
        return std::move(m_Result);
    }

    SearchResult InArchive(const std::string& path) {
        m_Result.runs = ReadArchive(path, m_Left, m_Result.problems);
        return std::move(m_Result);
    }

private:
    struct Folder {
        std::string path;
        int depth;
    };

    void m_Visit(const Folder& folder) {
        std::error_code error;
        // Checked first: the limit can stop the loop before the loop reaches the result files.
        bool hasResultFiles = HasResultFiles(folder.path);
        fs::directory_iterator entry(folder.path, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (--m_Left.entries < 0) {
                break;
            }
            // Without permission to enter the folder, only its list of names shows the files.
            hasResultFiles = desktop::IsResultFile(entry->path().filename()) || hasResultFiles;
            m_Consider(*entry, folder.depth);
        }
        if (error) {
            m_Result.problems.push_back(folder.path + ": " + error.message());
        }
        if (hasResultFiles) {
            m_Result.runs.push_back(ReadFolder(folder.path, m_Reading));
        }
    }

    // Queues a folder and reads an archive. Opens no link and no device.
    void m_Consider(const fs::directory_entry& entry, int depth) {
        std::error_code error;
        const fs::file_type type = entry.symlink_status(error).type();
        if (type == fs::file_type::directory && IsUnfinished(entry.path().filename())) {
            m_Result.problems.push_back(entry.path().string() + ": unfinished capture, left out");
        } else if (type == fs::file_type::directory) {
            m_HasDeeper = m_HasDeeper || depth == kMaxDepth;
            if (depth < kMaxDepth) {
                m_Folders.push_back({entry.path(), depth + 1});
            }
        } else if (type == fs::file_type::regular && IsArchive(entry.path().filename())) {
            std::vector<Run> runs = ReadArchive(entry.path(), m_Left, m_Result.problems);
            std::move(runs.begin(), runs.end(), std::back_inserter(m_Result.runs));
        }
    }

    Reading m_Reading;
    SearchResult m_Result;
    std::deque<Folder> m_Folders;
    Limits m_Left;
    bool m_HasDeeper = false;
};

// Returns the path of the archive that the path leads through; an empty path without such an
// archive.
fs::path FindArchiveAbove(const fs::path& path) {
    fs::path archive;
    for (const fs::path& part : path) {
        archive /= part;
        std::error_code error;
        if (IsArchive(archive.filename()) && fs::is_regular_file(archive, error)) {
            return archive;
        }
    }
    return {};
}

// Returns the runs in a folder of the archive, or in the folder of a result file of the archive.
SearchResult FindInsideArchive(const fs::path& archive, const fs::path& path,
                               const Limits& limits) {
    fs::path inner = path.lexically_normal().lexically_relative(archive.lexically_normal());
    if (desktop::IsResultFile(inner.filename()) || inner.filename().empty()) {
        inner = inner.parent_path();
    }
    SearchResult result = Search(limits, Reading::kNow).InArchive(archive);
    const std::string folder = (archive / inner).string();
    const auto isOutside = [&](const Run& run) {
        return !inner.empty() && inner != "." && run.path != folder &&
               run.path.rfind(folder + "/", 0) != 0;
    };
    result.runs.erase(std::remove_if(result.runs.begin(), result.runs.end(), isOutside),
                      result.runs.end());
    return result;
}

SearchResult Find(const std::string& path, const Limits& limits, Reading reading) {
    std::error_code error;
    const fs::path target = fs::canonical(path, error);
    const fs::path archive = error ? FindArchiveAbove(path) : fs::path();
    if (!archive.empty()) {
        return FindInsideArchive(archive, path, limits);
    }
    const fs::file_status status = error ? fs::file_status() : fs::status(target, error);
    SearchResult result;
    if (error) {
        result.failure = path + ": " + error.message();
    } else if (fs::is_directory(status)) {
        return Search(limits, reading).InFolder(path);
    } else if (fs::is_regular_file(status) && desktop::IsResultFile(target.filename())) {
        result.runs.push_back(ReadFolder(target.parent_path(), reading));
    } else if (fs::is_regular_file(status) && IsArchive(target.filename())) {
        return Search(limits, reading).InArchive(path);
    } else {
        result.failure = path + ": not a folder, a result file or an archive";
    }
    return result;
}

}  // namespace

std::time_t Run::Time() const {
    std::tm parts{};
    const char* rest = strptime(startTime.c_str(), " %Y-%m-%d %H:%M", &parts);
    if (rest == nullptr) {
        return fileTime;
    }
    (void)strptime(rest, ":%S", &parts);
    parts.tm_isdst = -1;
    return std::mktime(&parts);
}

std::string DescribeProblem(const Run& run, const ResultFile& file) {
    const std::string line = file.line > 0 ? ":" + std::to_string(file.line) : "";
    return run.path + "/" + file.name + line + ": " + file.problem;
}

std::string DescribeNoRun(const std::string& path) {
    return path + ": no " + desktop::kMainResultFile + " or " + desktop::kRnscResultFile + " found";
}

SearchResult FindRuns(const std::string& path, const Limits& limits, Reading reading) {
    SearchResult result = Find(path, limits, reading);
    std::sort(result.runs.begin(), result.runs.end(), [](const Run& one, const Run& other) {
        return std::make_pair(other.Time(), one.path) < std::make_pair(one.Time(), other.path);
    });
    return result;
}

}  // namespace quorvel::runs
