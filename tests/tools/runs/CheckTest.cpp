// Tests the check of the result files of a folder.

#include "runs/check.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fixtures/ResultFiles.h"
#include "photos.h"
#include "runs/printable.h"
#include "tools/fixtures/RunFolder.h"

namespace quorvel::runs {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class CheckTest : public testing::Test {
protected:
    runs::Run Check(const std::string& place = "stick") const {
        runs::Run run;
        run.folder = m_Folder.Path(place);
        CheckRun(run);
        return run;
    }
    ResultFile CheckMainFile(const std::string& content) const {
        m_Folder.Write("stick/qelXml.xml", content);
        return Check().files[0];
    }

    RunFolder m_Folder;
};

TEST_F(CheckTest, ReturnsValuesOfRun) {
    m_Folder.WriteRun("stick", "SN1", "2024-11-18 09:40:42");
    m_Folder.Write("stick/qelRnscXml.xml",
                   xml::Document(xml::Element("RNSCTest", xml::Item({{"result", "pass"}}))));
    const runs::Run run = Check();
    EXPECT_EQ(run.serialNumber, "SN1");
    EXPECT_EQ(run.model, "QE55");
    EXPECT_EQ(run.startTime, "2024-11-18 09:40:42");
    EXPECT_EQ(run.Time(), 1731922842);
    EXPECT_EQ(run.items, 2U);
    EXPECT_EQ(run.failedItems, 1U);
    EXPECT_EQ(run.files[0].state, FileState::kRead);
    EXPECT_EQ(run.files[1].state, FileState::kRead);
}

TEST_F(CheckTest, ReturnsValueThatContainsLabelOfOtherValue) {
    m_Folder.WriteRun("stick", "SN1\nmodel=other\nstarttime=", "2024\nduration=1");
    const runs::Run run = Check();
    EXPECT_EQ(run.serialNumber, "SN1\nmodel=other\nstarttime=");
    EXPECT_EQ(run.model, "QE55");
    EXPECT_EQ(run.startTime, "2024\nduration=1");
}

TEST_F(CheckTest, ReportsMissingFile) {
    m_Folder.WriteRun("stick", "SN1");
    const runs::Run run = Check();
    EXPECT_EQ(run.files[0].state, FileState::kRead);
    EXPECT_EQ(run.files[1].state, FileState::kMissing);
    EXPECT_EQ(run.files[1].problem, "");
}

TEST_F(CheckTest, ReportsEmptyFile) {
    const ResultFile file = CheckMainFile("");
    EXPECT_EQ(file.state, FileState::kDamaged);
    EXPECT_EQ(file.problem, "is empty");
    EXPECT_EQ(file.line, 0);
}

TEST_F(CheckTest, ReportsFirstErrorWithLine) {
    const ResultFile file = CheckMainFile("<a>\n<b>\n</c>\n</a>\n</x>");
    EXPECT_EQ(file.state, FileState::kDamaged);
    EXPECT_THAT(file.problem, HasSubstr("mismatch: b line 2 and c"));
    EXPECT_EQ(file.line, 3);
}

TEST_F(CheckTest, ReportsTruncatedFile) {
    std::string content = ComposeMainFile("SN1", "");
    content.resize(content.size() / 2);
    EXPECT_EQ(CheckMainFile(content).state, FileState::kDamaged);
}

TEST_F(CheckTest, ReportsFileThatIsNotXml) {
    EXPECT_EQ(CheckMainFile("\x1F\x8B\x08 packed").state, FileState::kDamaged);
    EXPECT_EQ(CheckMainFile("   \n").state, FileState::kDamaged);
}

TEST_F(CheckTest, ReportsProblemWithoutControlCharacters) {
    const std::string problem = CheckMainFile("<a>\x1B[2J</a>").problem;
    EXPECT_NE(problem, "");
    EXPECT_EQ(problem, MakePrintable(problem));
}

TEST_F(CheckTest, ShortensLongProblems) {
    const std::string name(1000, 'n');
    EXPECT_LE(CheckMainFile("<a><" + name + "></b></a>").problem.size(), 200U);
}

TEST_F(CheckTest, IgnoresWhiteSpaceBeforeStartTime) {
    m_Folder.WriteRun("stick", "SN1", "\n  2024-11-18 09:40:42\n");
    EXPECT_EQ(Check().Time(), 1731922842);
}

TEST_F(CheckTest, ReportsFileThatIsNotRegular) {
    m_Folder.WriteRun("stick", "SN1");
    ASSERT_EQ(mkfifo(m_Folder.Path("stick/qelRnscXml.xml").c_str(), 0600), 0);
    const runs::Run run = Check();
    EXPECT_EQ(run.files[0].state, FileState::kRead);
    EXPECT_EQ(run.files[1].state, FileState::kUnreadable);
    EXPECT_EQ(run.files[1].problem, "not a regular file");
}

TEST_F(CheckTest, ReportsTooLargeFile) {
    m_Folder.Write("stick/qelXml.xml", "x");
    fs::resize_file(m_Folder.Path("stick/qelXml.xml"), (256LL << 20) + 1);
    const ResultFile file = Check().files[0];
    EXPECT_EQ(file.state, FileState::kUnreadable);
    EXPECT_EQ(file.problem, "larger than 256 MiB");
}

TEST_F(CheckTest, ReportsFileWhoseEntitiesExpandTooFar) {
    std::string value;
    for (int i = 0; i < 2000; ++i) {
        value += "&e;";
    }
    const ResultFile file =
        CheckMainFile("<!DOCTYPE a [<!ENTITY e \"" + std::string(100'000, 'x') +
                      "\">]><a><FAnetTest><test><name>" + value + "</name></test></FAnetTest></a>");
    EXPECT_NE(file.state, FileState::kRead);
    EXPECT_THAT(file.problem, HasSubstr("10,000,000 bytes"));
}

TEST_F(CheckTest, ReadsValidFileWhenOtherFileIsDamaged) {
    m_Folder.WriteRun("stick", "SN1");
    m_Folder.Write("stick/qelRnscXml.xml", "<a>");
    const runs::Run run = Check();
    EXPECT_EQ(run.files[0].state, FileState::kRead);
    EXPECT_EQ(run.files[1].state, FileState::kDamaged);
    EXPECT_EQ(run.failedItems, 1U);
}

TEST_F(CheckTest, ReportsMissingFolder) {
    const runs::Run run = Check("nothing");
    EXPECT_EQ(run.files[0].state, FileState::kUnreadable);
    EXPECT_EQ(run.files[1].problem, "No such file or directory");
}

TEST_F(CheckTest, ReadsFolderWithAnyName) {
    for (const std::string name :
         {"stick/a%20b c", "stick/line\nbreak", "stick/file:", "stick/%"}) {
        m_Folder.WriteRun(name, "SN1");
        EXPECT_EQ(Check(name).serialNumber, "SN1") << name;
    }
}

TEST_F(CheckTest, ReturnsOtherIdentityWhenFilesChange) {
    m_Folder.WriteRun("stick", "SN1");
    const std::string first = Check().identity;
    EXPECT_EQ(Check().identity, first);
    EXPECT_EQ(first.find('\n'), std::string::npos);
    m_Folder.WriteRun("stick", "SN22");
    EXPECT_NE(Check().identity, first);
    const std::string second = Check().identity;
    m_Folder.Write("stick/qelRnscXml.xml", "<a/>");
    EXPECT_NE(Check().identity, second);
}

TEST_F(CheckTest, FindsPhotosOfImageItems) {
    m_Folder.Write("stick/qelXml.xml",
                   ComposeMainFile("SN1", "",
                                   {kDataFolder + "/capture/1.jpg", "/mnt/usb/1.jpg",
                                    "/mnt/usb/missing.jpg", "/mnt/usb/1.jpg"}));
    m_Folder.Write("stick/capture/1.jpg", "x");
    m_Folder.Write("stick/mnt/usb/1.jpg", "y");
    const runs::Run run = Check();
    ASSERT_EQ(run.photos.size(), 3U);
    EXPECT_EQ(run.photos[0].name, kDataFolder + "/capture/1.jpg");
    EXPECT_EQ(run.photos[0].file, m_Folder.Path("stick/capture/1.jpg"));
    EXPECT_EQ(run.photos[1].file, m_Folder.Path("stick/mnt/usb/1.jpg"));
    EXPECT_EQ(run.photos[2].file, "");
}

TEST_F(CheckTest, ReturnsFirstPhotosUpToLimit) {
    std::vector<std::string> photos;
    for (std::size_t i = 0; i <= desktop::kMaxPhotos; ++i) {
        photos.push_back("/" + std::to_string(i));
    }
    m_Folder.Write("stick/qelXml.xml", ComposeMainFile("SN1", "", photos));
    const runs::Run run = Check();
    ASSERT_EQ(run.photos.size(), desktop::kMaxPhotos);
    EXPECT_EQ(run.photos.back().name, photos[desktop::kMaxPhotos - 1]);
}

}  // namespace

}  // namespace quorvel::runs
