#include "xml_input.h"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/catalog.h>
#include <libxml/entities.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace quorvel::desktop {

namespace {

// The file that this thread parses. Each opened file starts a new one.
struct ParsedFile {
    std::string path;
    std::int64_t entityBytesLeft = kMaxEntityBytes;
    int parameterEntitiesLeft = kMaxParameterEntities;
};
thread_local ParsedFile g_ParsedFile;
thread_local XmlInputReport g_Report = [](const std::string&) {};
thread_local ResultFileLinks g_Links = ResultFileLinks::kFollow;

// One open result file. Owned by libxml2 through its callbacks.
class XmlInput {
public:
    explicit XmlInput(int descriptor) : m_Descriptor(descriptor) {}
    ~XmlInput() { close(m_Descriptor); }
    XmlInput(const XmlInput&) = delete;
    XmlInput& operator=(const XmlInput&) = delete;

    // Returns the number of bytes read, 0 at the end of the file, -1 on an error.
    int Read(char* buffer, int size) {
        ssize_t count = 0;
        do {
            count = read(m_Descriptor, buffer, static_cast<std::size_t>(size));
        } while (count < 0 && errno == EINTR);
        m_BytesLeft -= std::max<ssize_t>(count, 0);
        if (m_BytesLeft < 0) {
            g_Report(g_ParsedFile.path + ": grows while it is read; only its first 256 MiB count");
            return -1;
        }
        return static_cast<int>(count);
    }

private:
    int m_Descriptor;
    std::int64_t m_BytesLeft = kMaxResultFileBytes;
};

// The reason why the open file may not be read; empty when it may.
std::string Objection(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a regular file";
    }
    return status.st_size > kMaxResultFileBytes ? "larger than 256 MiB" : "";
}

int OnMatch(const char*) {
    return 1;
}

void* OnOpen(const char* path) {
    g_ParsedFile = {};
    g_ParsedFile.path = path;
    // A FIFO would block without O_NONBLOCK; a regular file ignores the flag.
    const int linkFlag = g_Links == ResultFileLinks::kReject ? O_NOFOLLOW : 0;
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | linkFlag);
    if (descriptor < 0) {
        g_Report(g_ParsedFile.path + ": " + std::strerror(errno));
        return nullptr;
    }
    const std::string objection = Objection(descriptor);
    if (!objection.empty()) {
        g_Report(g_ParsedFile.path + ": " + objection);
        close(descriptor);
        return nullptr;
    }
    return new XmlInput(descriptor);
}

int OnRead(void* input, char* buffer, int size) {
    return static_cast<XmlInput*>(input)->Read(buffer, size);
}

int OnClose(void* input) {
    delete static_cast<XmlInput*>(input);
    return 0;
}

// The application logs the error record. libxml2 would print the lines of the file unescaped.
void OnError(void*, const char*, ...) {}  // NOLINT(cert-dcl50-cpp): the type of the callback

// Computes what xmlNodeListGetString returns for a list with in-line substitution. libxml2 joins
// the pieces in quadratic time and expands entities without a limit.
class ValueReader {
public:
    explicit ValueReader(xmlDocPtr doc) : m_Doc(doc) {}

    // Appends the text of the list. False when the entities expand to more than is left.
    bool Append(const xmlNode* list, std::string& text) {
        for (const xmlNode* node = list; node != nullptr; node = node->next) {
            const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
            if (isText) {
                m_AppendContent(node, text);
            } else if (node->type == XML_ENTITY_REF_NODE && !m_AppendEntity(node, text)) {
                return false;
            }
        }
        return true;
    }

    // False when the list has no piece of text, not even an empty one.
    bool HasText() const { return m_HasText; }

private:
    void m_AppendContent(const xmlNode* node, std::string& text) {
        if (node->content != nullptr) {
            m_HasText = true;
            text += reinterpret_cast<const char*>(node->content);
        }
    }

    bool m_AppendEntity(const xmlNode* reference, std::string& text) {
        xmlEntityPtr entity = xmlGetDocEntity(m_Doc, reference->name);
        if (entity == nullptr) {
            m_AppendContent(reference, text);
            return true;
        }
        const auto [made, isNew] = m_EntityTexts.try_emplace(entity);
        if (isNew && !Append(entity->children, made->second)) {
            return false;
        }
        // An empty expansion counts too: it takes time.
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
        g_Report(g_ParsedFile.path + ": its entities expand to more than 10,000,000 bytes");
        return nullptr;
    }
    return reader.HasText() ? xmlStrndup(BAD_CAST text.data(), static_cast<int>(text.size()))
                            : nullptr;
}

// Ends the parse at the limit. libxml2 limits the size of parameter entities, but not their number.
xmlEntityPtr OnParameterEntity(void* parser, const xmlChar* name) {
    if (--g_ParsedFile.parameterEntitiesLeft >= 0) {
        return xmlSAX2GetParameterEntity(parser, name);
    }
    if (g_ParsedFile.parameterEntitiesLeft == -1) {
        g_Report(g_ParsedFile.path + ": uses more than 1,000 parameter entities");
    }
    auto* context = static_cast<xmlParserCtxtPtr>(parser);
    context->wellFormed = 0;
    xmlStopParser(context);
    return nullptr;
}

struct ParserDeleter {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
using Parser = std::unique_ptr<xmlParserCtxt, ParserDeleter>;

// Does what xmlParseFile does, with the limit of the parameter entities.
xmlDocPtr ParseFile(const char* path) {
    const Parser parser(xmlCreateFileParserCtxt(path));
    if (parser == nullptr) {
        return nullptr;
    }
    parser->sax->getParameterEntity = OnParameterEntity;
    xmlParseDocument(parser.get());
    XmlDocument document(std::exchange(parser->myDoc, nullptr));
    return parser->wellFormed != 0 ? document.release() : nullptr;
}

int OnReadContent(void* read, char* buffer, int size) {
    const auto& function = *static_cast<const XmlRead*>(read);
    return static_cast<int>(function(buffer, static_cast<std::size_t>(size)));
}

}  // namespace

void XmlDocumentDeleter::operator()(xmlDoc* document) const {
    xmlFreeDoc(document);
}

XmlDocument ParseXml(const XmlRead& read) {
    g_ParsedFile = {};
    const Parser parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return nullptr;
    }
    parser->sax->getParameterEntity = OnParameterEntity;
    XmlRead copy = read;
    return XmlDocument(xmlCtxtReadIO(parser.get(), OnReadContent, nullptr, &copy, nullptr, nullptr,
                                     XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
}

void LimitXmlInput(XmlInputReport report, ResultFileLinks links) {
    g_Report = std::move(report);
    g_Links = links;
    xmlSetGenericErrorFunc(nullptr, OnError);
    // A catalog could lead to files other than the result files.
    xmlCatalogSetDefaults(XML_CATA_ALLOW_NONE);
    xmlCleanupInputCallbacks();
    xmlRegisterInputCallbacks(OnMatch, OnOpen, OnRead, OnClose);
}

}  // namespace quorvel::desktop

// The linker's names for the calls as the application makes them, and as libxml2 has them.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" xmlChar* __real_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine);
extern "C" xmlChar* __wrap_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine);

xmlChar* __wrap_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine) {
    if (inLine == 0) {
        return __real_xmlNodeListGetString(doc, list, inLine);
    }
    return quorvel::desktop::ReadValue(doc, list);
}

extern "C" xmlDocPtr __wrap_xmlParseFile(const char* path);

xmlDocPtr __wrap_xmlParseFile(const char* path) {
    return quorvel::desktop::ParseFile(path);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
