#include "toolkit/widgets.h"

#include <Efl_Ui.h>
#include <Elementary.h>

namespace quorvel::desktop {

namespace {

void AddWidgets(Evas_Object* object, std::string_view type, std::vector<Evas_Object*>& found) {
    if (IsWidget(object, type)) {
        found.push_back(object);
        return;
    }
    if (!efl_isa(object, EFL_CANVAS_GROUP_CLASS)) {
        return;
    }
    Eina_List* members = evas_object_smart_members_get(object);
    void* member = nullptr;
    EINA_LIST_FREE(members, member) {
        AddWidgets(static_cast<Evas_Object*>(member), type, found);
    }
}

}  // namespace

bool IsWidget(const Evas_Object* object, std::string_view type) {
    const char* name = object == nullptr ? nullptr : evas_object_type_get(object);
    return name != nullptr && type == name;
}

Evas_Object* ParentOfType(const Evas_Object* widget, std::string_view type) {
    Evas_Object* parent = elm_object_parent_widget_get(widget);
    while (parent != nullptr && !IsWidget(parent, type)) {
        parent = elm_object_parent_widget_get(parent);
    }
    return parent;
}

std::vector<Evas_Object*> WidgetsOf(Evas_Object* window, std::string_view type) {
    std::vector<Evas_Object*> found;
    const Evas* canvas = evas_object_evas_get(window);
    for (Evas_Object* object = evas_object_bottom_get(canvas); object != nullptr;
         object = evas_object_above_get(object)) {
        AddWidgets(object, type, found);
    }
    return found;
}

Evas_Object* ShownPopup(Evas_Object* window) {
    for (Evas_Object* popup : WidgetsOf(window, "elm_popup")) {
        if (evas_object_visible_get(popup) != EINA_FALSE) {
            return popup;
        }
    }
    return nullptr;
}

}  // namespace quorvel::desktop
