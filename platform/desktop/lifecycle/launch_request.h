#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_

#include <app.h>
#include <bundle.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace quorvel::desktop {

// The keys and values of a launch request.
using KeyValues = std::map<std::string, std::string, std::less<>>;

}  // namespace quorvel::desktop

// A request owns its bundle, so the application has nothing to free.
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

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_LAUNCH_REQUEST_H_
