// Tests the QELXmlParser instance, the parsing of both result files, and the node helpers.

#include "QELXmlParser.h"

#include <libxml/parser.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "fakes/FailingNew.h"
#include "fakes/XmlSpy.h"
#include "fixtures/StoreTest.h"
#include "fixtures/UsedTime.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kEmptyInformation =
    "sn=\nmodel=\noption=\nmm=\nsm=\nss=\nmt=\nbt=\nld1=\nld2=\ndnso=\n";
const char* const kEmptyNetworkInfo =
    "type=\nconnection=\npairing elapsed time=\npairing end time=\nmodule start time=\n"
    "module elapsed time=\n";
const char* const kEmptySummary = "starttime=\nduration=\nretrycount=\n";

std::string FormatStartMessage(const std::string& path) {
    return "[m_ParseFile] Start!! \n[" + path + "]\n";
}

std::string FormatMissingFileMessage(const std::string& path) {
    return "[" + path + "] not exist!!\n";
}

// A document parsed from a text. The document owns the root element.
struct MemoryDocument {
    explicit MemoryDocument(const std::string& text)
        : doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "memory.xml", nullptr, 0),
              &xmlFreeDoc),
          root(xmlDocGetRootElement(doc.get())) {}
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc;
    xmlNodePtr root;
};

std::string GetNodeName(xmlNodePtr node) {
    return node == nullptr ? "" : reinterpret_cast<const char*>(node->name);
}

// The fields of an item, in reading order.
const std::vector<std::string> kItemKeys = {
    "type", "name",    "opcode",   "msgcode",         "imqs",    "result", "duration", "retrycount",
    "spec", "measure", "detailed", "timeAckAbsolute", "threadID"};

// A section before the item lists, with its elements in reading order.
struct SectionElements {
    const char* section;
    std::vector<std::string> elements;
};

// The sections in reading order.
const SectionElements kSections[] = {
    {"Information", {"sn", "model", "option", "mm", "sm", "ss", "mt", "bt", "ld1", "ld2", "dnso"}},
    {"Network",
     {"type", "connection", "pairing_elapsed_time", "pairing_end_time", "module_start_time",
      "module_elapsed_time"}},
    {"Summary", {"starttime", "duration", "result", "fanet", "testnum", "retrycount"}},
};

// Returns a section with the elements in reverse order.
std::string MakeReversedSection(const std::string& tag, const std::vector<std::string>& names) {
    xml::Fields fields;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        fields.emplace_back(*name, "v");
    }
    return xml::Section(tag, fields);
}

class QELXmlParserTest : public StoreTest {};

// --- Tests of the single instance

TEST_F(QELXmlParserTest, HasVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<QELXmlParser>);
}

TEST_F(QELXmlParserTest, ReturnsSameInstance) {
    EXPECT_EQ(QELXmlParser::m_qelXmlParser, nullptr);
    QELXmlParser* store = QELXmlParser::GetInstance();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(QELXmlParser::GetInstance(), store);
    EXPECT_EQ(QELXmlParser::m_qelXmlParser, store);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, ParsesFilesInAnyFolder) {
    PrivateData::WriteMain("<data/>");
    const fs::path folder = fs::temp_directory_path() / ("run" + std::to_string(getpid()));
    fs::create_directory(folder);
    std::ofstream(folder / "qelXml.xml")
        << xml::Document(xml::Section("Information", {{"sn", "SN1"}}));
    EXPECT_TRUE(Store().ParseFolder(folder));
    fs::remove_all(folder);
    EXPECT_EQ(Store().GetInformation().substr(0, 7), "sn=SN1\n");
    EXPECT_EQ(FakeLog::Count(FormatMissingFileMessage(folder / "qelRnscXml.xml")), 1);
}

TEST_F(QELXmlParserTest, LogsFailedAllocationAndRetries) {
    for (int i = 1; i <= 2; ++i) {
        const FailingNew failing;
        EXPECT_EQ(QELXmlParser::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
        EXPECT_EQ(FakeLog::Count("failed to get instance\n"), i);
    }
    EXPECT_THAT(FakeLog::Lines(), testing::Each(ErrorLine("failed to get instance\n",
                                                          kXmlParserSource, "GetInstance")));
    EXPECT_NE(QELXmlParser::GetInstance(), nullptr);
    EXPECT_EQ(FakeLog::Count("failed to get instance\n"), 2);
}

TEST_F(QELXmlParserTest, StartsEmpty) {
    const QELXmlParser& store = Store();
    EXPECT_EQ(store.m_doc, nullptr);
    EXPECT_EQ(store.m_rootNode, nullptr);
    EXPECT_EQ(store.GetNumOfResult(), 0U);
    EXPECT_EQ(store.GetNumOfResultAll(), 0U);
    EXPECT_EQ(store.GetInformation(), kEmptyInformation);
    EXPECT_EQ(store.GetNetworkInfo(), kEmptyNetworkInfo);
    EXPECT_EQ(store.GetSummary(), kEmptySummary);
    EXPECT_EQ(store.m_networkFailReason, "");
    EXPECT_EQ(store.m_summaryResult, "");
    EXPECT_EQ(store.m_summaryFanet, "");
    EXPECT_EQ(store.m_summaryTestNum, "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// --- Tests of both result files

TEST_F(QELXmlParserTest, SucceedsWithoutResultFiles) {
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            InfoLine(FormatStartMessage(PrivateData::RnscFile()), kXmlParserSource, "m_ParseFile"),
            InfoLine(FormatMissingFileMessage(PrivateData::RnscFile()), kXmlParserSource),
            InfoLine(FormatStartMessage(PrivateData::MainFile()), kXmlParserSource, "m_ParseFile"),
            InfoLine(FormatMissingFileMessage(PrivateData::MainFile()), kXmlParserSource)));
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_EQ(Store().GetInformation(), kEmptyInformation);
    EXPECT_EQ(Store().GetNetworkInfo(), kEmptyNetworkInfo);
    EXPECT_EQ(Store().GetSummary(), kEmptySummary);
    EXPECT_EQ(Store().m_doc, nullptr);
    EXPECT_THAT(PrivateData::Names(), IsEmpty());
}

TEST_F(QELXmlParserTest, ReadsRnscFileBeforeMainFile) {
    PrivateData::WriteRnsc(xml::DocumentOf({{{"name", "first"}}}));
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "second"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(FakeLog::Messages(), ElementsAre(FormatStartMessage(PrivateData::RnscFile()),
                                                 FormatStartMessage(PrivateData::MainFile())));
    EXPECT_EQ(Store().GetNumOfResult(), 2U);
    EXPECT_EQ(Store().GetResult(0, "name"), "first");
    EXPECT_EQ(Store().GetResult(1, "name"), "second");
    EXPECT_EQ(Store().GetResultFromAll(0, "name"), "first");
    EXPECT_EQ(Store().GetResultFromAll(1, "name"), "second");
}

TEST_F(QELXmlParserTest, AcceptsMainFileAlone) {
    PrivateData::WriteMain(xml::DocumentOf({{{"name", "only"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResultAll(), 1U);
    EXPECT_EQ(Store().GetResult(0, "name"), "only");
    EXPECT_TRUE(LoggedInfo(FormatMissingFileMessage(PrivateData::RnscFile()), kXmlParserSource));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, AcceptsRnscFileAlone) {
    PrivateData::WriteRnsc(xml::DocumentOf({{{"name", "only"}}}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetResult(0, "name"), "only");
    EXPECT_TRUE(LoggedInfo(FormatMissingFileMessage(PrivateData::MainFile()), kXmlParserSource));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, ClearsItemsBeforeParsingAgain) {
    LoadItems({{{"name", "a"}}, {{"name", "b"}}});
    fs::remove(PrivateData::MainFile());
    xmlDoc* previous = Store().m_doc;
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResult(), 0U);
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_EQ(Store().m_doc, nullptr);
    EXPECT_EQ(Store().m_rootNode, nullptr);
    xmlFreeDoc(previous);
}

TEST_F(QELXmlParserTest, KeepsListCapacityWhenCleared) {
    QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}}, {{"name", "c"}}});
    const size_t failCapacity = store.m_resultFailData.capacity();
    const size_t allCapacity = store.m_resultAllData.capacity();
    xmlDoc* previous = store.m_doc;
    store.m_Initialize();
    EXPECT_TRUE(store.m_resultFailData.empty());
    EXPECT_TRUE(store.m_resultAllData.empty());
    EXPECT_EQ(store.m_resultFailData.capacity(), failCapacity);
    EXPECT_EQ(store.m_resultAllData.capacity(), allCapacity);
    xmlFreeDoc(previous);
}

// --- Tests of the ownership of documents

TEST_F(QELXmlParserTest, FreesFirstDocumentBeforeSecondParse) {
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

TEST_F(QELXmlParserTest, KeepsRnscDocumentWithoutMainFile) {
    PrivateData::WriteRnsc(xml::DocumentOf({}));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("parse qelRnscXml.xml"));
    ASSERT_NE(Store().m_doc, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(Store().m_doc->URL),
                 PrivateData::RnscFile().c_str());
}

// ParseFile does not free the previous document. The test reads and frees the document itself.
TEST_F(QELXmlParserTest, LeavesPreviousDocumentAllocated) {
    QELXmlParser& store = LoadItems({{{"name", "kept"}}});
    xmlDoc* previous = store.m_doc;
    XmlSpy::Clear();
    EXPECT_TRUE(store.ParseFile());
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("parse qelXml.xml"));
    EXPECT_NE(store.m_doc, previous);
    EXPECT_EQ(GetNodeName(xmlDocGetRootElement(previous)), "QELResult");
    xmlFreeDoc(previous);
}

TEST_F(QELXmlParserTest, FreesDocumentOnDestruction) {
    PrivateData::WriteMain(xml::DocumentOf({}));
    auto store = std::make_unique<QELXmlParser>();
    EXPECT_TRUE(store->ParseFile());
    XmlSpy::Clear();
    store.reset();
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("free qelXml.xml"));
}

TEST_F(QELXmlParserTest, FreesNullOnDestructionWithoutDocument) {
    auto store = std::make_unique<QELXmlParser>();
    store.reset();
    EXPECT_THAT(XmlSpy::DocumentCalls(), ElementsAre("free null"));
}

// --- Tests of the elements of a result file

TEST_F(QELXmlParserTest, AcceptsAnyRootElement) {
    PrivateData::WriteMain(
        xml::Document(xml::Element("RNSCTest", xml::Item({{"name", "a"}})), "Whatever"));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetResult(0, "name"), "a");
}

TEST_F(QELXmlParserTest, LogsMissingSectionsInReadingOrder) {
    PrivateData::WriteMain("<r/>");
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_THAT(
        FakeLog::Errors(),
        ElementsAre(
            ErrorLine(FormatMissingTagError("Information"), kXmlParserSource, "m_ParseInformation"),
            ErrorLine(FormatMissingTagError("Network"), kXmlParserSource, "m_ParseNetworkFailInfo"),
            ErrorLine(FormatMissingTagError("Network"), kXmlParserSource, "m_ParseNetworkInfo"),
            ErrorLine(FormatMissingTagError("Summary"), kXmlParserSource, "m_ParseSummary"),
            ErrorLine(FormatMissingTagError("RNSCImage"), kXmlParserSource, "m_ParseItemInfoList"),
            ErrorLine(FormatMissingTagError("RNSCTest"), kXmlParserSource, "m_ParseItemInfoList"),
            ErrorLine(FormatMissingTagError("FAnetTest"), kXmlParserSource,
                      "m_ParseItemInfoList")));
}

TEST_F(QELXmlParserTest, FindsSectionsOnlyDirectlyBelowRoot) {
    const std::string list = xml::Element("FAnetTest", xml::Item({{"name", "deep"}}));
    PrivateData::WriteMain(xml::Document(xml::Element("Wrapper", list)));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_TRUE(LoggedError(FormatMissingTagError("FAnetTest"), kXmlParserSource));
}

TEST_F(QELXmlParserTest, UsesFirstOfTwoEqualSections) {
    PrivateData::WriteMain(
        xml::Document(xml::Section("Information", {{"model", "first"}}) +
                      xml::Section("Information", {{"model", "second"}, {"sn", "2"}})));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "first");
    EXPECT_EQ(Store().m_sn, "");
}

TEST_F(QELXmlParserTest, MatchesElementNamesCaseSensitively) {
    PrivateData::WriteMain(xml::Document(xml::Section("information", {{"model", "M"}}) +
                                         xml::Section("Information", {{"Model", "N"}})));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().m_model, "");
}

TEST_F(QELXmlParserTest, IgnoresUnknownElementsAndAttributes) {
    PrivateData::WriteMain(xml::Document(
        "<!-- a comment --><Extra>text</Extra>" +
        xml::Element("Information", "<other>x</other><model id=\"attribute\">M</model>")));
    EXPECT_TRUE(Store().ParseFile());
    EXPECT_EQ(Store().GetInformation(),
              "sn=\nmodel=M\noption=\nmm=\nsm=\nss=\nmt=\nbt=\nld1=\nld2=\ndnso=\n");
}

// The file contains the sections and fields in reverse order. ParseFile reads each element once.
TEST_F(QELXmlParserTest, ReadsSectionsAndFieldsInFixedOrder) {
    std::string content;
    for (const char* list : {"FAnetTest", "RNSCTest", "RNSCImage"}) {
        content += xml::Element(list, MakeReversedSection("test", kItemKeys));
    }
    for (auto it = std::rbegin(kSections); it != std::rend(kSections); ++it) {
        content += MakeReversedSection(it->section, it->elements);
    }
    PrivateData::WriteMain(xml::Document(content));
    EXPECT_TRUE(Store().ParseFile());

    std::vector<std::string> expected;
    for (const SectionElements& section : kSections) {
        for (const std::string& element : section.elements) {
            expected.push_back(std::string(section.section) + "/" + element);
        }
    }
    for (const char* list : {"RNSCImage", "RNSCTest", "FAnetTest"}) {
        for (const std::string& key : kItemKeys) {
            expected.push_back(std::string(list) + "/test/" + key);
        }
    }
    EXPECT_EQ(XmlSpy::ReadElements(), expected);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserTest, LeavesResultFilesUnchanged) {
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

// --- Tests of the node and text helpers

TEST_F(QELXmlParserTest, LogsNullParentInNodeSearch) {
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(nullptr, "a"), nullptr);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("Parent Node is NULL\n", kXmlParserSource,
                                                        "m_FindNodeWithTagInfo")));
}

TEST_F(QELXmlParserTest, FindsFirstDirectChildByName) {
    const MemoryDocument document("<r><x><a/></x><A/><a id='1'/><a id='2'/></r>");
    xmlNode* found = QELXmlParser::m_FindNodeWithTagInfo(document.root, "a");
    EXPECT_EQ(found, document.root->children->next->next);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, ReturnsNullSilentlyWithoutMatchingChild) {
    const MemoryDocument document("<r><a/></r>");
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(document.root, "b"), nullptr);
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(document.root, ""), nullptr);
    EXPECT_EQ(QELXmlParser::m_FindNodeWithTagInfo(document.root->children, "a"), nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserTest, FindsNodesOfEveryKindByName) {
    const MemoryDocument document("<r><a/>some text<!-- c --><text/><comment/></r>");
    xmlNode* text = QELXmlParser::m_FindNodeWithTagInfo(document.root, "text");
    xmlNode* comment = QELXmlParser::m_FindNodeWithTagInfo(document.root, "comment");
    ASSERT_NE(text, nullptr);
    ASSERT_NE(comment, nullptr);
    EXPECT_EQ(text->type, XML_TEXT_NODE);
    EXPECT_EQ(comment->type, XML_COMMENT_NODE);
}

TEST_F(QELXmlParserTest, RejectsNullDocumentOrNodeSilently) {
    const MemoryDocument document("<r>x</r>");
    std::string content = "before";
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(nullptr, document.root, content));
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(document.doc.get(), nullptr, content));
    EXPECT_EQ(content, "before");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

class QELXmlParserNoContentTest : public QELXmlParserTest,
                                  public testing::WithParamInterface<const char*> {};

TEST_P(QELXmlParserNoContentTest, LogsErrorAndKeepsValue) {
    const MemoryDocument document(GetParam());
    std::string content = "before";
    EXPECT_FALSE(QELXmlParser::m_GetContentFromNode(document.doc.get(), document.root, content));
    EXPECT_EQ(content, "before");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("Content of current node is NULL\n",
                                                        kXmlParserSource, "m_GetContentFromNode")));
}

INSTANTIATE_TEST_SUITE_P(Elements, QELXmlParserNoContentTest,
                         testing::Values("<r/>", "<r></r>", "<r><x>text of a child</x></r>",
                                         "<r><!-- c --></r>"));

struct ContentCase {
    const char* file;
    const char* content;
};

class QELXmlParserContentTest : public QELXmlParserTest,
                                public testing::WithParamInterface<ContentCase> {};

TEST_P(QELXmlParserContentTest, ReturnsDecodedText) {
    const MemoryDocument document(GetParam().file);
    std::string content = "before";
    EXPECT_TRUE(QELXmlParser::m_GetContentFromNode(document.doc.get(), document.root, content));
    EXPECT_EQ(content, GetParam().content);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Elements, QELXmlParserContentTest,
    testing::Values(ContentCase{"<r>text</r>", "text"}, ContentCase{"<r> </r>", " "},
                    ContentCase{"<r>\n\t a b \n</r>", "\n\t a b \n"},
                    ContentCase{"<r>a\r\nb</r>", "a\nb"},
                    ContentCase{"<r>&lt;b&gt; &amp; &quot;c&apos;</r>", "<b> & \"c'"},
                    ContentCase{"<r>&#65;&#x20AC;</r>", "A\xE2\x82\xAC"},
                    ContentCase{"<!DOCTYPE r [<!ENTITY e \"inner\">]><r>x&e;y</r>", "xinnery"},
                    ContentCase{"<r>a<![CDATA[<b>&amp;]]>c</r>", "a<b>&amp;c"},
                    ContentCase{"<r>x<i>y</i>z</r>", "xz"},
                    ContentCase{"<r>x<!-- c -->y</r>", "xy"},
                    ContentCase{"<r>M\xC3\xBCnchen \xEC\x84\x9C\xEC\x9A\xB8</r>",
                                "M\xC3\xBCnchen \xEC\x84\x9C\xEC\x9A\xB8"}));

struct ReplacementCase {
    const char* text;
    const char* pattern;
    const char* replacement;
    const char* result;
};

class QELXmlParserReplaceTest : public QELXmlParserTest,
                                public testing::WithParamInterface<ReplacementCase> {};

TEST_P(QELXmlParserReplaceTest, ReplacesEveryMatchInOriginalText) {
    std::string text = GetParam().text;
    QELXmlParser::m_ReplaceString(text, GetParam().pattern, GetParam().replacement);
    EXPECT_EQ(text, GetParam().result);
}

TEST_F(QELXmlParserTest, ReplacesManyMatchesInLinearTime) {
    std::string text(1'000'000, '^');
    EXPECT_LT(UsedTime([&] { QELXmlParser::m_ReplaceString(text, "^", "\n\n"); }),
              std::chrono::seconds(2));
    EXPECT_EQ(text, std::string(2'000'000, '\n'));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, QELXmlParserReplaceTest,
    testing::Values(ReplacementCase{"", ";", "\n", ""}, ReplacementCase{"abc", ";", "\n", "abc"},
                    ReplacementCase{";a;;b;", ";", "\n", "\na\n\nb\n"},
                    ReplacementCase{"a^b", "^", "\n\n", "a\n\nb"},
                    // The search must skip the inserted text, or the loop is endless.
                    ReplacementCase{"a;b", ";", ";;", "a;;b"},
                    ReplacementCase{";;", ";", "x;", "x;x;"},
                    ReplacementCase{"aaa", "aa", "b", "ba"},
                    ReplacementCase{"aabb", "ab", "", "ab"},
                    ReplacementCase{"abcabc", "abc", "", ""}));

}  // namespace
