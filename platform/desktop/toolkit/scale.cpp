#include "toolkit/scale.h"

// Declares efl_ui_focus_layer_enable_set.
#define EFL_UI_FOCUS_LAYER_PROTECTED
#include <Efl_Ui.h>
#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/text_panels.h"
#include "toolkit/widgets.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

constexpr char kDataKey[] = "quorvel-scale";

// Returns the scale for the size of the window.
double ScaleOf(const Evas_Object* window) {
    int width = 0;
    int height = 0;
    evas_object_geometry_get(window, nullptr, nullptr, &width, &height);
    return ScaleFor(width, height);
}

// The scroll position of a list or a scroller.
struct Position {
    explicit Position(Evas_Object* scrollable);

    Evas_Object* widget;
    // The height of the content above the visible part, in units of the toolkit's scale.
    double y;
};

Position::Position(Evas_Object* scrollable) : widget(scrollable) {
    int pixels = 0;
    elm_scroller_region_get(widget, nullptr, &pixels, nullptr, nullptr);
    y = pixels / elm_config_scale_get();
}

void Restore(const Position& position) {
    // The toolkit has hidden the scrollbar without a check whether it is needed.
    elm_layout_signal_emit(position.widget, "reload", "elm");
    int width = 0;
    int height = 0;
    elm_scroller_region_get(position.widget, nullptr, nullptr, &width, &height);
    const double y = position.y * elm_config_scale_get();
    elm_scroller_region_show(position.widget, 0, static_cast<int>(std::lround(y)), width, height);
}

// The focus of the window while the toolkit creates all rows again, which deletes the object that
// has the focus for a row. Takes the focus from the popup, and then from the row. The destructor
// gives the focus back in one step, so the watchers of the focus see no change.
class PausedFocus {
public:
    explicit PausedFocus(Evas_Object* window);
    ~PausedFocus();
    PausedFocus(const PausedFocus&) = delete;
    PausedFocus& operator=(const PausedFocus&) = delete;

private:
    // The layer that keeps the focus in the popup; null if no popup is shown.
    Evas_Object* m_Layer = nullptr;
    // Null if no row has the focus.
    Evas_Object* m_List = nullptr;
};

// Returns the disabled button of a popup that shows a running worker; null if the button is
// enabled.
Evas_Object* DisabledButton(Evas_Object* layer) {
    for (Evas_Object* button : WidgetsOf(layer, "elm_button")) {
        if (ParentOfType(button, "elm_notify") == layer && elm_object_disabled_get(button)) {
            return button;
        }
    }
    return nullptr;
}

// The layer takes the focus only while the layer has a widget that can have the focus.
void TakeFocus(Evas_Object* layer) {
    Evas_Object* button = DisabledButton(layer);
    if (button != nullptr) {
        elm_object_disabled_set(button, EINA_FALSE);
    }
    efl_ui_focus_layer_enable_set(layer, EINA_TRUE);
    if (button != nullptr) {
        elm_object_disabled_set(button, EINA_TRUE);
    }
}

PausedFocus::PausedFocus(Evas_Object* window) {
    for (Evas_Object* layer : WidgetsOf(window, "elm_notify")) {
        if (evas_object_visible_get(layer) != EINA_FALSE) {
            m_Layer = layer;
            efl_ui_focus_layer_enable_set(layer, EINA_FALSE);
        }
    }
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        // Also true while the window itself has no focus.
        if (efl_ui_focus_manager_redirect_get(window) == list) {
            m_List = list;
            efl_ui_focus_manager_reset_history(list);
        }
    }
}

PausedFocus::~PausedFocus() {
    Elm_Object_Item* row = m_List == nullptr ? nullptr : elm_object_focused_item_get(m_List);
    // The toolkit deletes the object of the last row if the focus is set to the row itself.
    Efl_Ui_Focus_Object* place =
        row == nullptr ? nullptr : efl_ui_focus_manager_request_subchild(m_List, row);
    if (place != nullptr) {
        efl_ui_focus_manager_focus_set(m_List, place);
    }
    if (m_Layer != nullptr) {
        TakeFocus(m_Layer);
    }
}

std::vector<Position> PositionsOf(Evas_Object* window) {
    std::vector<Position> positions;
    for (const char* type : {"elm_genlist", "elm_scroller"}) {
        for (Evas_Object* widget : WidgetsOf(window, type)) {
            positions.emplace_back(widget);
        }
    }
    return positions;
}

// The focus returns from another widget only to a row that is visible.
void ShowFocusedRow(Evas_Object* window) {
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        Elm_Object_Item* row = elm_object_focused_item_get(list);
        if (row != nullptr) {
            elm_genlist_item_show(row, ELM_GENLIST_ITEM_SCROLLTO_IN);
        }
    }
}

// The toolkit has resized the window and arranges the content next.
void OnWindowResized(void*, Evas* canvas, Evas_Object* window, void*) {
    const PausedFocus focus(window);
    const std::vector<Position> positions = PositionsOf(window);
    elm_config_scale_set(ScaleOf(window));
    ScaleTextPanels(window);
    evas_smart_objects_calculate(canvas);
    std::for_each(positions.begin(), positions.end(), Restore);
    ShowFocusedRow(window);
    evas_smart_objects_calculate(canvas);
}

// Returns false if the toolkit must not resize the window and must not set a minimum size. The
// toolkit would do both for the size of the content, and the content would then grow with the
// window.
Eina_Bool IsFree(void*, Evas_Object* window, int, int) {
    return evas_object_data_get(window, kDataKey) == nullptr ? EINA_TRUE : EINA_FALSE;
}

const Elm_Win_Trap* SizeTrap() {
    static const Elm_Win_Trap trap = [] {
        Elm_Win_Trap filled{};
        filled.version = ELM_WIN_TRAP_VERSION;
        filled.resize = IsFree;
        filled.size_min_set = IsFree;
        return filled;
    }();
    return &trap;
}

}  // namespace

void ScaleWithWindow(Evas_Object* window) {
    evas_object_data_set(window, kDataKey, window);
    elm_win_trap_set(SizeTrap());
    evas_object_event_callback_add(window, EVAS_CALLBACK_RESIZE, OnWindowResized, nullptr);
}

}  // namespace quorvel::desktop
