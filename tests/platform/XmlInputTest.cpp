#include "xml_input.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fixtures/UsedTime.h"
#include "platform/fixtures/PrivateFolders.h"

using quorvel::desktop::kMaxResultFileBytes;
using quorvel::desktop::LimitXmlInput;
using quorvel::desktop::ParseXml;
using quorvel::desktop::XmlDocument;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using ReadValue = xmlChar* (*)(xmlDocPtr, const xmlNode*, int);

// The CPU time that a hostile file may use.
constexpr auto kMaxTime = std::chrono::milliseconds(500);

std::string Repeat(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::optional<std::string> TakeText(xmlChar* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    std::string text = reinterpret_cast<const char*>(value);
    xmlFree(value);
    return text;
}

class XmlInputTest : public testing::Test {
protected:
    XmlInputTest() {
        LimitXmlInput([this](const std::string& line) { m_Lines.push_back(line); });
    }
    ~XmlInputTest() override {
        xmlSetGenericErrorFunc(nullptr, nullptr);
        xmlCleanupInputCallbacks();
        xmlRegisterDefaultInputCallbacks();
    }

    std::string Path() const { return (m_Folders.Root() / "result.xml").string(); }

    std::string Write(const std::string& content) const {
        std::ofstream(Path(), std::ios::binary) << content;
        return Path();
    }

    XmlDocument Parse() const { return XmlDocument(xmlParseFile(Path().c_str())); }

    // Returns the value of the root's only child element, as the application reads the value.
    std::optional<std::string> ValueIn(const std::string& content) const {
        Write(content);
        const XmlDocument document = Parse();
        if (document == nullptr) {
            ADD_FAILURE() << "not well-formed: " << content.substr(0, 200);
            return std::nullopt;
        }
        return ValueIn(*document, xmlNodeListGetString);
    }

    static std::optional<std::string> ValueIn(xmlDoc& document, ReadValue read) {
        const xmlNode* element = xmlFirstElementChild(xmlDocGetRootElement(&document));
        return TakeText(read(&document, element->children, 1));
    }

    const std::vector<std::string>& Reported() const { return m_Lines; }

private:
    PrivateFolders m_Folders;
    std::vector<std::string> m_Lines;
};

// Returns a file whose root contains one element with this value. The declaration defines the
// entities.
std::string ComposeFile(const std::string& declaration, const std::string& value) {
    return "<!DOCTYPE r [" + declaration + "]><r><v>" + value + "</v></r>";
}

TEST_F(XmlInputTest, ReturnsSameValuesAsLibrary) {
    const auto original = reinterpret_cast<ReadValue>(dlsym(RTLD_DEFAULT, "xmlNodeListGetString"));
    ASSERT_NE(original, nullptr);
    const std::string entities =
        "<!ENTITY a 'one'><!ENTITY b '&a; &a;'><!ENTITY none ''><!ENTITY child '<c>x</c>'>"
        // An undefined entity is not an error after a parameter entity.
        "<!ENTITY % empty ''>%empty;";
    for (const std::string value : {"",
                                    "text",
                                    " text ",
                                    "<![CDATA[]]>",
                                    "<![CDATA[a<b]]>",
                                    "a<![CDATA[b]]>c",
                                    "&a;",
                                    "&b;",
                                    "x&b;y&a;z",
                                    "&none;",
                                    "&none;a",
                                    "&child;",
                                    "a&child;b",
                                    "&undefined;",
                                    "a&undefined;b",
                                    "<c>only a child</c>",
                                    "a<c>child</c>b",
                                    "<!-- comment -->",
                                    "a<!-- comment -->b",
                                    "&lt;&amp;&#65;&#x20AC;"}) {
        Write(ComposeFile(entities, value));
        const XmlDocument document = Parse();
        ASSERT_NE(document, nullptr) << value;
        EXPECT_EQ(ValueIn(*document, xmlNodeListGetString), ValueIn(*document, original)) << value;
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(XmlInputTest, JoinsManyPiecesInLinearTime) {
    const std::size_t count = 200'000;
    const std::string file = ComposeFile("", Repeat("abcd<![CDATA[efgh]]>", count));
    std::optional<std::string> value;
    EXPECT_LT(UsedTime([&] { value = ValueIn(file); }), std::chrono::seconds(2));
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(value->size(), 8 * count);
}

TEST_F(XmlInputTest, RejectsValueWhoseEntitiesExpandTooFar) {
    const std::string big = Repeat("x", 100'000);
    const std::string file = ComposeFile("<!ENTITY a '" + big + "'>", Repeat("&a;", 2000));
    EXPECT_LT(UsedTime([&] { EXPECT_EQ(ValueIn(file), std::nullopt); }), kMaxTime);
    EXPECT_THAT(Reported(), ElementsAre(EndsWith("expand to more than 10,000,000 bytes")));
}

TEST_F(XmlInputTest, RejectsEntitiesOfTwoLevels) {
    const std::string declaration =
        "<!ENTITY a '" + Repeat("x", 1000) + "'><!ENTITY b '" + Repeat("&a;", 1000) + "'>";
    const std::string file = ComposeFile(declaration, Repeat("&b;", 1000));
    EXPECT_LT(UsedTime([&] { EXPECT_EQ(ValueIn(file), std::nullopt); }), kMaxTime);
}

TEST_F(XmlInputTest, LimitsEntitiesOfAllValuesOfFileTogether) {
    const std::string half = Repeat("&a;", 60);
    Write("<!DOCTYPE r [<!ENTITY a '" + Repeat("x", 100'000) + "'>]><r><v>" + half + "</v><v>" +
          half + "</v></r>");
    const XmlDocument document = Parse();
    ASSERT_NE(document, nullptr);
    const xmlNode* first = xmlFirstElementChild(xmlDocGetRootElement(document.get()));
    const xmlNode* second = first->next;
    EXPECT_NE(TakeText(xmlNodeListGetString(document.get(), first->children, 1)), std::nullopt);
    EXPECT_EQ(TakeText(xmlNodeListGetString(document.get(), second->children, 1)), std::nullopt);
}

TEST_F(XmlInputTest, ResetsLimitForNextFile) {
    ValueIn(ComposeFile("<!ENTITY a '" + Repeat("x", 100'000) + "'>", Repeat("&a;", 2000)));
    EXPECT_EQ(ValueIn(ComposeFile("<!ENTITY a 'x'>", "&a;")), "x");
}

// Returns a document type with seven levels of parameter entities. Each entity refers five times to
// the entity of the level below.
std::string ComposeNestedParameterEntities() {
    std::string text = "<!DOCTYPE r [<!ENTITY % p0 ' '>";
    for (int level = 1; level <= 7; ++level) {
        const std::string reference = "&#37;p" + std::to_string(level - 1) + ";";
        text += "<!ENTITY % p" + std::to_string(level) + " '" + Repeat(reference, 5) + "'>";
    }
    return text + "%p7;]><r/>";
}

// Returns a read function that returns the content in parts, as a file does.
quorvel::desktop::XmlRead ReadFrom(const std::string& content) {
    return [&content, offset = std::size_t{0}](char* buffer, std::size_t size) mutable {
        const std::size_t count = content.copy(buffer, size, offset);
        offset += count;
        return static_cast<ssize_t>(count);
    };
}

TEST_F(XmlInputTest, ExpandsParameterEntities) {
    EXPECT_EQ(ValueIn(ComposeFile("<!ENTITY % p \"<!ENTITY a 'text'>\">%p;", "&a;")), "text");
}

// Returns the given number of texts in sequence. Each has a different name between the two parts.
std::string RepeatNames(const std::string& before, const std::string& after, int count) {
    constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyz";
    std::string all;
    for (int i = 0; i < count; ++i) {
        std::string name;
        for (int rest = i; name.empty() || rest > 0; rest /= 26) {
            name += kLetters[rest % 26];
        }
        all += before + name + after;
    }
    return all;
}

class XmlInputLimitTest : public XmlInputTest {
protected:
    // Expects that the parser rejects the content within the time limit, as a file and through
    // ParseXml, and reports the reason.
    void ExpectRejection(const std::string& content, const std::string& reason) {
        Write(content);
        EXPECT_LT(UsedTime([&] { EXPECT_EQ(Parse(), nullptr); }), kMaxTime);
        EXPECT_THAT(Reported(), ElementsAre(Path() + ": " + reason));
        EXPECT_LT(UsedTime([&] { EXPECT_EQ(ParseXml(ReadFrom(content)), nullptr); }), kMaxTime);
    }

    // Expects that libxml2 reports an error in the content within the time limit.
    void ExpectError(const std::string& content) {
        Write(content);
        EXPECT_LT(UsedTime([&] { EXPECT_EQ(Parse(), nullptr); }), kMaxTime);
        EXPECT_NE(xmlGetLastError(), nullptr);
        EXPECT_THAT(Reported(), IsEmpty());
    }

    // Expects that the parser reads the content within the time limit.
    void ExpectDocument(const std::string& content) {
        Write(content);
        EXPECT_LT(UsedTime([&] { EXPECT_NE(Parse(), nullptr); }), kMaxTime);
        EXPECT_NE(ParseXml(ReadFrom(content)), nullptr);
        EXPECT_THAT(Reported(), IsEmpty());
    }

    static constexpr const char* kAttributes =
        "an element has more than 1,000 attributes and namespaces";
    static constexpr const char* kDeclarations =
        "its document type has more than 32 KiB of declarations";
    static constexpr const char* kEntityBytes = "its entities expand to more than 10,000,000 bytes";
};

TEST_F(XmlInputLimitTest, RejectsNestedParameterEntities) {
    ExpectRejection(ComposeNestedParameterEntities(), kDeclarations);
}

// An empty parameter entity has no length, but each reference to the entity has a length.
TEST_F(XmlInputLimitTest, RejectsManyEmptyParameterEntities) {
    ExpectRejection("<!DOCTYPE r [<!ENTITY % p ''>" + Repeat("%p;", 20'000) + "]><r/>",
                    kDeclarations);
}

TEST_F(XmlInputLimitTest, RejectsManyNestedEmptyParameterEntities) {
    ExpectRejection("<!DOCTYPE r [<!ENTITY % p ''><!ENTITY % q '" + Repeat("&#37;p;", 1'000) +
                        "'>" + Repeat("%q;", 100) + "]><r/>",
                    kDeclarations);
}

// Returns an element with the given number of attributes.
std::string ComposeElement(int attributes) {
    return "<v" + RepeatNames(" ", "=''", attributes) + "/>";
}

// The leading blanks change the position at which libxml2 splits the element.
TEST_F(XmlInputLimitTest, ReadsThousandAttributes) {
    for (std::size_t i = 0; i < 4'000; i += 200) {
        ExpectDocument("<r>" + Repeat(" ", i) + ComposeElement(1'000) + "</r>");
    }
}

TEST_F(XmlInputLimitTest, RejectsMoreThanThousandAttributes) {
    for (std::size_t i = 0; i < 4'000; i += 200) {
        const std::string content = "<r>" + Repeat(" ", i) + ComposeElement(1'001) + "</r>";
        EXPECT_EQ(ParseXml(ReadFrom(content)), nullptr) << i;
    }
    ExpectRejection("<r>" + ComposeElement(1'001) + "</r>", kAttributes);
}

TEST_F(XmlInputLimitTest, RejectsHundredThousandAttributes) {
    ExpectRejection("<r>" + ComposeElement(100'000) + "</r>", kAttributes);
}

TEST_F(XmlInputLimitTest, ReadsManyElementsWithManyAttributes) {
    ExpectDocument("<r>" + Repeat(ComposeElement(900), 500) + "</r>");
}

TEST_F(XmlInputLimitTest, StoresNoAttributes) {
    Write("<!DOCTYPE r [<!ATTLIST v b CDATA 'default'>]><r><v a='value'>text</v></r>");
    const XmlDocument document = Parse();
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(xmlFirstElementChild(xmlDocGetRootElement(document.get()))->properties, nullptr);
    EXPECT_EQ(ValueIn(*document, xmlNodeListGetString), "text");
}

TEST_F(XmlInputLimitTest, RejectsManyNamespacesOfElement) {
    ExpectRejection("<r><v" + RepeatNames(" xmlns:", "='u'", 30'000) + "/></r>", kAttributes);
}

TEST_F(XmlInputLimitTest, RejectsManyNamespacesInScope) {
    const std::string element = "<v" + RepeatNames(" xmlns:", "='u'", 100) + ">";
    ExpectRejection("<r>" + Repeat(element, 200) + Repeat("<unknown:a/>", 100'000), kAttributes);
}

TEST_F(XmlInputLimitTest, RejectsManyAttributesInEntity) {
    ExpectRejection("<!DOCTYPE r [<!ENTITY e \"" + ComposeElement(100'000) + "\">]><r>&e;</r>",
                    kDeclarations);
}

// Return a declaration of default attributes, and the elements that have the attributes.
std::string ComposeDefaults(int attributes) {
    return "<!ATTLIST v" + RepeatNames(" ", " CDATA ''", attributes) + ">";
}
std::string ComposeElements() {
    return "<r>" + Repeat("<v/>", 25'000) + "</r>";
}

TEST_F(XmlInputLimitTest, ReadsManyAttributeDeclarations) {
    ExpectDocument("<!DOCTYPE r [" + ComposeDefaults(2'000) + "]>" + ComposeElements());
}

TEST_F(XmlInputLimitTest, ReadsManyDefaultAttributes) {
    for (const int attributes : {50, 500, 1'000}) {
        ExpectDocument("<!DOCTYPE r [" + ComposeDefaults(attributes) + "]>" + ComposeElements());
    }
}

// Returns a declaration of default namespaces for an element.
std::string ComposeDefaultNamespaces(const std::string& element, int namespaces) {
    return "<!ATTLIST " + element + RepeatNames(" xmlns:", " CDATA 'u'", namespaces) + ">";
}

TEST_F(XmlInputLimitTest, ReadsManyDefaultNamespaces) {
    ExpectDocument("<!DOCTYPE r [" + ComposeDefaultNamespaces("v", 900) + "]>" + ComposeElements());
}

TEST_F(XmlInputLimitTest, ReadsRepeatedDefaultNamespaces) {
    ExpectDocument("<!DOCTYPE r [" + ComposeDefaultNamespaces("r", 480) +
                   ComposeDefaultNamespaces("v", 480) + "]>" + ComposeElements());
}

// After an error, libxml2 does not report declarations, so the limits cannot apply.
TEST_F(XmlInputLimitTest, StopsReadingDocumentTypeAfterError) {
    const std::string error = "<!ENTITY e '&;'>";
    ExpectError("<!DOCTYPE r [" + error + ComposeDefaults(2'000) + "]>" + ComposeElements());
    ExpectError("<!DOCTYPE r [<!ENTITY % p \"" + ComposeDefaults(1'000) + "\">" + error + "%p;]>" +
                ComposeElements());
}

// Returns the declaration of an attribute whose value is one of many names.
std::string ComposeEnumeration(int names) {
    return "<!ATTLIST v a (x" + RepeatNames("|", "", names) + ") #IMPLIED>";
}

TEST_F(XmlInputLimitTest, RejectsLargeEnumeration) {
    ExpectRejection("<!DOCTYPE r [" + ComposeEnumeration(50'000) + "]><r/>", kDeclarations);
}

TEST_F(XmlInputLimitTest, RejectsLargeEnumerationOfNotations) {
    ExpectRejection("<!DOCTYPE r [<!ATTLIST v a NOTATION (x" + RepeatNames("|", "", 50'000) +
                        ") #IMPLIED>]><r/>",
                    kDeclarations);
}

TEST_F(XmlInputLimitTest, RejectsRepeatedEnumerationOfParameterEntity) {
    ExpectRejection("<!DOCTYPE r [<!ENTITY % p '" + ComposeEnumeration(6'000) + "'>" +
                        Repeat("%p;", 30) + "]><r/>",
                    kDeclarations);
}

TEST_F(XmlInputLimitTest, RejectsEntityThatIsParsedAgain) {
    ExpectRejection("<!DOCTYPE r [<!ENTITY e '" + Repeat("x", 100'000) +
                        "'><!ATTLIST r a CDATA '&e;'>]><r>" + Repeat("&e;", 30'000) + "</r>",
                    kEntityBytes);
}

// Each text is longer than every limit on declarations. libxml2 reads the text in linear time.
TEST_F(XmlInputLimitTest, ReadsLongTexts) {
    const std::string text = Repeat("0123456789", 100'000);
    for (const std::string& content : {
             "<r><v>" + text + "</v></r>",
             "<r><v><![CDATA[" + text + "]]></v></r>",
             "<r><v a='" + text + "' b='" + text + "'/></r>",
             "<r><!--" + text + "--><?p " + text + "?></r>",
             "<!DOCTYPE r [<!--" + text + "--><?p " + text + "?><!ENTITY e '" + text + "'>]><r/>",
             "<!DOCTYPE r [<!ATTLIST r a CDATA '" + text + "'>]><r/>",
         }) {
        ExpectDocument(content);
    }
}

TEST_F(XmlInputTest, IgnoresExternalEntities) {
    const std::string secret = Path() + ".secret";
    std::ofstream(secret) << "secret";
    const std::optional<std::string> value =
        ValueIn(ComposeFile("<!ENTITY e SYSTEM '" + secret + "'>", "a&e;b"));
    EXPECT_EQ(value, "ab");
}

TEST_F(XmlInputTest, RejectsFifoWithoutBlocking) {
    ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_THAT(Reported(), ElementsAre(Path() + ": not a regular file"));
}

TEST_F(XmlInputTest, RejectsFolderAndDevice) {
    std::filesystem::create_directory(Path());
    EXPECT_EQ(Parse(), nullptr);
    std::filesystem::remove(Path());
    std::filesystem::create_symlink("/dev/zero", Path());
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_THAT(Reported(),
                ElementsAre(HasSubstr("not a regular file"), HasSubstr("not a regular file")));
}

TEST_F(XmlInputTest, RejectsSocket) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Path().copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_EQ(Reported().size(), 1U);
    close(listener);
}

TEST_F(XmlInputTest, ReportsMissingFile) {
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_THAT(Reported(), ElementsAre(Path() + ": No such file or directory"));
}

TEST_F(XmlInputTest, RejectsPackedFile) {
    Write("<r><v>text</v></r>");
    ASSERT_EQ(std::system(("gzip -c " + Path() + " > " + Path() + ".gz").c_str()), 0);
    std::filesystem::rename(Path() + ".gz", Path());
    EXPECT_EQ(Parse(), nullptr);
}

TEST_F(XmlInputTest, RejectsFileAboveLimit) {
    Write("<r/>");
    std::filesystem::resize_file(Path(), static_cast<std::uintmax_t>(kMaxResultFileBytes) + 1);
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_THAT(Reported(), ElementsAre(Path() + ": larger than 256 MiB"));
}

// The file is sparse, and the test discards the data, so the test needs neither disk space nor
// memory.
TEST_F(XmlInputTest, StopsAtLimitOfGrowingFile) {
    Write("");
    std::filesystem::resize_file(Path(), kMaxResultFileBytes);
    xmlParserInputBuffer* input =
        xmlParserInputBufferCreateFilename(Path().c_str(), XML_CHAR_ENCODING_NONE);
    ASSERT_NE(input, nullptr);
    std::filesystem::resize_file(Path(), 2 * kMaxResultFileBytes);
    std::vector<char> part(std::size_t{4} << 20);
    std::int64_t total = 0;
    int size = 0;
    do {
        total += size;
        size = input->readcallback(input->context, part.data(), static_cast<int>(part.size()));
    } while (size > 0);
    xmlFreeParserInputBuffer(input);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(total, kMaxResultFileBytes);
    EXPECT_THAT(Reported(), ElementsAre(HasSubstr("grows while it is read")));
}

TEST_F(XmlInputTest, PrintsNothingForBrokenFile) {
    Write("<r>\x1b[31m<v></r>");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Parse(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_NE(xmlGetLastError(), nullptr);
}

}  // namespace
