#include "toolkit/button.h"

#include <Elementary.h>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// The part of the free space of the cell that is at the left of the button and above the button.
// At the left: the distance between the cell and the frame of the panel. If the button were at the
// edge, the toolkit would move the focus from the list to the button instead of the panel.
constexpr double kHorizontalAlign = 0.0225;
constexpr double kVerticalAlign = 0.3;

}  // namespace

void PlaceButton(Evas_Object* window) {
    for (Evas_Object* button : WidgetsOf(window, "elm_button")) {
        if (ParentOfType(button, "elm_popup") == nullptr) {
            evas_object_size_hint_align_set(button, kHorizontalAlign, kVerticalAlign);
        }
    }
}

}  // namespace quorvel::desktop
