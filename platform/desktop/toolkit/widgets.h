#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_

#include <Evas.h>

#include <string_view>
#include <vector>

// Searches for the widgets of a window. Main-loop thread.
namespace quorvel::desktop {

// Returns whether the object is a widget of the type, such as "elm_label". False for null.
bool IsWidget(const Evas_Object* object, std::string_view type);

// Returns the nearest parent, or parent of a parent, that is a widget of the type. Null if the
// widget has no such parent, and for null.
Evas_Object* ParentOfType(const Evas_Object* widget, std::string_view type);

// Returns all widgets of the type in the window, including widgets inside other widgets. A widget
// inside a widget of the same type is left out.
std::vector<Evas_Object*> WidgetsOf(Evas_Object* window, std::string_view type);

// Returns the popup that the window shows; null if it shows no popup.
Evas_Object* ShownPopup(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
