// Tests how QELXmlParser handles and logs unreadable and broken result files.

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

const char* const kReportStart = "XML Parsing ERROR, xmlParseFile Failed\n";

// Returns a valid result file in which every text contains the name.
std::string MakeGoodFile(const std::string& name) {
    return xml::Document(
        xml::Section("Information", {{"model", "model of " + name}}) +
        xml::Section("Network", {{"type", "network of " + name}}) +
        xml::Section("Summary", {{"starttime", "start of " + name}}) +
        xml::Element("RNSCImage", xml::Item({{"name", name + " image"}, {"result", "pass"}})) +
        xml::Element("RNSCTest", xml::Item({{"name", name + " rnsc"}, {"result", "fail"}})) +
        xml::Element("FAnetTest", xml::Item({{"name", name + " fanet"}, {"result", "fail"}})));
}

// Parses the broken file with libxml2. Returns the report that the application must log for the
// error record of libxml2, and clears the record.
std::string MakeExpectedReport(const std::string& path) {
    xmlFreeDoc(xmlParseFile(path.c_str()));
    const auto* error = xmlGetLastError();
    std::ostringstream report;
    report << kReportStart << "File: " << error->file << "\nErroCode: " << error->code
           << "\nMessage: " << error->message << "\nAt (Line: " << error->line
           << ", ExNum: " << error->int1 << ", CmNum: " << error->int2 << ")\n\n";
    xmlResetLastError();
    return report.str();
}

class QELXmlParserBadInputTest : public StoreTest {
protected:
    // Expects the values and the items that MakeGoodFile writes for the name.
    static void ExpectContentOf(const std::string& name) {
        EXPECT_EQ(Store().m_model, "model of " + name);
        EXPECT_EQ(Store().m_networkType, "network of " + name);
        EXPECT_EQ(Store().m_summaryStartTime, "start of " + name);
        ASSERT_EQ(Store().GetNumOfResultAll(), 3U);
        ASSERT_EQ(Store().GetNumOfResult(), 2U);
        EXPECT_EQ(Store().GetResultFromAll(0, "name"), name + " image");
        EXPECT_EQ(Store().GetResult(1, "name"), name + " fanet");
    }
};

// A broken file. The kind is part of the test name.
struct BrokenFile {
    const char* kind;
    std::string content;
};

std::ostream& operator<<(std::ostream& out, const BrokenFile& broken) {
    return out << broken.kind;
}

std::vector<BrokenFile> MakeBrokenFiles() {
    const std::string good = MakeGoodFile("good");
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
                                   public testing::WithParamInterface<BrokenFile> {};

TEST_P(QELXmlParserBrokenFileTest, ReportsBrokenMainFileAndKeepsRnscFile) {
    PrivateData::WriteRnsc(MakeGoodFile("rnsc"));
    PrivateData::WriteMain(GetParam().content);
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    ExpectContentOf("rnsc");
    EXPECT_THAT(errors, ElementsAre(ErrorLine(MakeExpectedReport(PrivateData::MainFile()),
                                              kXmlParserSource)));
    EXPECT_EQ(PrivateData::Read("qelXml.xml"), GetParam().content);
    // The RNSC document is freed before the main file is parsed, and the main file has no document.
    EXPECT_EQ(Store().m_doc, nullptr);
}

TEST_P(QELXmlParserBrokenFileTest, ReportsBrokenRnscFileAndReadsMainFile) {
    PrivateData::WriteRnsc(GetParam().content);
    PrivateData::WriteMain(MakeGoodFile("main"));
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    ExpectContentOf("main");
    EXPECT_THAT(errors, ElementsAre(ErrorLine(MakeExpectedReport(PrivateData::RnscFile()),
                                              kXmlParserSource)));
    EXPECT_EQ(PrivateData::Read("qelRnscXml.xml"), GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(Kinds, QELXmlParserBrokenFileTest, testing::ValuesIn(MakeBrokenFiles()),
                         [](const auto& broken) { return std::string(broken.param.kind); });

TEST_F(QELXmlParserBadInputTest, LogsEveryFieldOfErrorRecord) {
    PrivateData::WriteMain("<r>\n<a></b></r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(ErrorLine(std::string(kReportStart) + "File: " + PrivateData::MainFile() +
                                  "\nErroCode: 76\nMessage: Opening and ending tag "
                                  "mismatch: a line 2 and b\n\n"
                                  "At (Line: 2, ExNum: 2, CmNum: 8)\n\n",
                              kXmlParserSource)));
}

TEST_F(QELXmlParserBadInputTest, ClearsErrorRecordAfterReport) {
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST_F(QELXmlParserBadInputTest, ReportsBothBrokenFiles) {
    PrivateData::WriteRnsc("<r>");
    PrivateData::WriteMain("");
    EXPECT_FALSE(Store().ParseFile());
    const std::vector<LogLine> errors = FakeLog::Errors();
    EXPECT_THAT(
        errors,
        ElementsAre(ErrorLine(MakeExpectedReport(PrivateData::RnscFile()), kXmlParserSource),
                    ErrorLine(MakeExpectedReport(PrivateData::MainFile()), kXmlParserSource)));
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserBadInputTest, ReportsFolderInPlaceOfMainFile) {
    fs::create_directory(PrivateData::MainFile());
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(ErrorLine(MakeExpectedReport(PrivateData::MainFile()), kXmlParserSource)));
    EXPECT_TRUE(fs::is_directory(PrivateData::MainFile()));
}

TEST_F(QELXmlParserBadInputTest, ReadsMainFileWhenRnscFileIsFolder) {
    fs::create_directory(PrivateData::RnscFile());
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "A"}}}));
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(ErrorLine(MakeExpectedReport(PrivateData::RnscFile()), kXmlParserSource)));
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
}

// libxml2 cannot open a socket. The error record has no file name, and the null text ends the
// report.
TEST_F(QELXmlParserBadInputTest, EndsReportAtMissingFileName) {
    const int socketFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(socketFd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    PrivateData::MainFile().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_FALSE(Store().ParseFile());
    close(socketFd);
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(std::string(kReportStart) + "File: \n", kXmlParserSource)));
    EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST_F(QELXmlParserBadInputTest, LogsOnlyFirstReportLineWithoutErrorRecord) {
    PrivateData::WriteMain("<r/>");
    const xmlExternalEntityLoader loader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(
        [](const char*, const char*, xmlParserCtxtPtr) -> xmlParserInputPtr { return nullptr; });
    EXPECT_FALSE(Store().ParseFile());
    xmlSetExternalEntityLoader(loader);
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(std::string(kReportStart) + "\n", kXmlParserSource)));
}

TEST_F(QELXmlParserBadInputTest, LogsDocumentWithoutRootAsEmpty) {
    PrivateData::WriteMain("<r/>");
    XmlSpy::HideRoot();
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("XML Parsing ERROR, It`s Empty Doc\n", kXmlParserSource)));
    EXPECT_EQ(Store().m_rootNode, nullptr);
    EXPECT_NE(Store().m_doc, nullptr);
}

// The freed RNSC document leaves a dangling root pointer, which ParseFile does not use.
TEST_F(QELXmlParserBadInputTest, KeepsEarlierRootPointerAfterFailedParse) {
    PrivateData::WriteRnsc(MakeGoodFile("rnsc"));
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_NE(Store().m_rootNode, nullptr);
    EXPECT_THAT(XmlSpy::DocumentCalls(),
                ElementsAre("parse qelRnscXml.xml", "free qelRnscXml.xml", "parse qelXml.xml"));
}

TEST_F(QELXmlParserBadInputTest, TreatsDanglingLinkAsMissingFile) {
    fs::create_symlink("nowhere", PrivateData::MainFile());
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_TRUE(LoggedInfo("[" + PrivateData::MainFile() + "] not exist!!\n", kXmlParserSource));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserBadInputTest, ConvertsDeclaredEncodingToUtf8) {
    Load(
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><Information><model>M\xFCnchen</model>"
        "</Information></r>");
    EXPECT_EQ(Store().m_model, "M\xC3\xBCnchen");
}

TEST_F(QELXmlParserBadInputTest, AcceptsByteOrderMark) {
    Load("\xEF\xBB\xBF<r><Information><model>M</model></Information></r>");
    EXPECT_EQ(Store().m_model, "M");
}

TEST_F(QELXmlParserBadInputTest, IgnoresExternalEntities) {
    PrivateData::Write("secret", "secret text");
    Load("<!DOCTYPE r [<!ENTITY e SYSTEM \"file://" + PrivateData::Path("secret") +
         "\">]><r><Information><model>a&e;b</model></Information></r>");
    EXPECT_THAT(Store().m_model, testing::Not(HasSubstr("secret")));
}

TEST_F(QELXmlParserBadInputTest, StoresNothingFromBrokenFile) {
    const std::string good = MakeGoodFile("main");
    PrivateData::WriteMain(good.substr(0, good.rfind('<')));
    EXPECT_FALSE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "");
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserBadInputTest, ReadsGoodFileAfterBrokenFile) {
    PrivateData::WriteMain("<r>");
    EXPECT_FALSE(Store().ParseFile());
    PrivateData::WriteMain(MakeGoodFile("main"));
    EXPECT_TRUE(Store().ParseFile());
    ExpectContentOf("main");
}

}  // namespace
