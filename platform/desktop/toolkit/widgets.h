#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_

#include <Evas.h>

#include <string_view>
#include <vector>

// The widgets of a window. Main-loop thread.
namespace quorvel::desktop {

// The widgets of the application that the port changes, each found by its type and place. Null if
// the window has no such widget.
struct Widgets {
    // object: the window, or any object in the window. Null for no window.
    explicit Widgets(const Evas_Object* object);

    // Returns whether the window has all widgets of the application. The popup can be hidden.
    bool AreComplete() const;

    Evas_Object* list = nullptr;
    // The labels of both information panels. The application also gives their style to the label of
    // a missing photo, when the row of an "image" item gets the focus.
    std::vector<Evas_Object*> infoPanels;
    // The label of the detail panel, and the scroller around the label.
    Evas_Object* text = nullptr;
    Evas_Object* scroller = nullptr;
    // The button outside the popup.
    Evas_Object* button = nullptr;
    Evas_Object* popupButton = nullptr;
    // The layer of the popup, which keeps the focus in the popup. Null while the popup is hidden.
    Evas_Object* popup = nullptr;
};

// Returns whether the object is a widget of the type, such as "elm_label". False for null.
bool IsWidget(const Evas_Object* object, std::string_view type);

// Returns whether the widget is a popup or inside a popup. False for null.
bool IsInPopup(const Evas_Object* widget);

// Returns the height of the content above the visible part of a list or scroller, in pixels.
int ScrollPosition(const Evas_Object* scrollable);

// Shows a list or scroller at a position in pixels, and ends its movement.
void ScrollTo(Evas_Object* scrollable, int position);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_WIDGETS_H_
