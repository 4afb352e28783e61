#include "widgets.h"

namespace quorvel::desktop {

namespace {

void AddLabels(Evas_Object* object, std::vector<Evas_Object*>& labels) {
    if (IsWidget(object, "elm_label")) {
        labels.push_back(object);
        return;
    }
    Eina_List* members = evas_object_smart_members_get(object);
    void* member = nullptr;
    EINA_LIST_FREE(members, member) {
        AddLabels(static_cast<Evas_Object*>(member), labels);
    }
}

}  // namespace

bool IsWidget(const Evas_Object* object, std::string_view type) {
    const char* name = object == nullptr ? nullptr : evas_object_type_get(object);
    return name != nullptr && type == name;
}

std::vector<Evas_Object*> LabelsOf(Evas_Object* window) {
    std::vector<Evas_Object*> labels;
    const Evas* canvas = evas_object_evas_get(window);
    for (Evas_Object* object = evas_object_bottom_get(canvas); object != nullptr;
         object = evas_object_above_get(object)) {
        AddLabels(object, labels);
    }
    return labels;
}

}  // namespace quorvel::desktop
