// Tests how runs are read from archives.

#include "runs/archive.h"

#include <gmock/gmock.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "photos.h"
#include "tools/fixtures/ArchiveFile.h"
#include "tools/fixtures/RunFolder.h"

namespace quorvel::runs {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Returns the regular files below a folder.
std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().lexically_relative(folder));
        }
    }
    return files;
}

class ArchiveTest : public testing::Test {
protected:
    std::vector<runs::Run> Read(const std::string& name) {
        return ReadArchive(m_Folder.Path(name), m_Left, m_Problems);
    }
    std::string Path(const std::string& name) const { return m_Folder.Path(name); }

    RunFolder m_Folder;
    Limits m_Left;
    std::vector<std::string> m_Problems;
};

class ArchiveFormatTest : public ArchiveTest, public testing::WithParamInterface<const char*> {};

TEST_P(ArchiveFormatTest, ReturnsRunsWithPhotos) {
    const std::string name = std::string("log") + GetParam();
    {
        ArchiveFile file(Path(name));
        file.Add("one/capture/1.jpg", "first");
        file.Add("one/qelXml.xml", ComposeMainFile("SN1", "", {kDataFolder + "/capture/1.jpg"}));
        file.Add("one/other.jpg", "not named");
        file.Add("./qelXml.xml", ComposeMainFile("SN2", "", {"/mnt/a/2.jpg"}));
        file.Add("2.jpg", "second");
    }
    const std::vector<runs::Run> runs = Read(name);
    EXPECT_THAT(m_Problems, IsEmpty());
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_EQ(runs[0].path, Path(name));
    EXPECT_EQ(runs[0].serialNumber, "SN2");
    EXPECT_EQ(ReadText(runs[0].photos.at(0).file), "second");
    EXPECT_EQ(runs[1].path, Path(name) + "/one");
    EXPECT_EQ(runs[1].serialNumber, "SN1");
    EXPECT_EQ(ReadText(runs[1].photos.at(0).file), "first");
    EXPECT_NE(runs[0].identity, runs[1].identity);
    EXPECT_THAT(FilesIn(runs[1].folder),
                testing::UnorderedElementsAre("qelXml.xml", "capture/1.jpg"));
}

INSTANTIATE_TEST_SUITE_P(AllFormats, ArchiveFormatTest,
                         testing::Values(".tar", ".tar.gz", ".tgz", ".tar.xz", ".zip"));

TEST_F(ArchiveTest, ReportsTemporaryFolderThatCannotBeWritten) {
    ArchiveFile(Path("a.tar")).Add("qelXml.xml", ComposeMainFile("SN1", "", {}));
    setenv("TMPDIR", "/proc", 1);
    EXPECT_THAT(Read("a.tar"), IsEmpty());
    EXPECT_THAT(m_Problems,
                ElementsAre(testing::AllOf(
                    HasSubstr("/a.tar: /proc/"),
                    HasSubstr("; if the disk is full, TMPDIR can name another folder"))));
}

TEST_F(ArchiveTest, DistinguishesFoldersWithSimilarNames) {
    {
        ArchiveFile file(Path("a.tar"));
        file.Add("r\x01/qelXml.xml", ComposeMainFile("SN1", "", {}));
        file.Add("r\x02/qelXml.xml", ComposeMainFile("SN1", "", {}));
    }
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_NE(runs[0].identity, runs[1].identity);
    EXPECT_EQ(runs[0].identity, Read("a.tar")[0].identity);
}

// libarchive marks the names in a zip as UTF-8 when it writes the zip in a UTF-8 locale.
TEST_F(ArchiveTest, ReadsUtf8NamesInAnyLocale) {
    for (const char* end : {".zip", ".tar"}) {
        const std::string name = std::string("names") + end;
        ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
        ArchiveFile(Path(name)).Add("L\u00E4ufe/qelXml.xml", ComposeMainFile("SN1", ""));
        ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
        const std::vector<runs::Run> runs = Read(name);
        EXPECT_THAT(m_Problems, IsEmpty());
        ASSERT_THAT(runs, SizeIs(1)) << name;
        EXPECT_EQ(runs[0].path, Path(name) + "/L\u00E4ufe");
        EXPECT_EQ(runs[0].serialNumber, "SN1");
    }
}

TEST_F(ArchiveTest, RecognisesArchivesByName) {
    for (const std::string name : {"a.tar", "a.tar.gz", "a.tgz", "a.tar.xz", "a.zip", "A.TGZ"}) {
        EXPECT_TRUE(IsArchive(name)) << name;
    }
    for (const std::string name : {"a.gz", "zip", ".zip", "a.zip.part", ""}) {
        EXPECT_FALSE(IsArchive(name)) << name;
    }
}

TEST_F(ArchiveTest, RemovesTemporaryFolderWithLastRun) {
    ArchiveFile(Path("a.zip")).Add("qelXml.xml", ComposeMainFile("SN1", ""));
    {
        const std::vector<runs::Run> runs = Read("a.zip");
        EXPECT_THAT(m_Folder.TemporaryFiles(), SizeIs(1));
    }
    EXPECT_THAT(m_Folder.TemporaryFiles(), IsEmpty());
}

TEST_F(ArchiveTest, UnpacksOnlyIntoTemporaryFolder) {
    {
        ArchiveFile file(Path("a.tar"));
        const std::string evil = ComposeMainFile("EVIL", "");
        file.Add("../qelXml.xml", evil);
        file.Add("a/../../qelRnscXml.xml", evil);
        file.Add(Path("stick/qelXml.xml"), evil);
        file.Add("1/2/3/4/5/6/7/qelXml.xml", evil);
        file.AddSymbolicLink("x", Path("stick"));
        file.Add("x/qelXml.xml", ComposeMainFile("SN1", "", {"/e/../../p.jpg", "/link/p.jpg"}));
        file.AddSymbolicLink("x/link", Path("stick"));
        file.Add("x/link/p.jpg", "photo");
        file.Add("p.jpg", "photo");
    }
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].serialNumber, "SN1");
    EXPECT_THAT(FilesIn(Path("stick")), IsEmpty());
    EXPECT_THAT(FilesIn(runs[0].unpacked->Path()), SizeIs(2));
}

TEST_F(ArchiveTest, ReportsResultFileThatIsNotRegular) {
    {
        ArchiveFile file(Path("a.tar"));
        file.AddSymbolicLink("a/qelXml.xml", "/etc/passwd");
        file.AddFifo("b/qelXml.xml");
        file.AddHardLink("c/qelXml.xml", "/etc/passwd");
    }
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(3));
    for (const runs::Run& run : runs) {
        EXPECT_EQ(run.files[0].state, FileState::kUnreadable) << run.path;
        EXPECT_EQ(run.files[0].problem, "not a regular file") << run.path;
    }
}

TEST_F(ArchiveTest, ReadsLastOfSeveralEntriesWithSameName) {
    {
        ArchiveFile file(Path("a.tar"));
        file.Add("a/qelXml.xml", ComposeMainFile("SN1", ""));
        file.Add("a/qelXml.xml", ComposeMainFile("SN2", ""));
        file.Add("b/qelXml.xml", ComposeMainFile("SN3", ""));
        file.AddSymbolicLink("b/qelXml.xml", "/etc/passwd");
    }
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_EQ(runs[0].serialNumber, "SN2");
    EXPECT_EQ(runs[1].files[0].state, FileState::kUnreadable);
    EXPECT_EQ(runs[1].serialNumber, "");
}

TEST_F(ArchiveTest, IgnoresTooLongNames) {
    ArchiveFile(Path("a.tar")).Add(std::string(5000, 'a') + "/qelXml.xml", "<a/>");
    EXPECT_THAT(Read("a.tar"), IsEmpty());
    EXPECT_THAT(m_Problems, IsEmpty());
}

// The path of one photo is the folder of another photo, and one photo is too large.
TEST_F(ArchiveTest, OmitsPhotosThatCannotBeUnpacked) {
    {
        ArchiveFile file(Path("a.tar"));
        file.Add("qelXml.xml",
                 ComposeMainFile("SN1", "", {"/p/1.jpg", "/p/1.jpg/2.jpg", "/p/3", "/p/4.jpg"}));
        file.Add("p/1.jpg", "first");
        file.Add("p/1.jpg/2.jpg", "second");
        file.AddZeros("p/3", desktop::kMaxPhotoBytes + 1);
        file.Add("p/4.jpg", "fourth");
    }
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_THAT(m_Problems, ElementsAre(HasSubstr("p/1.jpg/2.jpg: ")));
    EXPECT_EQ(ReadText(runs[0].photos.at(0).file), "first");
    EXPECT_EQ(runs[0].photos.at(1).file, "");
    EXPECT_EQ(runs[0].photos.at(2).file, "");
    EXPECT_EQ(ReadText(runs[0].photos.at(3).file), "fourth");
}

TEST_F(ArchiveTest, ReadsRunAfterTooLargeResultFile) {
    {
        ArchiveFile file(Path("a.zip"));
        file.AddZeros("a/qelXml.xml", (256LL << 20) + 1);
        file.Add("b/qelXml.xml", ComposeMainFile("SN1", ""));
    }
    const std::vector<runs::Run> runs = Read("a.zip");
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_EQ(runs[0].files[0].state, FileState::kUnreadable);
    EXPECT_EQ(runs[1].serialNumber, "SN1");
}

TEST_F(ArchiveTest, ReportsTruncatedArchive) {
    {
        ArchiveFile file(Path("a.tar"));
        file.Add("qelXml.xml", ComposeMainFile("SN1", ""));
        file.Add("log", std::string(100'000, 'x'));
        file.Add("qelRnscXml.xml", ComposeMainFile("SN1", ""));
    }
    fs::resize_file(Path("a.tar"), 60'000);
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(m_Problems, SizeIs(1));
    EXPECT_THAT(m_Problems[0], HasSubstr("a.tar: "));
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].files[0].state, FileState::kRead);
    EXPECT_EQ(runs[0].files[1].state, FileState::kUnreadable);
    EXPECT_THAT(runs[0].files[1].problem, HasSubstr("the archive is incomplete: "));
}

TEST_F(ArchiveTest, ReportsTruncatedResultFile) {
    ArchiveFile(Path("a.tar")).Add("qelXml.xml", ComposeMainFile("SN1", std::string(5000, '1')));
    fs::resize_file(Path("a.tar"), 2000);
    const std::vector<runs::Run> runs = Read("a.tar");
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].files[0].state, FileState::kUnreadable);
    EXPECT_THAT(FilesIn(runs[0].folder), IsEmpty());
}

TEST_F(ArchiveTest, ReportsFileThatIsNoArchive) {
    for (const std::string name : {"a.zip", "a.tar", "a.tgz"}) {
        m_Problems.clear();
        m_Folder.Write(name, "no archive at all, whatever the name is");
        EXPECT_THAT(Read(name), IsEmpty()) << name;
        EXPECT_THAT(m_Problems, SizeIs(1)) << name;
    }
}

TEST_F(ArchiveTest, StopsAtLimitOfUnpackedBytes) {
    m_Left.unpackedBytes = 2 << 20;
    {
        ArchiveFile file(Path("bomb.tar.gz"));
        file.AddZeros("zeros", 20 << 20);
        file.Add("qelXml.xml", ComposeMainFile("SN1", ""));
    }
    EXPECT_THAT(Read("bomb.tar.gz"), IsEmpty());
    EXPECT_THAT(m_Problems, ElementsAre(HasSubstr("too much to unpack")));
}

// The reader unpacks each of these entries, also the entries that are left unread.
TEST_F(ArchiveTest, CountsBytesOfCompressedArchiveOnce) {
    const std::string run = ComposeMainFile("SN1", std::string(1 << 20, ' '));
    {
        ArchiveFile file(Path("a.tar.gz"));
        file.AddZeros("zeros", 1 << 20);
        file.Add("qelXml.xml", run);
    }
    m_Left.unpackedBytes = static_cast<long long>(run.size()) + (1 << 20);
    EXPECT_THAT(Read("a.tar.gz"), SizeIs(1));
    EXPECT_THAT(m_Problems, IsEmpty());
    EXPECT_EQ(m_Left.unpackedBytes, 0);
}

// The reader can skip an entry of an uncompressed archive without unpacking.
TEST_F(ArchiveTest, SkipsLargeEntriesOfUncompressedArchives) {
    m_Left.unpackedBytes = 2 << 20;
    {
        ArchiveFile file(Path("a.tar"));
        file.AddZeros("zeros", 20 << 20);
        file.Add("qelXml.xml", ComposeMainFile("SN1", ""));
    }
    EXPECT_THAT(Read("a.tar"), SizeIs(1));
    EXPECT_THAT(m_Problems, IsEmpty());
}

TEST_F(ArchiveTest, RejectsTooLargeResultFile) {
    ArchiveFile(Path("a.zip")).AddZeros("qelXml.xml", (256LL << 20) + 1);
    const std::vector<runs::Run> runs = Read("a.zip");
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].files[0].state, FileState::kUnreadable);
    EXPECT_THAT(runs[0].files[0].problem, HasSubstr("256 MiB"));
}

TEST_F(ArchiveTest, StopsAtLimitOfEntries) {
    m_Left.entries = 3;
    {
        ArchiveFile file(Path("a.zip"));
        for (const std::string name : {"1", "2", "3", "4"}) {
            file.Add(name, "");
        }
    }
    EXPECT_THAT(Read("a.zip"), IsEmpty());
    EXPECT_THAT(m_Problems, ElementsAre(HasSubstr("too many entries")));
}

}  // namespace

}  // namespace quorvel::runs
