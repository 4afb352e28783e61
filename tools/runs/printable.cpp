#include "runs/printable.h"

namespace quorvel::runs {

namespace {

bool IsC1Control(const std::string& text, std::size_t i) {
    return i + 1 < text.size() && text[i] == '\xC2' &&
           static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
           static_cast<unsigned char>(text[i + 1]) < 0xA0;
}

}  // namespace

std::string Shorten(const std::string& text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) {
        return text;
    }
    std::size_t end = maxBytes - 3;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.substr(0, end) + "...";
}

std::string MakePrintable(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isC1 = IsC1Control(text, i);
        result += isC1 || byte < 0x20 || byte == 0x7F ? '?' : text[i];
        i += isC1 ? 1 : 0;
    }
    return result;
}

}  // namespace quorvel::runs
