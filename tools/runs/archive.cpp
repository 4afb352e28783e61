#include "runs/archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <system_error>

#include "photos.h"
#include "runs/check.h"
#include "runs/descriptor.h"
#include "runs/printable.h"
#include "xml_input.h"

namespace quorvel::runs {

namespace {

namespace fs = std::filesystem;

constexpr const char* kExtensions[] = {".tar", ".tar.gz", ".tgz", ".tar.xz", ".zip"};

// Ends the reading of an archive, or of one entry. what() is the reason.
class ArchiveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string ReasonOf(archive* reader) {
    const char* text = archive_error_string(reader);
    return text == nullptr ? "not a readable archive" : MakePrintable(text);
}

// The place of an entry in its archive.
struct EntryName {
    std::string folder;  // without a slash at its end; empty for the top
    std::string name;
    std::string Path() const { return folder.empty() ? name : folder + "/" + name; }
};

// Splits the name of an entry. Returns no value for a name that leads out of the archive or is too
// long. Returns no value for an entry of an unfinished capture or below too many folders either.
std::optional<EntryName> SplitEntryName(const char* text) {
    if (text == nullptr || text[0] == '/' || std::strlen(text) >= PATH_MAX) {
        return std::nullopt;
    }
    std::vector<std::string> parts;
    for (const fs::path& part : fs::path(text)) {
        if (part == ".." || IsUnfinished(part)) {
            return std::nullopt;
        }
        if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    if (parts.empty() || parts.size() > static_cast<std::size_t>(kMaxDepth) + 1) {
        return std::nullopt;
    }
    EntryName result;
    result.name = parts.back();
    parts.pop_back();
    for (const std::string& part : parts) {
        result.folder += (result.folder.empty() ? "" : "/") + part;
    }
    return result;
}

// Gives the thread a UTF-8 locale. libarchive converts a name that is marked as UTF-8 to the
// locale. In another locale, libarchive loses a name with characters that the locale does not have.
class Utf8Locale {
public:
    Utf8Locale()
        : m_Utf8(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), m_Former(uselocale(m_Utf8)) {}
    ~Utf8Locale() {
        uselocale(m_Former);
        if (m_Utf8 != nullptr) {
            freelocale(m_Utf8);
        }
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t m_Utf8;
    locale_t m_Former;
};

// Reads the entries of an open archive file once, in their order.
class Reader {
public:
    // file: an open file, which is read from its start. Throws ArchiveError for a file that is not
    // an archive.
    Reader(int file, Limits& left)
        : m_Reader(archive_read_new(), &archive_read_free), m_Left(left) {
        archive_read_support_filter_gzip(m_Reader.get());
        archive_read_support_filter_xz(m_Reader.get());
        archive_read_support_format_tar(m_Reader.get());
        archive_read_support_format_gnutar(m_Reader.get());
        archive_read_support_format_zip_seekable(m_Reader.get());
        constexpr std::size_t kBlockBytes = 65536;
        m_Check(lseek(file, 0, SEEK_SET) == 0
                    ? archive_read_open_fd(m_Reader.get(), file, kBlockBytes)
                    : ARCHIVE_FATAL);
    }

    // Moves to the next entry. Returns null at the end of the archive. Throws ArchiveError when the
    // archive is damaged or a limit is reached.
    archive_entry* Next() {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(m_Reader.get(), &entry);
        if (result == ARCHIVE_EOF) {
            return nullptr;
        }
        m_Check(result);
        if (--m_Left.entries < 0) {
            throw ArchiveError("too many entries");
        }
        m_CountUnread(entry);
        m_Entry = entry;
        return entry;
    }

    // Writes the content of the current entry to a new file. Throws ArchiveError when the content
    // is damaged or larger than limit, and std::filesystem::filesystem_error when it cannot be
    // written.
    void Unpack(const std::string& path, long long limit) {
        m_CheckSize(archive_entry_size(m_Entry), limit);
        std::error_code error;
        fs::create_directories(fs::path(path).parent_path(), error);
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        const void* block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        long long written = 0;
        int result = ARCHIVE_OK;
        while ((result = archive_read_data_block(m_Reader.get(), &block, &size, &offset)) ==
               ARCHIVE_OK) {
            const long long counted = std::max(written, m_Unread);
            written += static_cast<long long>(size);
            // A sparse entry skips bytes.
            m_CheckSize(std::max<long long>(offset, written), limit);
            m_Take(std::max(written - counted, 0LL));
            out.seekp(offset).write(static_cast<const char*>(block),
                                    static_cast<std::streamsize>(size));
        }
        if (!out.flush()) {
            const int reason = errno == 0 ? EIO : errno;
            throw fs::filesystem_error("cannot unpack", path,
                                       std::error_code(reason, std::generic_category()));
        }
        if (result != ARCHIVE_EOF) {
            m_Check(result);
            throw ArchiveError("damaged content");
        }
    }

private:
    void m_Check(int result) {
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
            throw ArchiveError(ReasonOf(m_Reader.get()));
        }
    }

    static void m_CheckSize(long long size, long long limit) {
        if (size > limit) {
            throw ArchiveError("an entry is larger than " + std::to_string(limit >> 20) + " MiB");
        }
    }

    void m_Take(long long bytes) {
        m_Left.unpackedBytes -= bytes;
        if (m_Left.unpackedBytes < 0) {
            throw ArchiveError("too much to unpack");
        }
    }

    // Counts the bytes of an entry of a compressed tar. libarchive unpacks these bytes even when
    // the entry is left unread. In other formats, libarchive seeks.
    void m_CountUnread(archive_entry* entry) {
        const bool seeks = archive_filter_count(m_Reader.get()) <= 1;
        m_Unread = seeks ? 0 : std::max<long long>(archive_entry_size(entry), 0);
        m_Take(m_Unread);
    }

    Utf8Locale m_Locale;
    std::unique_ptr<archive, decltype(&archive_read_free)> m_Reader;
    Limits& m_Left;
    archive_entry* m_Entry = nullptr;  // the current entry; owned by m_Reader
    long long m_Unread = 0;            // the bytes of the entry that m_CountUnread has counted
};

// Unpacks one archive. ReadArchive owns the object.
class Unpacker {
public:
    Unpacker(std::string path, int file, Limits& left)
        : m_Path(std::move(path)), m_File(file), m_Left(left) {}

    // Returns the runs. Sets problem to the reason when the archive is not read to its end.
    std::vector<Run> Unpack(const std::string& identity, std::string& problem) {
        problem = m_Pass([this](Reader& reader, archive_entry* entry, const EntryName& name) {
            m_TakeResultFile(reader, entry, name);
        });
        std::vector<Run> runs;
        bool hasPhotos = false;
        for (auto& [folder, run] : m_Runs) {
            m_Check(run, identity + " " + std::to_string(std::hash<std::string>()(folder)),
                    problem);
            hasPhotos = hasPhotos || !run.photos.empty();
        }
        if (hasPhotos && problem.empty()) {
            problem = m_UnpackPhotos();
        }
        for (auto& [folder, run] : m_Runs) {
            runs.push_back(std::move(run));
        }
        return runs;
    }

private:
    using Visitor = std::function<void(Reader&, archive_entry*, const EntryName&)>;

    // Calls visit for each entry with an accepted name. Returns the reason why the archive is not
    // read to its end, or an empty text.
    std::string m_Pass(const Visitor& visit) {
        try {
            Reader reader(m_File, m_Left);
            while (archive_entry* entry = reader.Next()) {
                if (const auto name = SplitEntryName(archive_entry_pathname(entry))) {
                    visit(reader, entry, *name);
                }
            }
        } catch (const ArchiveError& error) {
            return error.what();
        }
        return {};
    }

    static bool m_IsRegular(archive_entry* entry) {
        return archive_entry_filetype(entry) == AE_IFREG &&
               archive_entry_hardlink(entry) == nullptr;
    }

    // Returns the run of a folder of the archive.
    Run& m_RunIn(const std::string& folder) {
        if (m_Unpacked == nullptr) {
            m_Unpacked = std::make_shared<TemporaryFolder>();
        }
        const auto [place, isNew] = m_Runs.try_emplace(folder);
        Run& run = place->second;
        if (isNew) {
            run.path = folder.empty() ? m_Path : m_Path + "/" + folder;
            run.folder = m_Unpacked->Path() + "/" + std::to_string(m_Runs.size());
            run.unpacked = m_Unpacked;
            fs::create_directory(run.folder);
        }
        return run;
    }

    void m_TakeResultFile(Reader& reader, archive_entry* entry, const EntryName& name) {
        if (!desktop::IsResultFile(name.name) || archive_entry_filetype(entry) == AE_IFDIR) {
            return;
        }
        Run& run = m_RunIn(name.folder);
        ResultFile& file = name.name == run.files[0].name ? run.files[0] : run.files[1];
        file = ResultFile{name.name};
        // A later entry of the same name replaces an earlier one.
        fs::remove(run.folder + "/" + name.name);
        if (!m_IsRegular(entry)) {
            file.state = FileState::kUnreadable;
            file.problem = "not a regular file";
            return;
        }
        run.fileTime = std::max(run.fileTime, archive_entry_mtime(entry));
        m_UnpackOrRemove(reader, run.folder + "/" + name.name, file);
    }

    // Removes a file that cannot be unpacked completely. When the rest of the archive cannot be
    // read either, reading the next entry reports the reason.
    static void m_UnpackOrRemove(Reader& reader, const std::string& path, ResultFile& file) {
        try {
            reader.Unpack(path, desktop::kMaxResultFileBytes);
        } catch (const ArchiveError& error) {
            std::error_code ignored;
            fs::remove(path, ignored);
            file.state = FileState::kUnreadable;
            file.problem = error.what();
        }
    }

    // Leaves out a photo that cannot be unpacked completely. Sets problem to the reason of the
    // first such photo.
    static void m_UnpackPhoto(Reader& reader, const std::string& path, const EntryName& name,
                              std::string& problem) {
        std::string reason;
        try {
            reader.Unpack(path, desktop::kMaxPhotoBytes);
            return;
        } catch (const ArchiveError& error) {
            reason = error.what();
        } catch (const fs::filesystem_error& error) {
            reason = error.code().message();
        }
        std::error_code ignored;
        fs::remove(path, ignored);
        if (problem.empty()) {
            problem = MakePrintable(name.Path()) + ": " + reason;
        }
    }

    static void m_Check(Run& run, const std::string& identity, const std::string& problem) {
        const std::time_t time = run.fileTime;
        run.identity = identity;
        for (ResultFile& file : run.files) {
            const bool unpacked = fs::exists(run.folder + "/" + file.name);
            if (!problem.empty() && !unpacked && file.state == FileState::kMissing) {
                file.state = FileState::kUnreadable;
                file.problem = "the archive is incomplete: " + problem;
            }
        }
        CheckRun(run);
        run.fileTime = time;
    }

    std::string m_UnpackPhotos() {
        std::map<std::string, std::string> targets;
        for (const auto& [folder, run] : m_Runs) {
            for (const Photo& photo : run.photos) {
                for (const std::string& place : desktop::ListPhotoPlaces(photo.name)) {
                    targets[EntryName{folder, place}.Path()] = run.folder + "/" + place;
                }
            }
        }
        std::string problem;
        const std::string end =
            m_Pass([&](Reader& reader, archive_entry* entry, const EntryName& name) {
                const auto target = targets.find(name.Path());
                if (target != targets.end() && m_IsRegular(entry)) {
                    m_UnpackPhoto(reader, target->second, name, problem);
                }
            });
        for (auto& [folder, run] : m_Runs) {
            for (Photo& photo : run.photos) {
                photo.file = desktop::FindPhoto(run.folder, photo.name);
            }
        }
        return end.empty() ? problem : end;
    }

    std::string m_Path;
    int m_File;
    Limits& m_Left;
    std::shared_ptr<const TemporaryFolder> m_Unpacked;
    std::map<std::string, Run> m_Runs;  // by the folder in the archive
};

}  // namespace

bool IsArchive(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::any_of(
        std::begin(kExtensions), std::end(kExtensions), [&lower](const std::string& extension) {
            return lower.size() > extension.size() &&
                   lower.compare(lower.size() - extension.size(), extension.size(), extension) == 0;
        });
}

std::vector<Run> ReadArchive(const std::string& path, Limits& left,
                             std::vector<std::string>& problems) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    std::string problem;
    std::vector<Run> runs;
    if (file.Number() < 0 || fstat(file.Number(), &status) != 0) {
        problem = std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        problem = "not a regular file";
    } else {
        try {
            runs = Unpacker(path, file.Number(), left).Unpack(Identify(status), problem);
        } catch (const fs::filesystem_error& error) {
            problem = DescribeUnwritten(error);
        }
    }
    if (!problem.empty()) {
        problems.push_back(path + ": " + problem);
    }
    return runs;
}

}  // namespace quorvel::runs
