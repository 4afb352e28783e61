#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_

#include <app.h>
#include <bundle.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::desktop {

// The keys and values of a launch request.
using KeyValues = std::map<std::string, std::string, std::less<>>;

}  // namespace quorvel::desktop

// The bundle belongs to the request that it was taken from, so the application has nothing to free.
struct _bundle_t {
    quorvel::desktop::KeyValues values;
};

struct app_control_s {
    bundle request;
};

namespace quorvel::desktop {

// Adds an entry of the form KEY=VALUE. The key ends at the first '=' and is not empty. Replaces the
// value of an equal key. Returns false and adds nothing when the entry has another form.
bool AddKeyValue(KeyValues& values, std::string_view entry);

// The first bytes of each message.
constexpr std::string_view kMessageWord = "quorvel2";
// Limit of the bytes after the word.
constexpr std::size_t kMaxRequestBytes = 65536;
constexpr std::size_t kMaxMessageBytes = kMessageWord.size() + kMaxRequestBytes;

// Returns the message that a second program sends to the owner: kMessageWord and each "KEY=VALUE"
// with a zero byte at its end. Returns an empty string when the message would exceed
// kMaxMessageBytes.
std::string EncodeRequest(const KeyValues& request);

// Returns the request in a message; no value when the message is invalid.
std::optional<KeyValues> DecodeRequest(std::string_view message);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
