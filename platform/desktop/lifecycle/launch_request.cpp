#include "lifecycle/launch_request.h"

#include <app_control_internal.h>

#include <string_view>

namespace quorvel::desktop {

namespace {

constexpr std::string_view kWord = "quorvel1";
constexpr std::size_t kLengthBytes = 4;
constexpr std::size_t kHeaderBytes = kWord.size() + kLengthBytes;

bool Add(KeyValues& values, std::string_view entry) {
    const std::size_t separator = entry.find('=');
    if (separator == 0 || separator == std::string_view::npos) {
        return false;
    }
    values.insert_or_assign(std::string(entry.substr(0, separator)),
                            std::string(entry.substr(separator + 1)));
    return true;
}

std::string EncodeLength(std::size_t length) {
    std::string bytes;
    for (std::size_t i = 0; i < kLengthBytes; ++i) {
        bytes += static_cast<char>((length >> (8 * i)) & 0xFF);
    }
    return bytes;
}

std::size_t DecodeLength(std::string_view bytes) {
    std::size_t length = 0;
    for (std::size_t i = kLengthBytes; i > 0; --i) {
        length = (length << 8) | static_cast<unsigned char>(bytes[i - 1]);
    }
    return length;
}

Decoded DecodePayload(std::string_view payload, KeyValues& values) {
    KeyValues read;
    while (!payload.empty()) {
        const std::size_t end = payload.find('\0');
        if (end == std::string_view::npos || !Add(read, payload.substr(0, end))) {
            return Decoded::kGarbage;
        }
        payload.remove_prefix(end + 1);
    }
    values = std::move(read);
    return Decoded::kComplete;
}

}  // namespace

const char* ReadArguments(int argc, char** argv, KeyValues& values) {
    KeyValues read;
    for (int i = 1; i < argc; ++i) {
        if (!Add(read, argv[i])) {
            return argv[i];
        }
    }
    values = std::move(read);
    return nullptr;
}

std::string EncodeMessage(const KeyValues& values) {
    std::string payload;
    for (const auto& [key, value] : values) {
        payload.append(key).append("=").append(value).append(1, '\0');
    }
    if (payload.size() > kMaxMessagePayload) {
        return {};
    }
    return std::string(kWord) + EncodeLength(payload.size()) + payload;
}

Decoded DecodeMessage(const std::string& bytes, KeyValues& values) {
    const std::string_view received = bytes;
    const std::string_view word = received.substr(0, kWord.size());
    if (word != kWord.substr(0, word.size())) {
        return Decoded::kGarbage;
    }
    if (received.size() < kHeaderBytes) {
        return Decoded::kIncomplete;
    }
    const std::size_t length = DecodeLength(received.substr(kWord.size(), kLengthBytes));
    if (length > kMaxMessagePayload) {
        return Decoded::kTooLong;
    }
    const std::string_view payload = received.substr(kHeaderBytes);
    if (payload.size() < length) {
        return Decoded::kIncomplete;
    }
    return payload.size() > length ? Decoded::kGarbage : DecodePayload(payload, values);
}

}  // namespace quorvel::desktop

int app_control_to_bundle(app_control_h app_control, bundle** data) {
    if (app_control == nullptr || data == nullptr) {
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    }
    *data = &app_control->request;
    return APP_CONTROL_ERROR_NONE;
}

int bundle_get_str(bundle* b, const char* key, char** str) {
    if (b == nullptr || key == nullptr || str == nullptr) {
        return BUNDLE_ERROR_INVALID_PARAMETER;
    }
    const auto found = b->values.find(std::string_view(key));
    if (found == b->values.end()) {
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    }
    *str = found->second.data();
    return BUNDLE_ERROR_NONE;
}
