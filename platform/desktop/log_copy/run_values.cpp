#include "log_copy/run_values.h"

#include <libxml/tree.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>
#include <string_view>

#include "paths.h"
#include "photos.h"
#include "xml_input.h"

namespace quorvel::desktop {

namespace {

constexpr const char* kItemLists[] = {"RNSCImage", "RNSCTest", "FAnetTest"};

// Returns the first child with the name; null without such a child.
const xmlNode* FindChild(const xmlNode* parent, const char* name) {
    const xmlNode* child = parent == nullptr ? nullptr : parent->children;
    while (child != nullptr && xmlStrEqual(child->name, BAD_CAST name) == 0) {
        child = child->next;
    }
    return child;
}

// Returns the text of the first child with the name; empty without such a text.
std::string TextOf(xmlDoc* document, const xmlNode* parent, const char* name) {
    const xmlNode* child = FindChild(parent, name);
    const std::unique_ptr<xmlChar, decltype(xmlFree)> text(
        child == nullptr ? nullptr : xmlNodeListGetString(document, child->children, 1), xmlFree);
    return text == nullptr ? std::string() : reinterpret_cast<const char*>(text.get());
}

// As for the application, a beginning of "image" is enough.
bool IsImage(const std::string& type) {
    return !type.empty() && std::string_view("image").substr(0, type.size()) == type;
}

// Collects the values of one result file after the other.
class Collector {
public:
    void Read(const LogSource& source) {
        int error = 0;
        off_t offset = 0;
        const XmlDocument document = ParseXml([&](char* buffer, std::size_t size) {
            const ssize_t count = source.file->Read(buffer, size, offset);
            error = count < 0 ? errno : error;
            offset += count;
            return count;
        });
        if (error != 0) {
            FailSource(source.path, error);
        }
        if (document != nullptr) {
            m_Take(document.get());
        }
    }

    RunValues Take() { return std::move(m_Values); }

private:
    void m_Take(xmlDoc* document) {
        const xmlNode* root = xmlDocGetRootElement(document);
        const std::string number = TextOf(document, FindChild(root, "Information"), "sn");
        m_Values.serialNumber = number.empty() ? m_Values.serialNumber : number;
        for (const char* list : kItemLists) {
            const xmlNode* items = FindChild(root, list);
            for (const xmlNode* item = items == nullptr ? nullptr : items->children;
                 item != nullptr; item = item->next) {
                m_TakeItem(document, item);
            }
        }
    }

    void m_TakeItem(xmlDoc* document, const xmlNode* item) {
        if (xmlStrEqual(item->name, BAD_CAST "test") == 0 || m_Values.photos.size() == kMaxPhotos ||
            !IsImage(TextOf(document, item, "type"))) {
            return;
        }
        const std::string photo = TextOf(document, item, "detailed");
        if (!photo.empty() && m_Known.insert(photo).second) {
            m_Values.photos.push_back(photo);
        }
    }

    RunValues m_Values;
    std::set<std::string> m_Known;
};

}  // namespace

RunValues ReadRunValues(const std::vector<LogSource>& sources) {
    Collector collector;
    for (const char* name : {kRnscResultFile, kMainResultFile}) {
        const auto isNamed = [name](const LogSource& source) { return source.name == name; };
        const auto found = std::find_if(sources.begin(), sources.end(), isNamed);
        if (found != sources.end() && found->status.st_size <= kMaxResultFileBytes) {
            collector.Read(*found);
        }
    }
    return collector.Take();
}

}  // namespace quorvel::desktop
