#include "toolkit/widgets.h"

#include <Efl_Ui.h>
#include <Elementary.h>

namespace quorvel::desktop {

namespace {

void AddLabel(Evas_Object* label, Widgets& widgets) {
    Evas_Object* parent = elm_object_parent_widget_get(label);
    if (IsWidget(parent, "elm_scroller")) {
        widgets.scroller = parent;
        widgets.text = label;
    } else if (std::string_view(elm_object_style_get(label)) == "slide_short") {
        widgets.infoPanels.push_back(label);
    }
}

// Adds the object and its members.
void AddObject(Evas_Object* object, Widgets& widgets) {
    if (IsWidget(object, "elm_genlist")) {
        widgets.list = object;
    } else if (IsWidget(object, "elm_label")) {
        AddLabel(object, widgets);
    } else if (IsWidget(object, "elm_button")) {
        Evas_Object*& button = IsInPopup(object) ? widgets.popupButton : widgets.button;
        button = object;
    } else if (IsWidget(object, "elm_notify") && evas_object_visible_get(object) != EINA_FALSE) {
        widgets.popup = object;
    }
    if (!efl_isa(object, EFL_CANVAS_GROUP_CLASS)) {
        return;
    }
    Eina_List* members = evas_object_smart_members_get(object);
    void* member = nullptr;
    EINA_LIST_FREE(members, member) {
        AddObject(static_cast<Evas_Object*>(member), widgets);
    }
}

}  // namespace

Widgets::Widgets(const Evas_Object* object) {
    const Evas* canvas = evas_object_evas_get(object);
    for (Evas_Object* found = evas_object_bottom_get(canvas); found != nullptr;
         found = evas_object_above_get(found)) {
        AddObject(found, *this);
    }
}

bool Widgets::AreComplete() const {
    return list != nullptr && !infoPanels.empty() && text != nullptr && button != nullptr &&
           popupButton != nullptr;
}

bool IsWidget(const Evas_Object* object, std::string_view type) {
    const char* name = object == nullptr ? nullptr : evas_object_type_get(object);
    return name != nullptr && type == name;
}

bool IsInPopup(const Evas_Object* widget) {
    while (widget != nullptr && !IsWidget(widget, "elm_popup")) {
        widget = elm_object_parent_widget_get(widget);
    }
    return widget != nullptr;
}

int ScrollPosition(const Evas_Object* scrollable) {
    int y = 0;
    elm_scroller_region_get(scrollable, nullptr, &y, nullptr, nullptr);
    return y;
}

void ScrollTo(Evas_Object* scrollable, int position) {
    int x = 0;
    int width = 0;
    int height = 0;
    elm_scroller_region_get(scrollable, &x, nullptr, &width, &height);
    elm_scroller_region_show(scrollable, x, position, width, height);
}

}  // namespace quorvel::desktop
