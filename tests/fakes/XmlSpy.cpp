#include "fakes/XmlSpy.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

namespace {

struct SpyState {
    std::vector<std::string> documentCalls;
    std::vector<std::string> readElements;
    bool rootHidden = false;
};

SpyState& GetSpyState() {
    static SpyState state;
    return state;
}

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string PathOf(xmlNodePtr node) {
    std::string path;
    while (node != nullptr && node->parent != nullptr && node->parent->type == XML_ELEMENT_NODE) {
        if (!path.empty()) {
            path.insert(0, "/");
        }
        path.insert(0, reinterpret_cast<const char*>(node->name));
        node = node->parent;
    }
    return path;
}

}  // namespace

void XmlSpy::Clear() {
    GetSpyState() = SpyState();
}

std::vector<std::string> XmlSpy::DocumentCalls() {
    return GetSpyState().documentCalls;
}

std::vector<std::string> XmlSpy::ReadElements() {
    return GetSpyState().readElements;
}

void XmlSpy::HideRoot() {
    GetSpyState().rootHidden = true;
}

// The linker option --wrap defines the names: a call of f calls __wrap_f, and __real_f is f itself.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

xmlDocPtr __real_xmlParseFile(const char* path);
void __real_xmlFreeDoc(xmlDocPtr doc);
xmlNodePtr __real_xmlDocGetRootElement(const xmlDoc* doc);
xmlChar* __real_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine);

xmlDocPtr __wrap_xmlParseFile(const char* path) {
    GetSpyState().documentCalls.push_back("parse " + NameOf(path));
    return __real_xmlParseFile(path);
}

void __wrap_xmlFreeDoc(xmlDocPtr doc) {
    const char* url = doc == nullptr ? "null" : reinterpret_cast<const char*>(doc->URL);
    GetSpyState().documentCalls.push_back("free " + NameOf(url == nullptr ? "unnamed" : url));
    __real_xmlFreeDoc(doc);
}

xmlNodePtr __wrap_xmlDocGetRootElement(const xmlDoc* doc) {
    return GetSpyState().rootHidden ? nullptr : __real_xmlDocGetRootElement(doc);
}

xmlChar* __wrap_xmlNodeListGetString(xmlDocPtr doc, const xmlNode* list, int inLine) {
    if (list != nullptr) {
        GetSpyState().readElements.push_back(PathOf(list->parent));
    }
    return __real_xmlNodeListGetString(doc, list, inLine);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
