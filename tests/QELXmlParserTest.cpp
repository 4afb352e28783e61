// QELXmlParser: the store itself, the reading of the two files, and the helpers that all section
// parsers use.

#include "QELXmlParser.h"

#include <libxml/parser.h>

#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "fakes/FailingNew.h"
#include "fakes/XmlSpy.h"
#include "fixtures/StoreTest.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const FILE_NAME = "QELXmlParser.cpp";
const char* const NO_INFORMATION =
    "sn=\nmodel=\noption=\nmm=\nsm=\nss=\nmt=\nbt=\nld1=\nld2=\ndnso=\n";
const char* const NO_NETWORK =
    "type=\nconnection=\npairing elapsed time=\npairing end time=\nmodule start time=\n"
    "module elapsed time=\n";
const char* const NO_SUMMARY = "starttime=\nduration=\nretrycount=\n";

std::string StartMessage(const std::string& path) {
    return "[m_ParseFile] Start!! \n[" + path + "]\n";
}

std::string MissingMessage(const std::string& path) {
    return "[" + path + "] not exist!!\n";
}

std::string CannotFind(const std::string& tag) {
    return "ERROR can`t find <" + tag + "> from XML\n";
}

// A document in memory and its root.
struct Tree {
    explicit Tree(const std::string& text)
        : doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "tree.xml", nullptr, 0),
              &xmlFreeDoc),
          root(xmlDocGetRootElement(doc.get())) {}
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc;
    xmlNodePtr root;
};

std::string NameOf(xmlNodePtr node) {
    return node == nullptr ? "" : reinterpret_cast<const char*>(node->name);
}

class QELXmlParserTest : public StoreTest {};

// The instance

TEST_F(QELXmlParserTest, HasAVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<QELXmlParser>);
}

TEST_F(QELXmlParserTest, IsOneInstance) {
    EXPECT_EQ(QELXmlParser::m_qelXmlParser, nullptr);
    QELXmlParser* store = QELXmlParser::GetInstance();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(QELXmlParser::GetInstance(), store);
    EXPECT_EQ(QELXmlParser::m_qelXmlParser, store);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, FailedAllocationIsLoggedAndTriedAgain) {
    for (int i = 1; i <= 2; ++i) {
        const FailingNew failing;
        EXPECT_EQ(QELXmlParser::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
        EXPECT_EQ(FakeLog::Count("failed to get instance\n"), i);
    }
    EXPECT_THAT(FakeLog::Lines(),
                testing::Each(ErrorLine("failed to get instance\n", FILE_NAME, "GetInstance")));
    EXPECT_NE(QELXmlParser::GetInstance(), nullptr);
    EXPECT_EQ(FakeLog::Count("failed to get instance\n"), 2);
}

TEST_F(QELXmlParserTest, StartsEmpty) {
    const QELXmlParser& store = Store();
    EXPECT_EQ(store.m_doc, nullptr);
    EXPECT_EQ(store.m_rootNode, nullptr);
    EXPECT_EQ(store.GetNumOfResult(), 0U);
    EXPECT_EQ(store.GetNumOfResultAll(), 0U);
    EXPECT_EQ(store.GetInformation(), NO_INFORMATION);
    EXPECT_EQ(store.GetNetworkInfo(), NO_NETWORK);
    EXPECT_EQ(store.GetSummary(), NO_SUMMARY);
    EXPECT_EQ(store.m_networkFailReason, "");
    EXPECT_EQ(store.m_summaryResult, "");
    EXPECT_EQ(store.m_summaryFanet, "");
    EXPECT_EQ(store.m_summaryTestNum, "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// Both files

TEST_F(QELXmlParserTest, NoFileAtAllIsSuccess) {
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(InfoLine(StartMessage(PrivateData::RnscFile()), FILE_NAME, "m_ParseFile"),
                    InfoLine(MissingMessage(PrivateData::RnscFile()), FILE_NAME),
                    InfoLine(StartMessage(PrivateData::MainFile()), FILE_NAME, "m_ParseFile"),
                    InfoLine(MissingMessage(PrivateData::MainFile()), FILE_NAME)));
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_EQ(Store().GetInformation(), NO_INFORMATION);
    EXPECT_EQ(Store().GetNetworkInfo(), NO_NETWORK);
    EXPECT_EQ(Store().GetSummary(), NO_SUMMARY);
    EXPECT_EQ(Store().m_doc, nullptr);
    EXPECT_THAT(PrivateData::Names(), IsEmpty());
}

TEST_F(QELXmlParserTest, RnscFileIsReadBeforeTheMainFile) {
    PrivateData::WriteRnsc(xml::DocumentOf({{{"name", "first"}}}));
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "second"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Messages(), ElementsAre(StartMessage(PrivateData::RnscFile()),
                                                 StartMessage(PrivateData::MainFile())));
    EXPECT_EQ(Store().GetNumOfResult(), 2U);
    EXPECT_EQ(Store().GetResult(0, "name"), "first");
    EXPECT_EQ(Store().GetResult(1, "name"), "second");
    EXPECT_EQ(Store().GetResultFromAll(0, "name"), "first");
    EXPECT_EQ(Store().GetResultFromAll(1, "name"), "second");
}

TEST_F(QELXmlParserTest, MainFileAloneIsEnough) {
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "only"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResultAll(), 1U);
    EXPECT_EQ(Store().GetResult(0, "name"), "only");
    EXPECT_TRUE(LoggedInfo(MissingMessage(PrivateData::RnscFile()), FILE_NAME));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, RnscFileAloneIsEnough) {
    PrivateData::WriteRnsc(xml::DocumentOf({{{"name", "only"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetResult(0, "name"), "only");
    EXPECT_TRUE(LoggedInfo(MissingMessage(PrivateData::MainFile()), FILE_NAME));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, ParsingAgainStartsFromEmpty) {
    LoadItems({{{"name", "a"}}, {{"name", "b"}}});
    fs::remove(PrivateData::MainFile());
    xmlDoc* dropped = Store().m_doc;
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_EQ(Store().m_doc, nullptr);
    EXPECT_EQ(Store().m_rootNode, nullptr);
    xmlFreeDoc(dropped);
}

TEST_F(QELXmlParserTest, InitializeKeepsTheCapacityOfTheLists) {
    QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}}, {{"name", "c"}}});
    const size_t failCapacity = store.m_resultFailData.capacity();
    const size_t allCapacity = store.m_resultAllData.capacity();
    xmlDoc* dropped = store.m_doc;
    store.m_Initialize();
    EXPECT_TRUE(store.m_resultFailData.empty());
    EXPECT_TRUE(store.m_resultAllData.empty());
    EXPECT_EQ(store.m_resultFailData.capacity(), failCapacity);
    EXPECT_EQ(store.m_resultAllData.capacity(), allCapacity);
    xmlFreeDoc(dropped);
}

// The document

TEST_F(QELXmlParserTest, FirstDocumentIsFreedBeforeTheSecondParse) {
    PrivateData::WriteRnsc(xml::DocumentOf({}));
    PrivateData::WriteMain(xml::DocumentOf({}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(XmlSpy::DocumentCalls(),
                ElementsAre("parse qelRnscXml.xml", "free qelRnscXml.xml", "parse qelXml.xml"));
    ASSERT_NE(Store().m_doc, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(Store().m_doc->URL),
                 PrivateData::MainFile().c_str());
    EXPECT_EQ(Store().m_rootNode, Store().m_doc->children);
}

TEST_F(QELXmlParserTest, RnscDocumentStaysWithoutAMainFile) {
    PrivateData::WriteRnsc(xml::DocumentOf({}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("parse qelRnscXml.xml"));
    ASSERT_NE(Store().m_doc, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(Store().m_doc->URL),
                 PrivateData::RnscFile().c_str());
}

// Dropped, not freed: the document can still be read, and freed, here.
TEST_F(QELXmlParserTest, ParsingAgainDropsTheDocument) {
    QELXmlParser& store = LoadItems({{{"name", "kept"}}});
    xmlDoc* dropped = store.m_doc;
    XmlSpy::Clear();
    EXPECT_TRUE(store.ParseFile());
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("parse qelXml.xml"));
    EXPECT_NE(store.m_doc, dropped);
    EXPECT_EQ(NameOf(xmlDocGetRootElement(dropped)), "QELResult");
    xmlFreeDoc(dropped);
}

TEST_F(QELXmlParserTest, DestructorFreesTheDocument) {
    PrivateData::WriteMain(xml::DocumentOf({}));
    auto store = std::make_unique<QELXmlParser>();
    EXPECT_TRUE(store->ParseFile());
    XmlSpy::Clear();
    store.reset();
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("free qelXml.xml"));
}

TEST_F(QELXmlParserTest, DestructorWorksWithoutDocument) {
    auto store = std::make_unique<QELXmlParser>();
    store.reset();
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("free null"));
}

// One file

TEST_F(QELXmlParserTest, AnyRootElementWillDo) {
    PrivateData::WriteMain(
        xml::Document(xml::Element("RNSCTest", xml::Item({{"name", "a"}})), "Whatever"));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetResult(0, "name"), "a");
}

TEST_F(QELXmlParserTest, MissingSectionsAreLoggedInReadingOrder) {
    PrivateData::WriteMain("<r/>");
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine(CannotFind("Information"), FILE_NAME, "m_ParseInformation"),
                            ErrorLine(CannotFind("Network"), FILE_NAME, "m_ParseNetworkFailInfo"),
                            ErrorLine(CannotFind("Network"), FILE_NAME, "m_ParseNetworkInfo"),
                            ErrorLine(CannotFind("Summary"), FILE_NAME, "m_ParseSummary"),
                            ErrorLine(CannotFind("RNSCImage"), FILE_NAME, "m_ParseItemInfoList"),
                            ErrorLine(CannotFind("RNSCTest"), FILE_NAME, "m_ParseItemInfoList"),
                            ErrorLine(CannotFind("FAnetTest"), FILE_NAME, "m_ParseItemInfoList")));
}

TEST_F(QELXmlParserTest, SectionsCountOnlyAsDirectChildrenOfTheRoot) {
    const std::string list = xml::Element("FAnetTest", xml::Item({{"name", "deep"}}));
    PrivateData::WriteMain(xml::Document(xml::Element("Wrapper", list)));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_TRUE(LoggedError(CannotFind("FAnetTest"), FILE_NAME));
}

TEST_F(QELXmlParserTest, FirstOfTwoSectionsIsUsed) {
    PrivateData::WriteMain(
        xml::Document(xml::Section("Information", {{"model", "first"}}) +
                      xml::Section("Information", {{"model", "second"}, {"sn", "2"}})));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "first");
    EXPECT_EQ(Store().m_sn, "");
}

TEST_F(QELXmlParserTest, NamesAreCaseSensitive) {
    PrivateData::WriteMain(xml::Document(xml::Section("information", {{"model", "M"}}) +
                                         xml::Section("Information", {{"Model", "N"}})));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "");
}

TEST_F(QELXmlParserTest, UnknownElementsAndAttributesAreIgnored) {
    PrivateData::WriteMain(xml::Document(
        "<!-- a comment --><Extra>text</Extra>" +
        xml::Element("Information", "<other>x</other><model id=\"attribute\">M</model>")));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetInformation(),
              "sn=\nmodel=M\noption=\nmm=\nsm=\nss=\nmt=\nbt=\nld1=\nld2=\ndnso=\n");
}

// Every element of every section is read once, in the prescribed order of sections and fields.
TEST_F(QELXmlParserTest, SectionsAndFieldsAreReadInOrder) {
    const auto section = [](const std::string& tag, std::vector<std::string> names) {
        xml::Fields fields;
        // The order in the file is the other way round: it has no say.
        for (auto name = names.rbegin(); name != names.rend(); ++name) {
            fields.emplace_back(*name, "v");
        }
        return xml::Section(tag, fields);
    };
    const std::vector<std::string> itemKeys = {"type",    "name",    "opcode",   "msgcode",
                                               "imqs",    "result",  "duration", "retrycount",
                                               "spec",    "measure", "detailed", "timeAckAbsolute",
                                               "threadID"};
    std::string content;
    for (const char* list : {"FAnetTest", "RNSCTest", "RNSCImage"}) {
        content += xml::Element(list, section("test", itemKeys));
    }
    content +=
        section("Summary", {"starttime", "duration", "result", "fanet", "testnum", "retrycount"});
    content += section("Network", {"type", "connection", "pairing_elapsed_time", "pairing_end_time",
                                   "module_start_time", "module_elapsed_time"});
    content += section("Information", {"sn", "model", "option", "mm", "sm", "ss", "mt", "bt", "ld1",
                                       "ld2", "dnso"});
    PrivateData::WriteMain(xml::Document(content));
    EXPECT_TRUE(Store().ParseFile());

    std::vector<std::string> expected = {
        "Information/sn",
        "Information/model",
        "Information/option",
        "Information/mm",
        "Information/sm",
        "Information/ss",
        "Information/mt",
        "Information/bt",
        "Information/ld1",
        "Information/ld2",
        "Information/dnso",
        "Network/type",
        "Network/connection",
        "Network/pairing_elapsed_time",
        "Network/pairing_end_time",
        "Network/module_start_time",
        "Network/module_elapsed_time",
        "Summary/starttime",
        "Summary/duration",
        "Summary/result",
        "Summary/fanet",
        "Summary/testnum",
        "Summary/retrycount",
    };
    for (const char* list : {"RNSCImage", "RNSCTest", "FAnetTest"}) {
        for (const std::string& key : itemKeys) {
            expected.push_back(std::string(list) + "/test/" + key);
        }
    }
    EXPECT_EQ(XmlSpy::ReadElements(), expected);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, ResultFilesAreNeverWritten) {
    const std::string rnsc = xml::DocumentOf({{{"name", "a"}, {"type", "rnsc"}}});
    const std::string broken = "<r><FAnetTest>";
    PrivateData::WriteRnsc(rnsc);
    PrivateData::WriteMain(broken);
    const auto rnscTime = fs::last_write_time(PrivateData::RnscFile());
    const auto mainTime = fs::last_write_time(PrivateData::MainFile());
    EXPECT_FALSE(Store().ParseFile());
    Store().GetResult(0);
    EXPECT_EQ(PrivateData::Read("qelRnscXml.xml"), rnsc);
    EXPECT_EQ(PrivateData::Read("qelXml.xml"), broken);
    EXPECT_EQ(fs::last_write_time(PrivateData::RnscFile()), rnscTime);
    EXPECT_EQ(fs::last_write_time(PrivateData::MainFile()), mainTime);
    EXPECT_THAT(PrivateData::Names(), ElementsAre("qelRnscXml.xml", "qelXml.xml"));
}

// Helpers of the section parsers

TEST_F(QELXmlParserTest, FindNodeReportsAMissingParent) {
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(nullptr, "a"), nullptr);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("Parent Node is NULL\n", FILE_NAME,
                                                        "m_FindNodeWithTagInfo")));
}

TEST_F(QELXmlParserTest, FindNodeTakesTheFirstDirectChildOfThatName) {
    const Tree tree("<r><x><a/></x><A/><a id='1'/><a id='2'/></r>");
    xmlNode* found = QELXmlParser::m_FindNodeWithTagInfo(tree.root, "a");
    EXPECT_EQ(found, tree.root->children->next->next);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, FindNodeSaysNothingWhenNoneMatches) {
    const Tree tree("<r><a/></r>");
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(tree.root, "b"), nullptr);
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(tree.root, ""), nullptr);
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(tree.root->children, "a"), nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, FindNodeComparesNodesOfEveryKind) {
    const Tree tree("<r><a/>some text<!-- c --><text/><comment/></r>");
    xmlNode* text = QELXmlParser::m_FindNodeWithTagInfo(tree.root, "text");
    xmlNode* comment = QELXmlParser::m_FindNodeWithTagInfo(tree.root, "comment");
    ASSERT_NE(text, nullptr);
    ASSERT_NE(comment, nullptr);
    EXPECT_EQ(text->type, XML_TEXT_NODE);
    EXPECT_EQ(comment->type, XML_COMMENT_NODE);
}

TEST_F(QELXmlParserTest, ContentOfNothingIsSkippedSilently) {
    const Tree tree("<r>x</r>");
    std::string content = "before";
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(nullptr, tree.root, content));
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(tree.doc.get(), nullptr, content));
    EXPECT_EQ(content, "before");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

class QELXmlParserNoContentTest : public QELXmlParserTest,
                                  public testing::WithParamInterface<const char*> {};

TEST_P(QELXmlParserNoContentTest, IsLoggedAndLeavesTheValue) {
    const Tree tree(GetParam());
    std::string content = "before";
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(tree.doc.get(), tree.root, content));
    EXPECT_EQ(content, "before");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("Content of current node is NULL\n",
                                                        FILE_NAME, "m_GetContentFromNode")));
}

INSTANTIATE_TEST_SUITE_P(Elements, QELXmlParserNoContentTest,
                         testing::Values("<r/>", "<r></r>", "<r><x>text of a child</x></r>",
                                         "<r><!-- c --></r>"));

struct Content_s {
    const char* file;
    const char* content;
};

class QELXmlParserContentTest : public QELXmlParserTest,
                                public testing::WithParamInterface<Content_s> {};

TEST_P(QELXmlParserContentTest, IsTakenAsItStands) {
    const Tree tree(GetParam().file);
    std::string content = "before";
    EXPECT_TRUE(QELXmlParser::m_GetContentFromNode(tree.doc.get(), tree.root, content));
    EXPECT_EQ(content, GetParam().content);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Elements, QELXmlParserContentTest,
    testing::Values(Content_s{"<r>text</r>", "text"}, Content_s{"<r> </r>", " "},
                    Content_s{"<r>\n\t a b \n</r>", "\n\t a b \n"},
                    Content_s{"<r>a\r\nb</r>", "a\nb"},
                    Content_s{"<r>&lt;b&gt; &amp; &quot;c&apos;</r>", "<b> & \"c'"},
                    Content_s{"<r>&#65;&#x20AC;</r>", "A\xE2\x82\xAC"},
                    Content_s{"<!DOCTYPE r [<!ENTITY e \"inner\">]><r>x&e;y</r>", "xinnery"},
                    Content_s{"<r>a<![CDATA[<b>&amp;]]>c</r>", "a<b>&amp;c"},
                    Content_s{"<r>x<i>y</i>z</r>", "xz"}, Content_s{"<r>x<!-- c -->y</r>", "xy"},
                    Content_s{"<r>M\xC3\xBCnchen \xEC\x84\x9C\xEC\x9A\xB8</r>",
                              "M\xC3\xBCnchen \xEC\x84\x9C\xEC\x9A\xB8"}));

struct Replacement_s {
    const char* text;
    const char* pattern;
    const char* replacement;
    const char* result;
};

class QELXmlParserReplaceTest : public QELXmlParserTest,
                                public testing::WithParamInterface<Replacement_s> {};

TEST_P(QELXmlParserReplaceTest, ReplacesEveryHitOfTheOriginalText) {
    std::string text = GetParam().text;
    QELXmlParser::m_ReplaceString(text, GetParam().pattern, GetParam().replacement);
    EXPECT_EQ(text, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, QELXmlParserReplaceTest,
    testing::Values(Replacement_s{"", ";", "\n", ""}, Replacement_s{"abc", ";", "\n", "abc"},
                    Replacement_s{";a;;b;", ";", "\n", "\na\n\nb\n"},
                    Replacement_s{"a^b", "^", "\n\n", "a\n\nb"},
                    // What was inserted is not searched again, else this would never end.
                    Replacement_s{"a;b", ";", ";;", "a;;b"}, Replacement_s{";;", ";", "x;", "x;x;"},
                    Replacement_s{"aaa", "aa", "b", "ba"}, Replacement_s{"aabb", "ab", "", "ab"},
                    Replacement_s{"abcabc", "abc", "", ""}));

}  // namespace
