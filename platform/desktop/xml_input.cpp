#include "xml_input.h"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/catalog.h>
#include <libxml/entities.h>
#include <libxml/hash.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace quorvel::desktop {

namespace {

// What parsing an entity again costs besides its length, in bytes.
constexpr std::int64_t kEntityParseCost = 100;

// The file that this thread parses, and what is left of its limits. Each parser starts a new file.
struct ParsedFile {
    std::string path;
    xmlParserCtxt* parser = nullptr;  // null when no parser runs
    bool isRejected = false;
    std::int64_t bytesLeft = kMaxResultFileBytes;
    std::int64_t entityBytesLeft = kMaxEntityBytes;
    std::int64_t declarationBytesLeft = kMaxDeclarationBytes;
};
thread_local ParsedFile g_ParsedFile;
thread_local XmlInputReport g_Report = [](const std::string&) {};
thread_local ResultFileLinks g_Links = ResultFileLinks::kFollow;
thread_local XmlInputStop g_MustStop = [] { return false; };

constexpr const char* kTooManyAttributes =
    "an element has more than 1,000 attributes and namespaces";
constexpr const char* kTooManyDeclarations =
    "its document type has more than 32 KiB of declarations";
constexpr const char* kTooManyEntityBytes = "its entities expand to more than 10,000,000 bytes";

// Counts declarations of this size in bytes. Returns false above the limit.
bool CountDeclarations(std::int64_t size) {
    g_ParsedFile.declarationBytesLeft -= size;
    return g_ParsedFile.declarationBytesLeft >= 0;
}

// Reports nothing for content that is not in a file. Such content has no path.
void Report(const std::string& reason) {
    if (!g_ParsedFile.path.empty()) {
        g_Report(g_ParsedFile.path + ": " + reason);
    }
}

// Makes the parser return no document. Reports the first reason of a file.
void Reject(xmlParserCtxt* parser, const char* reason) {
    if (!std::exchange(g_ParsedFile.isRejected, true)) {
        Report(reason);
    }
    parser->wellFormed = 0;
    parser->disableSAX = 1;
}

// Ends the parse within a callback of the parser.
void Stop(xmlParserCtxt* parser, const char* reason) {
    Reject(parser, reason);
    xmlStopParser(parser);
}

// The callbacks do what libxml2 does, and end the parse at a limit. The content of an entity has
// its own parser, which reads no part of the file and has the same callbacks.

void OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                    int namespaces, const xmlChar** namespaceList, int attributes, int,
                    const xmlChar**) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    if (attributes + parser->nsNr / 2 > kMaxAttributes) {
        Stop(parser, kTooManyAttributes);
    } else {
        // libxml2 would add the attributes in quadratic time. The application reads no attributes.
        xmlSAX2StartElementNs(context, name, prefix, uri, namespaces, namespaceList, 0, 0, nullptr);
    }
}

// Whether libxml2 may get the next part of the file. libxml2 parses a start tag and a declaration
// without an event in between, and needs quadratic time for them. Only its requests for the next
// part, of 4,000 bytes, show that a tag or a declaration is too long.
bool MayContinue(std::int64_t nextPart) {
    xmlParserCtxt* parser = g_ParsedFile.parser;
    if (parser == nullptr) {
        return true;
    }
    // After an error libxml2 reports no declarations any more, but still uses them.
    const bool hasDeclarations = parser->inSubset != 0 || parser->attsDefault != nullptr;
    if (parser->disableSAX != 0 && hasDeclarations) {
        return false;
    }
    // The tables have five entries for each attribute and two for each namespace. The table of
    // attributes grows to twice the needed size.
    if (parser->maxatts / 5 > 2 * kMaxAttributes || parser->nsNr / 2 > kMaxAttributes) {
        Reject(parser, kTooManyAttributes);
        return false;
    }
    // Comments, values of entities and other texts have states of their own.
    if (parser->instate == XML_PARSER_DTD && !CountDeclarations(nextPart)) {
        Reject(parser, kTooManyDeclarations);
        return false;
    }
    return true;
}

// Returns the reason why the file may not be read; empty when it may. descriptor: the result of
// open.
std::string Objection(int descriptor) {
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a regular file";
    }
    return status.st_size > kMaxResultFileBytes ? "larger than 256 MiB" : "";
}

void* OnOpen(const char* path) {
    g_ParsedFile.path = path;
    // A FIFO would block without O_NONBLOCK; a regular file ignores the flag.
    const int linkFlag = g_Links == ResultFileLinks::kReject ? O_NOFOLLOW : 0;
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | linkFlag);
    const std::string objection = Objection(descriptor);
    if (!objection.empty()) {
        Report(objection);
        close(descriptor);
        return nullptr;
    }
    return fdopen(descriptor, "r");
}

// Returns the number of bytes read, 0 at the end of the file, -1 on an error or at a limit.
int OnRead(void* context, char* buffer, int size) {
    if (g_MustStop()) {
        Report("reading stops because the program ends");
        return -1;
    }
    auto* file = static_cast<std::FILE*>(context);
    const std::size_t count = std::fread(buffer, 1, static_cast<std::size_t>(size), file);
    g_ParsedFile.bytesLeft -= static_cast<std::int64_t>(count);
    if (g_ParsedFile.bytesLeft < 0) {
        Report("grows while it is read; only its first 256 MiB count");
        return -1;
    }
    const bool isRead = count > 0 || std::ferror(file) == 0;
    return isRead && MayContinue(static_cast<std::int64_t>(count)) ? static_cast<int>(count) : -1;
}

// The application logs the error record. libxml2 would print the lines of the file unescaped.
void OnError(void*, const char*, ...) {}  // NOLINT(cert-dcl50-cpp): the type of the callback

// Computes what xmlNodeListGetString returns for a list with in-line substitution. libxml2 joins
// the pieces in quadratic time and expands entities without a limit.
class ValueReader {
public:
    explicit ValueReader(xmlDocPtr doc) : m_Doc(doc) {}

    // Appends the text of the list. Returns false when the entities exceed their limit.
    bool Append(const xmlNode* list, std::string& text) {
        for (const xmlNode* node = list; node != nullptr; node = node->next) {
            const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
            if (isText && node->content != nullptr) {
                m_HasText = true;
                text += reinterpret_cast<const char*>(node->content);
            } else if (node->type == XML_ENTITY_REF_NODE && !m_AppendEntity(node, text)) {
                return false;
            }
        }
        return true;
    }

    // Returns false when the list has no piece of text, not even an empty piece.
    bool HasText() const { return m_HasText; }

private:
    bool m_AppendEntity(const xmlNode* reference, std::string& text) {
        xmlEntityPtr entity = xmlGetDocEntity(m_Doc, reference->name);
        if (entity == nullptr) {
            return true;
        }
        const auto [made, isNew] = m_EntityTexts.try_emplace(entity);
        if (isNew && !Append(entity->children, made->second)) {
            return false;
        }
        // An empty expansion counts too, because it takes time.
        std::int64_t& left = g_ParsedFile.entityBytesLeft;
        left -= static_cast<std::int64_t>(made->second.size()) + 1;
        text += made->second;
        return left >= 0;
    }

    xmlDocPtr m_Doc;
    std::map<const xmlEntity*, std::string> m_EntityTexts;  // each expanded once
    bool m_HasText = false;
};

// Returns null for no text, for too much text, and without memory.
xmlChar* ReadValue(xmlDocPtr doc, const xmlNode* list) {
    ValueReader reader(doc);
    std::string text;
    if (!reader.Append(list, text)) {
        Report(kTooManyEntityBytes);
        return nullptr;
    }
    return reader.HasText() ? xmlStrndup(BAD_CAST text.data(), static_cast<int>(text.size()))
                            : nullptr;
}

xmlEntityPtr OnParameterEntity(void* context, const xmlChar* name) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    // After an error libxml2 reports no declaration of the entity.
    if (parser->disableSAX != 0) {
        xmlStopParser(parser);
        return nullptr;
    }
    xmlEntityPtr entity = xmlSAX2GetParameterEntity(context, name);
    if (entity != nullptr && !CountDeclarations(entity->length)) {
        Stop(parser, kTooManyDeclarations);
        return nullptr;
    }
    return entity;
}

// libxml2 parses an entity again at each reference if an attribute declaration has used it first.
xmlEntityPtr OnEntity(void* context, const xmlChar* name) {
    xmlEntityPtr entity = xmlSAX2GetEntity(context, name);
    if (entity != nullptr && entity->checked != 0 && entity->children == nullptr &&
        entity->length > 0) {
        g_ParsedFile.entityBytesLeft -= entity->length + kEntityParseCost;
        if (g_ParsedFile.entityBytesLeft < 0) {
            Stop(static_cast<xmlParserCtxt*>(context), kTooManyEntityBytes);
            return nullptr;
        }
    }
    return entity;
}

// The parser of an entity reads no part of the file, so MayContinue cannot limit its start tags.
void OnEntityDeclaration(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                         const xmlChar* systemId, xmlChar* content) {
    if (type == XML_INTERNAL_GENERAL_ENTITY && xmlStrchr(content, '<') != nullptr &&
        !CountDeclarations(xmlStrlen(content))) {
        Stop(static_cast<xmlParserCtxt*>(context), kTooManyDeclarations);
        return;
    }
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

// libxml2 would compare the default attributes of each element with each other. The parser
// therefore forgets all default attributes but the last.
void OnAttributeDeclaration(void* context, const xmlChar*, const xmlChar*, int, int, const xmlChar*,
                            xmlEnumerationPtr values) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    xmlFreeEnumeration(values);
    xmlHashFree(std::exchange(parser->attsDefault, nullptr), xmlHashDefaultDeallocator);
}

struct ParserDeleter {
    void operator()(xmlParserCtxt* parser) const {
        g_ParsedFile.parser = nullptr;
        xmlFreeParserCtxt(parser);
    }
};
using Parser = std::unique_ptr<xmlParserCtxt, ParserDeleter>;

// Returns a parser with all limits; null without memory. A thread may have one parser at a time.
Parser NewParser() {
    Parser parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return nullptr;
    }
    xmlSAXHandler& callbacks = *parser->sax;
    callbacks.startElementNs = OnStartElement;
    callbacks.getParameterEntity = OnParameterEntity;
    callbacks.getEntity = OnEntity;
    callbacks.entityDecl = OnEntityDeclaration;
    callbacks.attributeDecl = OnAttributeDeclaration;
    g_ParsedFile = {};
    g_ParsedFile.parser = parser.get();
    return parser;
}

// Does what xmlParseFile does, with the limits.
xmlDocPtr ParseFile(const char* path) {
    return xmlCtxtReadFile(NewParser().get(), path, nullptr, 0);
}

int OnReadContent(void* read, char* buffer, int size) {
    const auto& function = *static_cast<const XmlRead*>(read);
    const ssize_t count = function(buffer, static_cast<std::size_t>(size));
    return MayContinue(count) ? static_cast<int>(count) : -1;
}

}  // namespace

XmlDocument ParseXml(const XmlRead& read) {
    XmlRead copy = read;
    return XmlDocument(xmlCtxtReadIO(NewParser().get(), OnReadContent, nullptr, &copy, nullptr,
                                     nullptr,
                                     XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
}

void LimitXmlInput(XmlInputReport report, ResultFileLinks links, XmlInputStop mustStop) {
    g_Report = std::move(report);
    g_Links = links;
    g_MustStop = std::move(mustStop);
    g_ParsedFile = {};
    xmlSetGenericErrorFunc(nullptr, OnError);
    // A catalog could lead to files other than the result files.
    xmlCatalogSetDefaults(XML_CATA_ALLOW_NONE);
    xmlCleanupInputCallbacks();
    xmlRegisterInputCallbacks(xmlFileMatch, OnOpen, OnRead, xmlFileClose);
}

}  // namespace quorvel::desktop

// The linker's names for the calls as the application makes them.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" xmlChar* __wrap_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine);
extern "C" xmlDocPtr __wrap_xmlParseFile(const char* path);

// Every caller passes 1 for inLine.
xmlChar* __wrap_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int) {
    return quorvel::desktop::ReadValue(doc, list);
}

xmlDocPtr __wrap_xmlParseFile(const char* path) {
    return quorvel::desktop::ParseFile(path);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
