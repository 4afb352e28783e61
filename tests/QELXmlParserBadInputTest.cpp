// QELXmlParser: files that cannot be read, or not in full, and what is reported about them.

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "QELXmlParser.h"
#include "fakes/XmlSpy.h"
#include "fixtures/StoreTest.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const char* const FILE_NAME = "QELXmlParser.cpp";
const char* const REPORT_START = "XML Parsing ERROR, xmlParseFile Failed\n";

// A file that is good in every part.
std::string GoodFile(const std::string& name) {
    return xml::Document(
        xml::Section("Information", {{"model", "model of " + name}}) +
        xml::Section("Network", {{"type", "network of " + name}}) +
        xml::Section("Summary", {{"starttime", "start of " + name}}) +
        xml::Element("RNSCImage", xml::Item({{"name", name + " image"}, {"result", "pass"}})) +
        xml::Element("RNSCTest", xml::Item({{"name", name + " rnsc"}, {"result", "fail"}})) +
        xml::Element("FAnetTest", xml::Item({{"name", name + " fanet"}, {"result", "fail"}})));
}

// The report that the record of a failed parse of the file has to give.
std::string ReportFor(const std::string& path) {
    xmlFreeDoc(xmlParseFile(path.c_str()));
    const auto* error = xmlGetLastError();
    std::ostringstream report;
    report << REPORT_START << "File: " << error->file << "\nErroCode: " << error->code
           << "\nMessage: " << error->message << "\nAt (Line: " << error->line
           << ", ExNum: " << error->int1 << ", CmNum: " << error->int2 << ")\n\n";
    xmlResetLastError();
    return report.str();
}

class QELXmlParserBadInputTest : public StoreTest {
protected:
    static void ExpectAllOf(const std::string& name) {
        EXPECT_EQ(Store().m_model, "model of " + name);
        EXPECT_EQ(Store().m_networkType, "network of " + name);
        EXPECT_EQ(Store().m_summaryStartTime, "start of " + name);
        ASSERT_EQ(Store().GetNumOfResultAll(), 3U);
        ASSERT_EQ(Store().GetNumOfResult(), 2U);
        EXPECT_EQ(Store().GetResultFromAll(0, "name"), name + " image");
        EXPECT_EQ(Store().GetResult(1, "name"), name + " fanet");
    }
};

// Every kind of broken file, named for the test.
struct Broken_s {
    const char* kind;
    std::string content;
};

std::ostream& operator<<(std::ostream& out, const Broken_s& broken) {
    return out << broken.kind;
}

std::vector<Broken_s> BrokenFiles() {
    const std::string good = GoodFile("good");
    std::string deep;
    for (int i = 0; i < 300; ++i) {
        deep += "<d>";
    }
    return {
        {"Empty", ""},
        {"OnlyWhiteSpace", " \n"},
        {"NoMarkup", "pass\n"},
        {"OnlyProlog", "<?xml version=\"1.0\"?>\n"},
        {"CutOffInItem", good.substr(0, good.find("good fanet"))},
        {"CutOffInTag", good.substr(0, good.find("<Summary>") + 4)},
        {"LastByteMissing", good.substr(0, good.rfind('>'))},
        {"MismatchedTags", "<r><a></b></r>"},
        {"TwoRoots", "<a/><b/>"},
        {"BareAmpersand", "<r>a & b</r>"},
        {"UnknownEntity", "<r>&nbsp;</r>"},
        {"NotUtf8", "<r>M\xFCnchen</r>"},
        {"OtherEncodingThanDeclared", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\xFC</r>"},
        {"UnknownEncoding", "<?xml version=\"1.0\" encoding=\"no-such\"?><r/>"},
        {"NulByte", std::string("<r>a\0b</r>", 10)},
        {"TooDeep", deep},
        {"EntityLoop", "<!DOCTYPE r [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><r>&a;</r>"},
        {"Binary", std::string("\x7F"
                               "ELF\x02\x01\x01\0\0\0",
                               10)},
    };
}

class QELXmlParserBrokenFileTest : public QELXmlParserBadInputTest,
                                   public testing::WithParamInterface<Broken_s> {};

TEST_P(QELXmlParserBrokenFileTest, AsMainFileIsReportedAndTheOtherStays) {
    PrivateData::WriteRnsc(GoodFile("rnsc"));
    PrivateData::WriteMain(GetParam().content);
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    ExpectAllOf("rnsc");
    EXPECT_THAT(errors, ElementsAre(ErrorLine(ReportFor(PrivateData::MainFile()), FILE_NAME)));
    EXPECT_EQ(PrivateData::Read("qelXml.xml"), GetParam().content);
    // The good file's document went before the parse, and the broken one gave none.
    EXPECT_EQ(Store().m_doc, nullptr);
}

TEST_P(QELXmlParserBrokenFileTest, AsRnscFileIsReportedAndTheOtherIsReadInFull) {
    PrivateData::WriteRnsc(GetParam().content);
    PrivateData::WriteMain(GoodFile("main"));
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    ExpectAllOf("main");
    EXPECT_THAT(errors, ElementsAre(ErrorLine(ReportFor(PrivateData::RnscFile()), FILE_NAME)));
    EXPECT_EQ(PrivateData::Read("qelRnscXml.xml"), GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(Kinds, QELXmlParserBrokenFileTest, testing::ValuesIn(BrokenFiles()),
                         [](const auto& broken) { return std::string(broken.param.kind); });

TEST_F(QELXmlParserBadInputTest, ReportHoldsEveryFieldOfTheRecord) {
    PrivateData::WriteMain("<r>\n<a></b></r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(ErrorLine(std::string(REPORT_START) + "File: " + PrivateData::MainFile() +
                                  "\nErroCode: 76\nMessage: Opening and ending tag "
                                  "mismatch: a line 2 and b\n\n"
                                  "At (Line: 2, ExNum: 2, CmNum: 8)\n\n",
                              FILE_NAME)));
}

TEST_F(QELXmlParserBadInputTest, ReportClearsTheRecord) {
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST_F(QELXmlParserBadInputTest, BothFilesBrokenAreBothReported) {
    PrivateData::WriteRnsc("<r>");
    PrivateData::WriteMain("");
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    EXPECT_THAT(errors, ElementsAre(ErrorLine(ReportFor(PrivateData::RnscFile()), FILE_NAME),
                                    ErrorLine(ReportFor(PrivateData::MainFile()), FILE_NAME)));
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserBadInputTest, FolderInsteadOfFileIsReportedLikeAnEmptyFile) {
    fs::create_directory(PrivateData::MainFile());
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(ReportFor(PrivateData::MainFile()), FILE_NAME)));
    EXPECT_TRUE(fs::is_directory(PrivateData::MainFile()));
}

TEST_F(QELXmlParserBadInputTest, FolderInsteadOfTheOtherFileLeavesTheMainOne) {
    fs::create_directory(PrivateData::RnscFile());
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "A"}}}));
    Store().ParseFile();
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(ReportFor(PrivateData::RnscFile()), FILE_NAME)));
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
}

// A socket cannot be opened, and its record has no file name: the null text stops the report.
TEST_F(QELXmlParserBadInputTest, ReportEndsAtAMissingFileName) {
    const int socketFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(socketFd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    PrivateData::MainFile().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_FALSE(Store().ParseFile());
    close(socketFd);
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(std::string(REPORT_START) + "File: \n", FILE_NAME)));
    EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST_F(QELXmlParserBadInputTest, ReportWithoutRecordIsItsFirstLine) {
    PrivateData::WriteMain("<r/>");
    const xmlExternalEntityLoader loader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(
        [](const char*, const char*, xmlParserCtxtPtr) -> xmlParserInputPtr { return nullptr; });
    EXPECT_FALSE(Store().ParseFile());
    xmlSetExternalEntityLoader(loader);
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(std::string(REPORT_START) + "\n", FILE_NAME)));
}

TEST_F(QELXmlParserBadInputTest, DocumentWithoutRootIsAnEmptyDocument) {
    PrivateData::WriteMain("<r/>");
    XmlSpy::HideRoot();
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("XML Parsing ERROR, It`s Empty Doc\n", FILE_NAME)));
    EXPECT_EQ(Store().m_rootNode, nullptr);
    EXPECT_NE(Store().m_doc, nullptr);
}

TEST_F(QELXmlParserBadInputTest, RootOfTheEarlierFileIsKeptButNotUsedAfterAFailedParse) {
    PrivateData::WriteRnsc(GoodFile("rnsc"));
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_NE(Store().m_rootNode, nullptr);
    EXPECT_THAT(XmlSpy::DocumentCalls(),
                ElementsAre("parse qelRnscXml.xml", "free qelRnscXml.xml", "parse qelXml.xml"));
}

TEST_F(QELXmlParserBadInputTest, DanglingLinkIsAMissingFile) {
    fs::create_symlink("nowhere", PrivateData::MainFile());
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_TRUE(LoggedInfo("[" + PrivateData::MainFile() + "] not exist!!\n", FILE_NAME));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserBadInputTest, OtherEncodingsAreConverted) {
    Load(
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><Information><model>M\xFCnchen</model>"
        "</Information></r>");
    EXPECT_EQ(Store().m_model, "M\xC3\xBCnchen");
}

TEST_F(QELXmlParserBadInputTest, ByteOrderMarksAreAccepted) {
    Load("\xEF\xBB\xBF<r><Information><model>M</model></Information></r>");
    EXPECT_EQ(Store().m_model, "M");
}

TEST_F(QELXmlParserBadInputTest, ExternalEntitiesAreNotLoaded) {
    PrivateData::Write("secret", "secret text");
    Load("<!DOCTYPE r [<!ENTITY e SYSTEM \"file://" + PrivateData::Path("secret") +
         "\">]><r><Information><model>a&e;b</model></Information></r>");
    EXPECT_THAT(Store().m_model, testing::Not(HasSubstr("secret")));
}

TEST_F(QELXmlParserBadInputTest, NothingOfABrokenFileIsStored) {
    const std::string good = GoodFile("main");
    PrivateData::WriteMain(good.substr(0, good.rfind('<')));
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "");
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserBadInputTest, GoodFilesAfterBrokenOnesAreReadInFull) {
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    PrivateData::WriteMain(GoodFile("main"));
    EXPECT_TRUE(Store().ParseFile());
    ExpectAllOf("main");
}

}  // namespace
