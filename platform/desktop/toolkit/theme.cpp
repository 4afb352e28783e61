#include "toolkit/theme.h"

#include <Elementary.h>

#include <array>
#include <string>

#include "log/log.h"
#include "resources.h"

namespace quorvel::desktop {

namespace {

// A theme file and a group that only this file contains.
struct Overlay {
    const char* file;
    const char* group;
};

constexpr std::array<Overlay, 2> kOverlays{{
    {"theme/quorvel.edj", "elm/button/base/C_ButtonBasic_WhiteText"},
    {"theme/quorvel-text.edj", "elm/label/base/slide_short"},
}};

// The toolkit ignores missing and invalid files silently, so check where the group comes from.
bool AddOverlay(const Overlay& overlay) {
    const std::string path = FindResource(overlay.file);
    elm_theme_overlay_add(nullptr, path.c_str());
    const char* found = elm_theme_group_path_find(nullptr, overlay.group);
    if (found != nullptr && path == found) {
        return true;
    }
    LogError(path + ": theme missing or invalid; check QUORVEL_RESOURCES or install quorvel again");
    return false;
}

}  // namespace

bool AddTheme() {
    const std::string unknown = UnknownTheme();
    if (!unknown.empty()) {
        LogError("QUORVEL_THEME=" + unknown + ": unknown theme; use high-contrast or no value");
    }
    for (const Overlay& overlay : kOverlays) {
        if (!AddOverlay(overlay)) {
            return false;
        }
    }
    return true;
}

void RemoveTheme() {
    for (const Overlay& overlay : kOverlays) {
        elm_theme_overlay_del(nullptr, FindResource(overlay.file).c_str());
    }
}

}  // namespace quorvel::desktop
