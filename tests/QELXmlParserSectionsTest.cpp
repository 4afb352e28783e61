// Tests how QELXmlParser reads the Information, Network and Summary sections, the panel texts, and
// the item of a network failure.

#include <algorithm>
#include <string>
#include <vector>

#include "QELXmlParser.h"
#include "fakes/XmlSpy.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// An element of a section, and the member that stores its text.
struct SectionField {
    const char* section;
    const char* tag;
    std::string QELXmlParser::*member;
};

const SectionField kSectionFields[] = {
    {"Summary", "starttime", &QELXmlParser::m_summaryStartTime},
    {"Summary", "duration", &QELXmlParser::m_summaryDuration},
    {"Summary", "result", &QELXmlParser::m_summaryResult},
    {"Summary", "fanet", &QELXmlParser::m_summaryFanet},
    {"Summary", "testnum", &QELXmlParser::m_summaryTestNum},
    {"Summary", "retrycount", &QELXmlParser::m_summaryRetryCount},
    {"Network", "type", &QELXmlParser::m_networkType},
    {"Network", "connection", &QELXmlParser::m_networkConnection},
    {"Network", "pairing_elapsed_time", &QELXmlParser::m_pairingElapsedTime},
    {"Network", "pairing_end_time", &QELXmlParser::m_pairingEndTime},
    {"Network", "module_start_time", &QELXmlParser::m_moduleStartTime},
    {"Network", "module_elapsed_time", &QELXmlParser::m_moduleElapsedTime},
    {"Information", "sn", &QELXmlParser::m_sn},
    {"Information", "model", &QELXmlParser::m_model},
    {"Information", "option", &QELXmlParser::m_option},
    {"Information", "mm", &QELXmlParser::m_mm},
    {"Information", "sm", &QELXmlParser::m_sm},
    {"Information", "ss", &QELXmlParser::m_ss},
    {"Information", "mt", &QELXmlParser::m_mt},
    {"Information", "bt", &QELXmlParser::m_bt},
    {"Information", "ld1", &QELXmlParser::m_ld1},
    {"Information", "ld2", &QELXmlParser::m_ld2},
    {"Information", "dnso", &QELXmlParser::m_dnso},
};

// Returns a section with all elements. Each text is the prefix followed by the element name.
std::string MakeFullSection(const std::string& section, const std::string& prefix) {
    xml::Fields fields;
    for (const SectionField& field : kSectionFields) {
        if (field.section == section) {
            fields.emplace_back(field.tag, prefix + field.tag);
        }
    }
    return xml::Section(section, fields);
}

std::string MakeFullFile(const std::string& prefix) {
    return xml::Document(MakeFullSection("Information", prefix) +
                         MakeFullSection("Network", prefix) + MakeFullSection("Summary", prefix));
}

// Returns a file with one item. The Network section has regular values and the network failure.
std::string MakeNetworkFailureFile(const std::string& failedInfo) {
    return xml::Document(MakeFullSection("Information", "x ") +
                         xml::Element("Network",
                                      "<type>outer</type><connection>outer</connection>"
                                      "<pairing_elapsed_time>outer</pairing_elapsed_time>" +
                                          failedInfo) +
                         MakeFullSection("Summary", "x ") +
                         xml::Element("FAnetTest", xml::Item({{"name", "unread"}})));
}

const char* const kFullFailedInfo =
    "<failedinfo><type>wifi</type><connection>none</connection><reason>no AP</reason></failedinfo>";

void ExpectLineCount(const std::string& text, int count) {
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count);
    EXPECT_EQ(text.back(), '\n');
}

class QELXmlParserSectionsTest : public StoreTest {};

TEST_F(QELXmlParserSectionsTest, StoresEveryElement) {
    const QELXmlParser& store = Load(MakeFullFile("x "));
    for (const SectionField& field : kSectionFields) {
        EXPECT_EQ(store.*field.member, std::string("x ") + field.tag)
            << field.section << "/" << field.tag;
    }
    EXPECT_EQ(store.m_networkFailReason, "");
}

TEST_F(QELXmlParserSectionsTest, ReturnsPanelTextsWithLabelsInFixedOrder) {
    const QELXmlParser& store = Load(MakeFullFile("x "));
    EXPECT_EQ(store.GetInformation(),
              "sn=x sn\nmodel=x model\noption=x option\nmm=x mm\nsm=x sm\nss=x ss\nmt=x mt\n"
              "bt=x bt\nld1=x ld1\nld2=x ld2\ndnso=x dnso\n");
    EXPECT_EQ(store.GetNetworkInfo(),
              "type=x type\nconnection=x connection\n"
              "pairing elapsed time=x pairing_elapsed_time\npairing end time=x pairing_end_time\n"
              "module start time=x module_start_time\n"
              "module elapsed time=x module_elapsed_time\n");
    EXPECT_EQ(store.GetSummary(),
              "starttime=x starttime\nduration=x duration\nretrycount=x retrycount\n");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserSectionsTest, ReturnsEveryLabelWhenStoreIsEmpty) {
    ExpectLineCount(Store().GetInformation(), 11);
    ExpectLineCount(Store().GetNetworkInfo(), 6);
    ExpectLineCount(Store().GetSummary(), 3);
}

TEST_F(QELXmlParserSectionsTest, KeepsEmptyValuesForMissingElements) {
    const QELXmlParser& store =
        Load(xml::Document(xml::Section("Information", {{"option", "O2"}, {"model", "M1"}})));
    EXPECT_EQ(store.GetInformation(),
              "sn=\nmodel=M1\noption=O2\nmm=\nsm=\nss=\nmt=\nbt=\nld1=\nld2=\ndnso=\n");
}

TEST_F(QELXmlParserSectionsTest, ReturnsNonEmptyValuesByTag) {
    const QELXmlParser& store =
        Load(xml::Document(xml::Section("Information", {{"sn", "1"}, {"dnso", " a;b "}}) +
                           xml::Section("Network", {{"type", "wifi"}}) +
                           xml::Section("Summary", {{"result", "fail"}, {"duration", "2"}})));
    EXPECT_THAT(store.GetInformationValues(), ElementsAre(Pair("sn", "1"), Pair("dnso", " a;b ")));
    EXPECT_THAT(store.GetNetworkValues(), ElementsAre(Pair("type", "wifi")));
    EXPECT_THAT(store.GetSummaryValues(),
                testing::UnorderedElementsAre(Pair("duration", "2"), Pair("result", "fail")));
}

TEST_F(QELXmlParserSectionsTest, ReturnsReasonOfNetworkFailureAsLastValue) {
    const QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    ASSERT_FALSE(store.GetNetworkValues().empty());
    EXPECT_THAT(store.GetNetworkValues().back(), Pair("reason", "no AP"));
}

TEST_F(QELXmlParserSectionsTest, StoresValuesUnchanged) {
    const QELXmlParser& store =
        Load(xml::Document(xml::Section("Summary", {{"starttime", " \n<1> & 2;3^4 "}})));
    EXPECT_EQ(store.GetSummary(), "starttime= \n<1> & 2;3^4 \nduration=\nretrycount=\n");
}

TEST_F(QELXmlParserSectionsTest, OmitsFailureReasonFromPanelTexts) {
    const QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    EXPECT_EQ(store.m_networkFailReason, "no AP");
    const std::string panels = store.GetInformation() + store.GetNetworkInfo() + store.GetSummary();
    EXPECT_THAT(panels, testing::Not(testing::HasSubstr("no AP")));
    EXPECT_THAT(panels, testing::Not(testing::HasSubstr("reason")));
}

TEST_F(QELXmlParserSectionsTest, LogsMissingSectionsAndReadsRest) {
    PrivateData::WriteMain(xml::Document(
        MakeFullSection("Network", "x ") + xml::Section("RNSCImage", {}) +
        xml::Section("RNSCTest", {}) + xml::Element("FAnetTest", xml::Item({{"name", "a"}}))));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(FormatMissingTagError("Information"), kXmlParserSource),
                            ErrorLine(FormatMissingTagError("Summary"), kXmlParserSource)));
    EXPECT_EQ(Store().m_networkType, "x type");
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
}

TEST_F(QELXmlParserSectionsTest, LogsMissingNetworkTwiceAndReadsRest) {
    PrivateData::WriteMain(
        xml::Document(MakeFullSection("Information", "x ") + MakeFullSection("Summary", "x ") +
                      xml::Section("RNSCImage", {}) + xml::Section("RNSCTest", {}) +
                      xml::Element("FAnetTest", xml::Item({{"name", "a"}}))));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(
            ErrorLine(FormatMissingTagError("Network"), kXmlParserSource, "m_ParseNetworkFailInfo"),
            ErrorLine(FormatMissingTagError("Network"), kXmlParserSource, "m_ParseNetworkInfo")));
    EXPECT_EQ(Store().m_sn, "x sn");
    EXPECT_EQ(Store().m_summaryDuration, "x duration");
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
}

TEST_F(QELXmlParserSectionsTest, ReturnsFailureForMissingSections) {
    QELXmlParser& store = Load("<r/>");
    EXPECT_FALSE(store.m_ParseInformation());
    EXPECT_EQ(store.m_ParseNetworkFailInfo(), -1);
    EXPECT_FALSE(store.m_ParseNetworkInfo());
    EXPECT_FALSE(store.m_ParseSummary());
}

TEST_F(QELXmlParserSectionsTest, AcceptsEmptySections) {
    QELXmlParser& store = Load("<r><Information/><Network/><Summary/></r>");
    EXPECT_TRUE(store.m_ParseInformation());
    EXPECT_EQ(store.m_ParseNetworkFailInfo(), 0);
    EXPECT_TRUE(store.m_ParseNetworkInfo());
    EXPECT_TRUE(store.m_ParseSummary());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserSectionsTest, ClearsEveryValueBeforeParsingAgain) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    xmlDoc* previous = store.m_doc;
    PrivateData::Clean();
    EXPECT_TRUE(store.ParseFile());
    for (const SectionField& field : kSectionFields) {
        EXPECT_EQ(store.*field.member, "") << field.section << "/" << field.tag;
    }
    EXPECT_EQ(store.m_networkFailReason, "");
    xmlFreeDoc(previous);
}

// --- Tests of both result files

TEST_F(QELXmlParserSectionsTest, PrefersMainFileValues) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    const QELXmlParser& store = Load(MakeFullFile("main "));
    for (const SectionField& field : kSectionFields) {
        EXPECT_EQ(store.*field.member, std::string("main ") + field.tag);
    }
}

TEST_F(QELXmlParserSectionsTest, KeepsRnscValuesMissingInMainFile) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    const QELXmlParser& store =
        Load(xml::Document(xml::Section("Summary", {{"duration", "main"}})));
    EXPECT_EQ(store.m_summaryDuration, "main");
    EXPECT_EQ(store.m_summaryStartTime, "rnsc starttime");
    EXPECT_EQ(store.m_sn, "rnsc sn");
    EXPECT_EQ(store.m_moduleElapsedTime, "rnsc module_elapsed_time");
}

TEST_F(QELXmlParserSectionsTest, LogsEmptyElementAndKeepsEarlierValue) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    PrivateData::WriteMain("<r><Information><model></model><sn/></Information><Network/></r>");
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "rnsc model");
    EXPECT_EQ(Store().m_sn, "rnsc sn");
    EXPECT_EQ(FakeLog::Count("Content of current node is NULL\n"), 2);
    EXPECT_THAT(FakeLog::Errors(), testing::Contains(ErrorLine("Content of current node is NULL\n",
                                                               kXmlParserSource)));
}

TEST_F(QELXmlParserSectionsTest, UsesFirstOfTwoEqualElements) {
    EXPECT_EQ(Load("<r><Summary><duration>1</duration><duration>2</duration></Summary></r>")
                  .m_summaryDuration,
              "1");
}

// --- Tests of the network failure

TEST_F(QELXmlParserSectionsTest, StoresNetworkFailureAsOnlyItem) {
    const QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    ASSERT_EQ(store.GetNumOfResult(), 1U);
    ASSERT_EQ(store.GetNumOfResultAll(), 1U);
    EXPECT_THAT(
        store.m_resultFailData[0],
        ElementsAre(Pair("connection", "none"), Pair("reason", "no AP"), Pair("type", "wifi")));
    EXPECT_EQ(store.m_resultAllData, store.m_resultFailData);
    EXPECT_EQ(store.GetResultType(0), RESULT_TYPE_WIFI);
    EXPECT_EQ(store.GetResult(0, "reason"), "no AP");
}

TEST_F(QELXmlParserSectionsTest, StopsReadingFileAfterNetworkFailure) {
    PrivateData::WriteMain(MakeNetworkFailureFile(kFullFailedInfo));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_networkType, "wifi");
    EXPECT_EQ(Store().m_networkConnection, "none");
    EXPECT_EQ(Store().m_networkFailReason, "no AP");
    EXPECT_EQ(Store().m_pairingElapsedTime, "");
    EXPECT_EQ(Store().m_summaryStartTime, "");
    EXPECT_EQ(Store().m_sn, "x sn");
    // Missing item lists are not logged.
    EXPECT_TRUE(LoggedNoError());
    const std::vector<std::string> read = XmlSpy::ReadElements();
    ASSERT_EQ(read.size(), 14U);
    EXPECT_THAT(std::vector<std::string>(read.begin() + 11, read.end()),
                ElementsAre("Network/failedinfo/type", "Network/failedinfo/connection",
                            "Network/failedinfo/reason"));
}

TEST_F(QELXmlParserSectionsTest, KeepsRnscValuesAfterNetworkFailureInMainFile) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    const QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    EXPECT_EQ(store.m_pairingElapsedTime, "rnsc pairing_elapsed_time");
    EXPECT_EQ(store.m_pairingEndTime, "rnsc pairing_end_time");
    EXPECT_EQ(store.m_moduleStartTime, "rnsc module_start_time");
    EXPECT_EQ(store.m_moduleElapsedTime, "rnsc module_elapsed_time");
    EXPECT_EQ(store.m_summaryStartTime, "rnsc starttime");
    EXPECT_EQ(store.m_summaryRetryCount, "rnsc retrycount");
    EXPECT_EQ(store.m_networkType, "wifi");
}

TEST_F(QELXmlParserSectionsTest, ReadsMainFileAfterNetworkFailureInRnscFile) {
    PrivateData::WriteRnsc(MakeNetworkFailureFile(kFullFailedInfo));
    const QELXmlParser& store = LoadItems({{{"name", "a"}, {"type", "app"}}});
    ASSERT_EQ(store.GetNumOfResult(), 2U);
    EXPECT_EQ(store.GetResult(0, "reason"), "no AP");
    EXPECT_EQ(store.GetResult(1, "name"), "a");
}

TEST_F(QELXmlParserSectionsTest, StoresNetworkFailureWithEmptyFieldsAsEmptyItem) {
    PrivateData::WriteMain(
        MakeNetworkFailureFile("<failedinfo><type/><connection/><reason/></failedinfo>"));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(FakeLog::Count("Content of current node is NULL\n"), 3);
    ASSERT_EQ(Store().GetNumOfResult(), 1U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
    EXPECT_THAT(Store().m_resultAllData[0], IsEmpty());
    EXPECT_EQ(Store().GetResultType(0), RESULT_TYPE_INVALID);
    EXPECT_EQ(Store().m_networkType, "");
}

TEST_F(QELXmlParserSectionsTest, StoresNetworkFailureWithoutFieldsAsEmptyItem) {
    PrivateData::WriteMain(MakeNetworkFailureFile("<failedinfo/>"));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_TRUE(LoggedNoError());
    ASSERT_EQ(Store().GetNumOfResult(), 1U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
}

// The store keeps the type from the RNSC file. The item has only fields from the main file.
TEST_F(QELXmlParserSectionsTest, OmitsRnscValuesFromNetworkFailureItem) {
    PrivateData::WriteRnsc(MakeFullFile("rnsc "));
    const QELXmlParser& store =
        Load(MakeNetworkFailureFile("<failedinfo><reason>no AP</reason><type/></failedinfo>"));
    ASSERT_EQ(store.GetNumOfResult(), 1U);
    EXPECT_THAT(store.m_resultFailData[0], ElementsAre(Pair("reason", "no AP")));
    EXPECT_EQ(store.m_networkType, "rnsc type");
}

TEST_F(QELXmlParserSectionsTest, ReturnsOneForNetworkFailure) {
    QELXmlParser& store = Load(MakeNetworkFailureFile(kFullFailedInfo));
    EXPECT_EQ(store.m_ParseNetworkFailInfo(), 1);
    EXPECT_EQ(store.GetNumOfResult(), 2U);
}

}  // namespace
