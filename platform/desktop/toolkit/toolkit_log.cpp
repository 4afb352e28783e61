#include "toolkit/toolkit_log.h"

#include <Eina.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "log/log.h"

namespace quorvel::desktop {

namespace {

// A message about a call that the application makes on every set too.
struct KnownMessage {
    std::string_view function;
    std::string_view text;
};

constexpr std::array<KnownMessage, 4> kKnownMessages{{
    // Colours that are not premultiplied. The toolkit clamps the components, which gives the
    // intended translucent white.
    {"_efl_canvas_object_efl_gfx_color_color_set", "Evas only handles premultiplied colors"},
    // The transparency of a row icon, set on the widget instead of its image.
    {"evas_object_image_alpha_set", "object is not an image!"},
    // The box of the button, packed into the table as if the table were a box.
    {"_efl_object_call_resolve", "'elm_obj_box_pack_end'"},
    // The popup of a window that is deleted. The popup gives the focus back to a row that no longer
    // exists.
    {"efl_ui_focus_object_focus_manager_get", "is not a valid object"},
}};

[[gnu::format(printf, 1, 0)]] std::string Format(const char* format, va_list arguments) {
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) {
        return {};
    }
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return text;
}

bool IsKnown(std::string_view function, std::string_view text) {
    return std::any_of(kKnownMessages.begin(), kKnownMessages.end(), [&](const auto& known) {
        return function == known.function && text.find(known.text) != std::string_view::npos;
    });
}

// Any thread of the toolkit.
[[gnu::format(printf, 6, 0)]] void OnMessage(const Eina_Log_Domain* domain,
                                             Eina_Log_Level /*level*/, const char* /*file*/,
                                             const char* function, int /*line*/, const char* format,
                                             void* /*data*/, va_list arguments) {
    const std::string text = Format(format, arguments);
    if (!IsKnown(function, text)) {
        LogError(std::string(domain->name) + ": " + function + ": " + text);
    }
}

}  // namespace

void StartToolkitLog() {
    eina_log_print_cb_set(OnMessage, nullptr);
}

void StopToolkitLog() {
    eina_log_print_cb_set(eina_log_print_cb_stderr, nullptr);
}

}  // namespace quorvel::desktop
