#include "toolkit/scale.h"

// Declares efl_ui_focus_layer_enable_set.
#define EFL_UI_FOCUS_LAYER_PROTECTED
#include <Efl_Ui.h>
#include <Elementary.h>

#include <cmath>

#include "toolkit/widgets.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

constexpr char kDataKey[] = "quorvel-scale";

// Returns the scroll position of a list or scroller in units of the toolkit's scale.
double PositionOf(const Evas_Object* scrollable) {
    return ScrollPosition(scrollable) / elm_config_scale_get();
}

void Restore(Evas_Object* scrollable, double position) {
    // The toolkit has hidden the scrollbar, also of content that is larger than the visible part.
    elm_layout_signal_emit(scrollable, "reload", "elm");
    ScrollTo(scrollable, static_cast<int>(std::lround(position * elm_config_scale_get())));
}

// Takes the focus from the popup and then from the row. The toolkit is about to create all rows
// again, which deletes the object that has the focus for a row. Returns whether the list had the
// focus, also in a window without focus.
bool PauseFocus(Evas_Object* window, const Widgets& widgets) {
    if (widgets.popup != nullptr) {
        efl_ui_focus_layer_enable_set(widgets.popup, EINA_FALSE);
    }
    const bool isInList = efl_ui_focus_manager_redirect_get(window) == widgets.list;
    if (isInList) {
        efl_ui_focus_manager_reset_history(widgets.list);
    }
    return isInList;
}

// The popup takes the focus only while its button is enabled.
void TakeFocus(Evas_Object* popup, Evas_Object* button) {
    const Eina_Bool isDisabled = elm_object_disabled_get(button);
    elm_object_disabled_set(button, EINA_FALSE);
    efl_ui_focus_layer_enable_set(popup, EINA_TRUE);
    elm_object_disabled_set(button, isDisabled);
}

// Gives the focus back before the iteration of the main loop ends, so focus.cpp sees no change.
// isInList: the result of PauseFocus.
void ResumeFocus(const Widgets& widgets, bool isInList) {
    Elm_Object_Item* row = isInList ? elm_object_focused_item_get(widgets.list) : nullptr;
    // The toolkit deletes the object of the last row if the focus is set to the row itself.
    Efl_Ui_Focus_Object* place =
        row == nullptr ? nullptr : efl_ui_focus_manager_request_subchild(widgets.list, row);
    if (place != nullptr) {
        efl_ui_focus_manager_focus_set(widgets.list, place);
    }
    if (widgets.popup != nullptr) {
        TakeFocus(widgets.popup, widgets.popupButton);
    }
}

// The focus returns from another widget only to a row that is visible.
void ShowFocusedRow(const Evas_Object* list) {
    Elm_Object_Item* row = elm_object_focused_item_get(list);
    if (row != nullptr) {
        elm_genlist_item_show(row, ELM_GENLIST_ITEM_SCROLLTO_IN);
    }
}

// Creates the first rows if the window has not been drawn. A change of the scale would otherwise
// come before the toolkit registers the focused row, and the toolkit would log an error.
void CreateFirstRows(Evas* canvas, const Evas_Object* list) {
    Eina_List* rows = elm_genlist_realized_items_get(list);
    if (rows == nullptr) {
        evas_smart_objects_calculate(canvas);
    }
    eina_list_free(rows);
}

// The toolkit has resized the window and arranges the content next.
void OnWindowResized(void*, Evas* canvas, Evas_Object* window, void*) {
    int width = 0;
    int height = 0;
    evas_object_geometry_get(window, nullptr, nullptr, &width, &height);
    const Widgets widgets(window);
    CreateFirstRows(canvas, widgets.list);
    const bool isInList = PauseFocus(window, widgets);
    const double listPosition = PositionOf(widgets.list);
    const double textPosition = PositionOf(widgets.scroller);
    elm_config_scale_set(ScaleFor(width, height));
    evas_smart_objects_calculate(canvas);
    Restore(widgets.list, listPosition);
    Restore(widgets.scroller, textPosition);
    ShowFocusedRow(widgets.list);
    evas_smart_objects_calculate(canvas);
    ResumeFocus(widgets, isInList);
}

// Returns false if the toolkit must not resize the window and must not set a minimum size. The
// toolkit would do both for the size of the content, and the content would then grow with the
// window.
Eina_Bool IsFree(void*, Evas_Object* window, int, int) {
    return evas_object_data_get(window, kDataKey) == nullptr ? EINA_TRUE : EINA_FALSE;
}

}  // namespace

void ScaleWithWindow(Evas_Object* window) {
    evas_object_data_set(window, kDataKey, window);
    // The toolkit keeps the pointer.
    static Elm_Win_Trap trap{};
    trap.version = ELM_WIN_TRAP_VERSION;
    trap.resize = IsFree;
    trap.size_min_set = IsFree;
    elm_win_trap_set(&trap);
    evas_object_event_callback_add(window, EVAS_CALLBACK_RESIZE, OnWindowResized, nullptr);
}

}  // namespace quorvel::desktop
