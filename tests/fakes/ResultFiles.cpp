#include "ResultFiles.h"

namespace xml {

std::string Escape(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '&':
                result += "&amp;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string Element(const std::string& tag, const std::string& content) {
    return "<" + tag + ">" + content + "</" + tag + ">\n";
}

std::string Section(const std::string& tag, const Fields& fields) {
    std::string content = "\n";
    for (const auto& field : fields) {
        content += Element(field.first, Escape(field.second));
    }
    return Element(tag, content);
}

std::string Item(const Fields& fields) {
    return Section("test", fields);
}

std::string Document(const std::string& content, const std::string& root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + Element(root, "\n" + content);
}

std::string DocumentOf(const std::vector<Fields>& items) {
    std::string list = "\n";
    for (const Fields& item : items) {
        list += Item(item);
    }
    return Document(Section("Information", {}) + Section("Network", {}) + Section("Summary", {}) +
                    Section("RNSCImage", {}) + Section("RNSCTest", {}) +
                    Element("FAnetTest", list));
}

}  // namespace xml
