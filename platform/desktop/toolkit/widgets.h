#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_

#include <Evas.h>

#include <string_view>
#include <vector>

namespace quorvel::desktop {

// Whether the object is a widget of this type ("elm_label").
bool IsWidget(const Evas_Object* object, std::string_view type);

// All widgets of this type in the window, those inside widgets of other types too. Main-loop
// thread.
std::vector<Evas_Object*> WidgetsOf(Evas_Object* window, std::string_view type);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
