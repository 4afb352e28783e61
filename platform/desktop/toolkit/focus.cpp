#include "toolkit/focus.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <initializer_list>
#include <string_view>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// Reports the focus of one widget to the subclass. Reports wait for the end of a turn of the main
// loop, because the focus can change several times between two widgets. Allocated with new; deletes
// itself with the widget. Main-loop thread.
class FocusWatch {
public:
    explicit FocusWatch(Evas_Object* widget);
    FocusWatch(const FocusWatch&) = delete;
    FocusWatch& operator=(const FocusWatch&) = delete;
    virtual ~FocusWatch();

protected:
    Evas_Object* const m_Widget;

private:
    // Called after the first turn of the main loop, and after each turn that moved the focus to,
    // from or inside the widget. focused: whether the widget or a part of it has the focus. The
    // value can be the same as in the last call.
    virtual void m_Report(bool focused) = 0;
    // Called at the first such movement of a turn.
    virtual void m_OnFirstMovement() {}

    static void m_OnFocusChanged(void* data, const Efl_Event*);
    static void m_OnTurnEnded(void* data);
    static void m_OnDeleted(void* data, Evas*, Evas_Object*, void*);

    Ecore_Job* m_Job;
};

FocusWatch::FocusWatch(Evas_Object* widget)
    : m_Widget(widget), m_Job(ecore_job_add(m_OnTurnEnded, this)) {
    efl_event_callback_add(widget, EFL_UI_FOCUS_OBJECT_EVENT_FOCUS_CHANGED, m_OnFocusChanged, this);
    efl_event_callback_add(widget, EFL_UI_FOCUS_OBJECT_EVENT_CHILD_FOCUS_CHANGED, m_OnFocusChanged,
                           this);
    evas_object_event_callback_add(widget, EVAS_CALLBACK_DEL, m_OnDeleted, this);
}

FocusWatch::~FocusWatch() {
    efl_event_callback_del(m_Widget, EFL_UI_FOCUS_OBJECT_EVENT_FOCUS_CHANGED, m_OnFocusChanged,
                           this);
    efl_event_callback_del(m_Widget, EFL_UI_FOCUS_OBJECT_EVENT_CHILD_FOCUS_CHANGED,
                           m_OnFocusChanged, this);
    if (m_Job != nullptr) {
        ecore_job_del(m_Job);
    }
}

void FocusWatch::m_OnFocusChanged(void* data, const Efl_Event*) {
    auto* self = static_cast<FocusWatch*>(data);
    if (self->m_Job == nullptr) {
        self->m_Job = ecore_job_add(m_OnTurnEnded, self);
        self->m_OnFirstMovement();
    }
}

void FocusWatch::m_OnTurnEnded(void* data) {
    auto* self = static_cast<FocusWatch*>(data);
    self->m_Job = nullptr;
    self->m_Report(elm_object_focus_get(self->m_Widget) != EINA_FALSE);
}

void FocusWatch::m_OnDeleted(void* data, Evas*, Evas_Object*, void*) {
    delete static_cast<FocusWatch*>(data);
}

// The widgets between which the arrow keys move the focus. A window has at most one of each.
struct Places {
    explicit Places(Evas_Object* window);

    Evas_Object* list = nullptr;
    Evas_Object* scroller = nullptr;
    // The label inside the scroller.
    Evas_Object* text = nullptr;
    // The button outside the popup.
    Evas_Object* button = nullptr;
    Evas_Object* popupButton = nullptr;
};

Places::Places(Evas_Object* window) {
    for (Evas_Object* found : WidgetsOf(window, "elm_genlist")) {
        list = found;
    }
    for (Evas_Object* label : WidgetsOf(window, "elm_label")) {
        Evas_Object* parent = elm_object_parent_widget_get(label);
        if (IsWidget(parent, "elm_scroller")) {
            scroller = parent;
            text = label;
        }
    }
    for (Evas_Object* found : WidgetsOf(window, "elm_button")) {
        const bool isInPopup = ParentOfType(found, "elm_popup") != nullptr;
        Evas_Object*& place = isInPopup ? popupButton : button;
        place = found;
    }
}

bool CanHaveFocus(const Evas_Object* widget) {
    return widget != nullptr && evas_object_visible_get(widget) != EINA_FALSE &&
           elm_object_disabled_get(widget) == EINA_FALSE;
}

// Gives the focus to the first widget that is shown and enabled. Without such a widget, the focus
// does not move.
void FocusFirst(std::initializer_list<Evas_Object*> widgets) {
    for (Evas_Object* widget : widgets) {
        if (CanHaveFocus(widget)) {
            elm_object_focus_set(widget, EINA_TRUE);
            return;
        }
    }
}

// Returns the height of the text above the visible part, in pixels.
int ScrollPosition(const Evas_Object* scroller) {
    int y = 0;
    elm_scroller_region_get(scroller, nullptr, &y, nullptr, nullptr);
    return y;
}

// Ends the movement of a text at a position.
void StopScrolling(Evas_Object* scroller, int position) {
    int x = 0;
    int width = 0;
    int height = 0;
    elm_scroller_region_get(scroller, &x, nullptr, &width, &height);
    elm_scroller_region_show(scroller, x, position, width, height);
}

// Emits the label's signals, and the signals that the theme of the scroller expects. A hidden label
// gives the focus to another widget, because a focus on the label would be invisible.
class LabelFocus : public FocusWatch {
public:
    LabelFocus(Evas_Object* window, Evas_Object* label) : FocusWatch(label), m_Window(window) {}

private:
    void m_Report(bool focused) override {
        if (focused && !CanHaveFocus(m_Widget)) {
            const Places places(m_Window);
            FocusFirst({places.list, places.button});
            return;
        }
        if (focused == m_IsFocused) {
            return;
        }
        m_IsFocused = focused;
        Evas_Object* scroller = m_Scroller();
        if (scroller != nullptr) {
            // The toolkit scrolls to the upper end of a label that gets the focus.
            StopScrolling(scroller, focused ? m_Position : ScrollPosition(scroller));
            elm_layout_signal_emit(
                scroller, focused ? "quorvel,text,focused" : "quorvel,text,unfocused", "quorvel");
        }
        evas_object_smart_callback_call(m_Widget, focused ? "focused" : "unfocused", nullptr);
    }

    // On a slow machine, the toolkit can scroll a first step before the end of the turn.
    void m_OnFirstMovement() override {
        const Evas_Object* scroller = m_Scroller();
        m_Position = scroller == nullptr ? 0 : ScrollPosition(scroller);
    }

    // Returns null for a label without a scroller.
    Evas_Object* m_Scroller() const {
        Evas_Object* parent = elm_object_parent_widget_get(m_Widget);
        return IsWidget(parent, "elm_scroller") ? parent : nullptr;
    }

    Evas_Object* const m_Window;
    bool m_IsFocused = false;
    // The position of the text before the focus moved.
    int m_Position = 0;
};

// Emits the signals that the theme of the focused row expects. Emits "item,focused" when the focus
// returns from the popup, or from another widget to the only row.
class ListFocus : public FocusWatch {
public:
    ListFocus(Evas_Object* window, Evas_Object* list) : FocusWatch(list), m_Window(window) {
        evas_object_smart_callback_add(list, "item,focused", m_OnRowFocused, this);
        evas_object_smart_callback_add(list, "realized", m_OnRealized, this);
    }

private:
    // The widget that has the focus while the list does not have it.
    enum class Away { kNo, kWidget, kPopup };

    void m_Report(bool focused) override {
        Elm_Object_Item* row = elm_object_focused_item_get(m_Widget);
        if (row == nullptr) {
            return;
        }
        // A list that creates its focused row takes the focus, even from a popup.
        if (focused && ShownPopup(m_Window) != nullptr) {
            FocusFirst({Places(m_Window).popupButton});
            return;
        }
        elm_object_item_signal_emit(
            row, focused ? "quorvel,list,focused" : "quorvel,list,unfocused", "quorvel");
        const Away away = m_Away;
        m_Away = focused ? Away::kNo : m_FindAway();
        const bool isOnlyRow = elm_genlist_items_count(m_Widget) == 1;
        if (focused && (away == Away::kPopup || (away == Away::kWidget && isOnlyRow))) {
            evas_object_smart_callback_call(m_Widget, "item,focused", row);
        }
    }

    Away m_FindAway() const {
        if (ShownPopup(m_Window) != nullptr) {
            return Away::kPopup;
        }
        return elm_object_focused_object_get(m_Window) == nullptr ? m_Away : Away::kWidget;
    }

    // Shows the text of another row from its beginning.
    static void m_OnRowFocused(void* data, Evas_Object*, void* row) {
        auto* self = static_cast<ListFocus*>(data);
        Evas_Object* scroller = Places(self->m_Window).scroller;
        if (row != self->m_LastRow && scroller != nullptr) {
            elm_scroller_region_show(scroller, 0, 0, 1, 1);
        }
        self->m_LastRow = row;
    }

    // The toolkit has created the focused row again, which shows the focus of the list.
    static void m_OnRealized(void* data, Evas_Object* list, void* row) {
        if (row == elm_object_focused_item_get(list) &&
            static_cast<ListFocus*>(data)->m_Away != Away::kNo) {
            elm_object_item_signal_emit(static_cast<Elm_Object_Item*>(row),
                                        "quorvel,list,unfocused", "quorvel");
        }
    }

    Evas_Object* const m_Window;
    Away m_Away = Away::kNo;
    // The row of the last "item,focused". Only compared.
    const void* m_LastRow = nullptr;
};

void ScrollTextToEnd(const Places& places) {
    int height = 0;
    evas_object_geometry_get(places.text, nullptr, nullptr, nullptr, &height);
    elm_scroller_region_show(places.scroller, 0, height - 1, 1, 1);
}

bool IsAtTop(const Places& places) {
    return ScrollPosition(places.scroller) <= 0;
}

bool IsAtEnd(const Places& places) {
    int y = 0;
    int height = 0;
    int textHeight = 0;
    elm_scroller_region_get(places.scroller, nullptr, &y, nullptr, &height);
    evas_object_geometry_get(places.text, nullptr, nullptr, nullptr, &textHeight);
    return y + height >= textHeight;
}

// Sets the list's focused element again. A list that focused its only row before the first frame
// names itself as the focused element. Every arrow key would then lead back into the list.
void RestoreFocusedElement(Evas_Object* list) {
    if (efl_ui_focus_manager_focus_get(list) != list) {
        return;
    }
    Eina_Iterator* rows =
        efl_ui_focus_manager_viewport_elements_get(list, efl_gfx_entity_geometry_get(list));
    void* row = nullptr;
    if (eina_iterator_next(rows, &row) != EINA_FALSE) {
        efl_ui_focus_manager_focus_set(list, static_cast<Efl_Ui_Focus_Object*>(row));
    }
    eina_iterator_free(rows);
}

// Moves by rows. The toolkit moves the focus only to rows that it has created. It would stop at the
// last visible row if the next row begins exactly at the list's edge.
void MoveToRow(Elm_Object_Item* row) {
    if (row != nullptr) {
        elm_object_item_focus_set(row, EINA_TRUE);
    }
}

// The following functions handle an arrow key. They return false if the toolkit handles the key.
// The toolkit moves the focus between neighbours, and remembers the way if the button gets
// disabled.

bool MoveInList(const Places& places, std::string_view key) {
    Elm_Object_Item* row = elm_object_focused_item_get(places.list);
    if (key == "Right" && CanHaveFocus(places.text)) {
        RestoreFocusedElement(places.list);
        return false;
    }
    if (key == "Right") {
        FocusFirst({places.button});
    } else if (row != nullptr && key == "Down") {
        MoveToRow(elm_genlist_item_next_get(row));
    } else if (row != nullptr && key == "Up") {
        MoveToRow(elm_genlist_item_prev_get(row));
    }
    return true;
}

bool MoveInText(const Places& places, std::string_view key) {
    if (key == "Left") {
        return !CanHaveFocus(places.list);
    }
    if (key == "Up") {
        return IsAtTop(places);
    }
    if (key == "Down") {
        return IsAtEnd(places) && !CanHaveFocus(places.button);
    }
    return true;
}

bool MoveFromButton(const Places& places, std::string_view key) {
    if (key == "Left") {
        FocusFirst({places.list});
    } else if (key == "Up") {
        ScrollTextToEnd(places);
        FocusFirst({places.text, places.list});
    }
    return true;
}

bool IsArrow(std::string_view key) {
    return key == "Up" || key == "Down" || key == "Left" || key == "Right";
}

using Move = bool (*)(const Places&, std::string_view);
// Handles a key before the toolkit does. data: the window.
template <Move kMove>
Eina_Bool OnKey(void* data, Evas_Object*, Evas_Object*, Evas_Callback_Type type, void* event) {
    auto* key = static_cast<Evas_Event_Key_Down*>(event);
    if (type != EVAS_CALLBACK_KEY_DOWN || !IsArrow(key->key) ||
        !kMove(Places(static_cast<Evas_Object*>(data)), key->key)) {
        return EINA_FALSE;
    }
    key->event_flags = static_cast<Evas_Event_Flags>(key->event_flags | EVAS_EVENT_FLAG_ON_HOLD);
    return EINA_TRUE;
}

void HandleArrows(Evas_Object* window, Evas_Object* widget, Elm_Event_Cb handler) {
    if (widget != nullptr) {
        elm_object_event_callback_add(widget, handler, window);
    }
}

}  // namespace

void WatchFocus(Evas_Object* window) {
    for (Evas_Object* label : WidgetsOf(window, "elm_label")) {
        new LabelFocus(window, label);
    }
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        new ListFocus(window, list);
    }
    const Places places(window);
    HandleArrows(window, places.list, OnKey<MoveInList>);
    HandleArrows(window, places.text, OnKey<MoveInText>);
    HandleArrows(window, places.button, OnKey<MoveFromButton>);
}

}  // namespace quorvel::desktop
