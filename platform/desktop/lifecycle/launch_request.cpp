#include "lifecycle/launch_request.h"

#include <app_control_internal.h>

namespace quorvel::desktop {

bool AddKeyValue(KeyValues& values, std::string_view entry) {
    const std::size_t separator = entry.find('=');
    if (separator == 0 || separator == std::string_view::npos) {
        return false;
    }
    values.insert_or_assign(std::string(entry.substr(0, separator)),
                            std::string(entry.substr(separator + 1)));
    return true;
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
