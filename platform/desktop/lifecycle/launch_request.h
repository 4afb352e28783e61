#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_

#include <app.h>
#include <bundle.h>

#include <cstddef>
#include <map>
#include <string>

namespace quorvel::desktop {

// The keys and values of one launch request.
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

// The most that one message may carry behind its header, in bytes.
constexpr std::size_t kMaxMessagePayload = 65536;

// Reads arguments of the form KEY=VALUE; the key ends at the first '=' and is not empty, and of
// equal keys the last one counts. argv[0] is skipped. Stores nothing and returns the first argument
// of another form; returns null when all were read.
const char* ReadArguments(int argc, char** argv, KeyValues& values);

// The message that carries a request from one process to another: the word "quorvel1", the length
// of the payload as four bytes (least significant first), the payload. The payload is a row of
// "KEY=VALUE", each ended by a zero byte. Empty when the payload would be too long.
std::string EncodeMessage(const KeyValues& values);

enum class Decoded {
    kIncomplete,  // a good beginning, more is to come
    kComplete,    // values are filled in
    kGarbage,     // not a message
    kTooLong,     // announces more than kMaxMessagePayload
};

// Judges the bytes received so far, and fills in values when they are one whole message.
Decoded DecodeMessage(const std::string& bytes, KeyValues& values);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
