#include "runs/printable.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quorvel::runs {

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct Character {
    char32_t code = 0;
    std::size_t size = 0;  // in bytes; 0 for a byte that is not UTF-8
};

// Returns the number of bytes of a character by its first byte; 0 when the byte begins no
// character.
std::size_t SizeOf(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC0 || first >= 0xF8) {
        return 0;
    }
    if (first < 0xE0) {
        return 2;
    }
    return first < 0xF0 ? 3 : 4;
}

// Returns whether a character of this size may have the code. A longer form than necessary is not
// UTF-8.
bool IsCode(char32_t code, std::size_t size) {
    constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= kLeast[size] && code <= 0x10FFFF && !isSurrogate;
}

// Returns the first character of a text that is not empty.
Character Decode(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t size = SizeOf(first);
    if (size == 0 || size > text.size()) {
        return {};
    }
    char32_t code = size == 1 ? first : first & (0x7FU >> size);
    for (const char next : text.substr(1, size - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80) {
            return {};
        }
        code = code << 6U | (byte & 0x3FU);
    }
    return IsCode(code, size) ? Character{code, size} : Character{};
}

// Returns false for control characters, line and paragraph separators, and characters that embed,
// override or isolate a direction of text.
bool IsPrintable(char32_t code) {
    const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool isDirection =
        (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return !isControl && !isDirection;
}

// Replaces each byte that is not UTF-8 by kReplacement, and each character that isAccepted rejects
// by '?'.
template <typename IsAccepted>
std::string Convert(std::string_view text, const IsAccepted& isAccepted) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = Decode(text);
        const std::size_t size = std::max<std::size_t>(character.size, 1);
        if (character.size == 0) {
            result += kReplacement;
        } else if (isAccepted(character.code)) {
            result += text.substr(0, size);
        } else {
            result += '?';
        }
        text.remove_prefix(size);
    }
    return result;
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

std::string MakeUtf8(const std::string& text) {
    return Convert(text, [](char32_t) { return true; });
}

std::string MakePrintable(const std::string& text) {
    return Convert(text, IsPrintable);
}

const char* FindUnprintableOption(char** arguments) {
    const auto isUnprintable = [](char letter) { return letter < 0x20 || letter > 0x7E; };
    for (char** argument = arguments + 1; *argument != nullptr; ++argument) {
        const std::string_view text = *argument;
        if (text == "--") {
            break;
        }
        const bool isLong = text.substr(0, 2) == "--";
        const std::string_view name = text.substr(0, isLong ? text.find('=') : 2);
        if (text.substr(0, 1) == "-" && std::any_of(name.begin(), name.end(), isUnprintable)) {
            return *argument;
        }
    }
    return nullptr;
}

}  // namespace quorvel::runs
