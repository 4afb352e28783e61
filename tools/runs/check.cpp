#include "runs/check.h"

#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <set>

#include "QELXmlParser.h"
#include "paths.h"
#include "photos.h"
#include "runs/descriptor.h"
#include "runs/printable.h"
#include "xml_input.h"

namespace quorvel::runs {

namespace {

// A message of libxml2 can quote names of any length.
constexpr std::size_t kMaxProblemBytes = 200;

void Reject(ResultFile& file, FileState state, const std::string& problem, int line = 0) {
    file.state = state;
    file.problem = problem;
    file.line = line;
}

// Sets the state of a file that cannot be opened.
void RejectUnopened(ResultFile& file, int error) {
    if (error == ELOOP) {
        Reject(file, FileState::kUnreadable, "is a symbolic link");
    } else if (error == ENXIO) {
        Reject(file, FileState::kUnreadable, "not a regular file");
    } else if (error != ENOENT) {
        Reject(file, FileState::kUnreadable, std::strerror(error));
    }
}

// Checks the file without reading its content. Adds the file to the identity and the time of the
// run. Returns whether the file can be parsed.
bool Inspect(ResultFile& file, int folder, std::string& identity, std::time_t& time) {
    const Descriptor opened(openat(folder, file.name.c_str(),
                                   O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (opened.Number() < 0 || fstat(opened.Number(), &status) != 0) {
        RejectUnopened(file, errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        Reject(file, FileState::kUnreadable, "not a regular file");
        return false;
    }
    identity += file.name + " " + Identify(status) + " ";
    time = std::max(time, status.st_mtime);
    if (status.st_size == 0) {
        Reject(file, FileState::kDamaged, "is empty");
    }
    return status.st_size > 0;
}

// Collects what libxml2 reports while the two files are parsed.
class XmlProblems {
public:
    // folder: the path that the parser gets.
    XmlProblems(std::array<ResultFile, 2>& files, std::string folder)
        : m_Files(files), m_Folder(std::move(folder)) {
        desktop::LimitXmlInput([this](const std::string& line) { m_OnLimit(line); },
                               desktop::ResultFileLinks::kReject);
        xmlSetStructuredErrorFunc(this, m_OnError);
    }
    ~XmlProblems() {
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        desktop::LimitXmlInput([](const std::string&) {});
    }
    XmlProblems(const XmlProblems&) = delete;
    XmlProblems& operator=(const XmlProblems&) = delete;

private:
    // Keeps the first problem of a file. Later problems are mostly its consequences.
    static void m_Set(ResultFile& file, FileState state, std::string problem, int line) {
        if (file.state == FileState::kRead) {
            problem.erase(std::min(problem.find('\n'), problem.size()));
            Reject(file, state, Shorten(MakePrintable(problem), kMaxProblemBytes), line);
        }
    }

    void m_OnLimit(const std::string& line) {
        for (ResultFile& file : m_Files) {
            const std::string prefix = m_Folder + "/" + file.name + ": ";
            if (line.compare(0, prefix.size(), prefix) == 0) {
                m_Set(file, FileState::kUnreadable, line.substr(prefix.size()), 0);
            }
        }
    }

    static void m_OnError(void* data, xmlErrorPtr error) {
        if (error->level != XML_ERR_FATAL || error->file == nullptr || error->message == nullptr) {
            return;
        }
        auto* self = static_cast<XmlProblems*>(data);
        for (ResultFile& file : self->m_Files) {
            if (self->m_Folder + "/" + file.name == error->file) {
                m_Set(file, FileState::kDamaged, error->message, error->line);
            }
        }
    }

    std::array<ResultFile, 2>& m_Files;
    std::string m_Folder;
};

// Returns the value of an element; an empty text without such a value.
std::string FindValue(const SectionValues& values, const std::string& element) {
    for (const auto& [name, value] : values) {
        if (name == element) {
            return value;
        }
    }
    return {};
}

void ReadValues(Run& run, const QELXmlParser& store) {
    const SectionValues information = store.GetInformationValues();
    run.serialNumber = FindValue(information, "sn");
    run.model = FindValue(information, "model");
    run.startTime = FindValue(store.GetSummaryValues(), "starttime");
    run.items = store.GetNumOfResultAll();
    run.failedItems = store.GetNumOfResult();
}

void FindPhotos(Run& run, const QELXmlParser& store) {
    std::set<std::string> names;
    run.photos.clear();
    for (unsigned int i = 0; i < store.GetNumOfResult(); ++i) {
        if (store.GetResultType(i) != RESULT_TYPE_IMAGE ||
            run.photos.size() == desktop::kMaxPhotos) {
            continue;
        }
        const std::string name = store.GetResult(i, "detailed");
        if (!name.empty() && names.insert(name).second) {
            run.photos.push_back({name, desktop::FindPhoto(run.folder, name)});
        }
    }
}

void Parse(Run& run, const std::string& folder, QELXmlParser& store) {
    bool parsed = false;
    {
        const XmlProblems problems(run.files, folder);
        parsed = store.ParseFolder(folder);
    }
    if (!parsed &&
        std::none_of(run.files.begin(), run.files.end(), std::mem_fn(&ResultFile::HasProblem))) {
        // The error of libxml2 names no file.
        for (ResultFile& file : run.files) {
            if (file.state == FileState::kRead) {
                Reject(file, FileState::kDamaged, "not well-formed");
            }
        }
    }
    ReadValues(run, store);
    FindPhotos(run, store);
}

}  // namespace

std::string Identify(const struct stat& status) {
    return std::to_string(status.st_dev) + "." + std::to_string(status.st_ino) + "." +
           std::to_string(status.st_size) + "." + std::to_string(status.st_mtim.tv_sec) + "." +
           std::to_string(status.st_mtim.tv_nsec);
}

bool IsUnfinished(const std::string& name) {
    return name.rfind(desktop::kUnfinishedPrefix, 0) == 0;
}

void CheckRun(Run& run) {
    QELXmlParser store;
    CheckRun(run, store);
}

void CheckRun(Run& run, QELXmlParser& store) {
    const Descriptor folder(open(run.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.Number() < 0) {
        const int error = errno;
        for (ResultFile& file : run.files) {
            Reject(file, FileState::kUnreadable, std::strerror(error));
        }
        // Clears the store, because this path has no result file.
        store.ParseFolder("/dev/null");
        return;
    }
    std::string identity;
    for (ResultFile& file : run.files) {
        if (file.state == FileState::kMissing &&
            Inspect(file, folder.Number(), identity, run.fileTime)) {
            file.state = FileState::kRead;
        }
    }
    if (run.identity.empty()) {
        run.identity = identity;
    }
    // libxml2 would take some paths of a user for URLs.
    Parse(run, "/proc/self/fd/" + std::to_string(folder.Number()), store);
}

}  // namespace quorvel::runs
