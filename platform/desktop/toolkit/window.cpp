#include "toolkit/window.h"

#include <Ecore_Evas.h>
#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace quorvel::desktop {

namespace {

constexpr int kSetWidth = 1920;
constexpr int kSetHeight = 1080;
constexpr double kSetScale = 2.0;
// In pixels. A canvas in memory reports its own small first size as the size of the screen. A
// window can be smaller for a moment.
constexpr int kSmallestSide = 64;

constexpr double kSmallestUserScale = 0.5;
constexpr double kLargestUserScale = 2.0;

// The toolkit sets the pointer to null when it deletes the window.
Evas_Object* g_MainWindow = nullptr;

void FillScreen(Evas_Object* window) {
    int width = 0;
    int height = 0;
    elm_win_screen_size_get(window, nullptr, nullptr, &width, &height);
    if (width < kSmallestSide || height < kSmallestSide) {
        width = kSetWidth;
        height = kSetHeight;
    }
    elm_config_scale_set(ScaleFor(width, height));
    evas_object_resize(window, width, height);
    elm_win_fullscreen_set(window, EINA_TRUE);
}

// A display system gives the focus to the window later than the application focuses its first row.
// The row would then show no focus.
void GiveFocus(Evas_Object* window) {
    Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(window));
    ecore_evas_focus_device_set(canvas, nullptr, EINA_FALSE);
    ecore_evas_focus_device_set(canvas, nullptr, EINA_TRUE);
}

// A transparent object takes the place of the pointer. The canvas owns the object. On Wayland, the
// toolkit draws the pointer with the theme, in which the pointer is invisible.
void HidePointer(Evas_Object* window) {
    Evas* canvas = evas_object_evas_get(window);
    Ecore_Evas* ecoreCanvas = ecore_evas_ecore_evas_get(canvas);
    if (ecore_evas_wayland2_window_get(ecoreCanvas) != nullptr) {
        return;
    }
    Evas_Object* cursor = evas_object_rectangle_add(canvas);
    evas_object_color_set(cursor, 0, 0, 0, 0);
    ecore_evas_object_cursor_set(ecoreCanvas, cursor, EVAS_LAYER_MAX, 0, 0);
}

// Returns the user's factor of the scale.
double UserScale() {
    const char* text = std::getenv("ELM_SCALE");
    char* end = nullptr;
    const double scale = text == nullptr ? 1.0 : std::strtod(text, &end);
    const bool isNumber = end != nullptr && end != text && *end == '\0' && !std::isnan(scale);
    return isNumber ? std::clamp(scale, kSmallestUserScale, kLargestUserScale) : 1.0;
}

void SetUpWindow(Evas_Object* window) {
    g_MainWindow = window;
    efl_wref_add(window, &g_MainWindow);
    FillScreen(window);
    GiveFocus(window);
    HidePointer(window);
}

}  // namespace

double ScaleFor(int width, int height) {
    const int usedWidth = std::max(width, kSmallestSide);
    const int usedHeight = std::max(height, kSmallestSide);
    return kSetScale * UserScale() *
           std::min(static_cast<double>(usedWidth) / kSetWidth,
                    static_cast<double>(usedHeight) / kSetHeight);
}

Evas_Object* MainWindow() {
    return g_MainWindow;
}

}  // namespace quorvel::desktop

// The linker's names: __wrap_ replaces the application's call, __real_ is the toolkit's function.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" Evas_Object* __real_elm_win_util_standard_add(const char* name, const char* title);
extern "C" Evas_Object* __wrap_elm_win_util_standard_add(const char* name, const char* title);

Evas_Object* __wrap_elm_win_util_standard_add(const char* name, const char* title) {
    Evas_Object* window = __real_elm_win_util_standard_add(name, title);
    if (window != nullptr) {
        quorvel::desktop::SetUpWindow(window);
    }
    return window;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
