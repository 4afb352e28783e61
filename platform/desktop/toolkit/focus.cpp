#include "toolkit/focus.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <initializer_list>
#include <string_view>

namespace quorvel::desktop {

namespace {

// Reports the focus of a widget to the subclass. Reports wait for the end of an iteration of the
// main loop, because the focus can change several times within an iteration. Allocated with new;
// deletes itself with the widget. Main-loop thread.
class FocusWatch {
public:
    explicit FocusWatch(Evas_Object* widget);
    FocusWatch(const FocusWatch&) = delete;
    FocusWatch& operator=(const FocusWatch&) = delete;
    virtual ~FocusWatch();

protected:
    Evas_Object* const m_Widget;

private:
    // Called after the first iteration of the main loop. Also called after each iteration that
    // moved the focus to, from or inside the widget. focused: whether the widget or a part of the
    // widget has the focus. The value can be the same as in the last call.
    virtual void m_Report(bool focused) = 0;

    static void m_OnFocusChanged(void* data, const Efl_Event*);
    static void m_OnIterationEnded(void* data);
    static void m_OnDeleted(void* data, Evas*, Evas_Object*, void*);

    Ecore_Job* m_Job;
};

FocusWatch::FocusWatch(Evas_Object* widget)
    : m_Widget(widget), m_Job(ecore_job_add(m_OnIterationEnded, this)) {
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
        self->m_Job = ecore_job_add(m_OnIterationEnded, self);
    }
}

void FocusWatch::m_OnIterationEnded(void* data) {
    auto* self = static_cast<FocusWatch*>(data);
    self->m_Job = nullptr;
    self->m_Report(elm_object_focus_get(self->m_Widget) != EINA_FALSE);
}

void FocusWatch::m_OnDeleted(void* data, Evas*, Evas_Object*, void*) {
    delete static_cast<FocusWatch*>(data);
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

// Emits the signals of the detail panel's label, and the signals that the theme of its scroller
// expects. A hidden label gives the focus to another widget, because a focus on the label would be
// invisible.
class TextFocus : public FocusWatch {
public:
    TextFocus(Evas_Object* text, Evas_Object* scroller) : FocusWatch(text), m_Scroller(scroller) {}

private:
    void m_Report(bool focused) override {
        if (focused && !CanHaveFocus(m_Widget)) {
            const Widgets widgets(m_Widget);
            FocusFirst({widgets.list, widgets.button});
            return;
        }
        if (focused == m_IsFocused) {
            return;
        }
        m_IsFocused = focused;
        elm_layout_signal_emit(
            m_Scroller, focused ? "quorvel,text,focused" : "quorvel,text,unfocused", "quorvel");
        evas_object_smart_callback_call(m_Widget, focused ? "focused" : "unfocused", nullptr);
    }

    Evas_Object* const m_Scroller;
    bool m_IsFocused = false;
};

// Stops the toolkit from scrolling to the upper end of a text that gets the focus.
void KeepScrollPosition(void*, const Efl_Event* event) {
    efl_event_callback_stop(event->object);
}

// Emits the signals that the theme of the focused row expects. Emits "item,focused" when the focus
// returns from the popup, or from another widget to the only row.
class ListFocus : public FocusWatch {
public:
    explicit ListFocus(Evas_Object* list) : FocusWatch(list) {
        evas_object_smart_callback_add(list, "item,focused", m_OnRowFocused, this);
        evas_object_smart_callback_add(list, "realized", m_OnRealized, this);
    }

private:
    // The place of the focus: in the list, in another widget, or in the popup.
    enum class Away { kNo, kWidget, kPopup };

    void m_Report(bool focused) override {
        Elm_Object_Item* row = elm_object_focused_item_get(m_Widget);
        if (row == nullptr) {
            return;
        }
        const Widgets widgets(m_Widget);
        // A list that creates its focused row takes the focus, even from a popup.
        if (focused && widgets.popup != nullptr) {
            FocusFirst({widgets.popupButton});
            return;
        }
        elm_object_item_signal_emit(
            row, focused ? "quorvel,list,focused" : "quorvel,list,unfocused", "quorvel");
        const Away away = m_Away;
        m_Away = focused ? Away::kNo : m_FindAway(widgets.popup != nullptr);
        const bool isOnlyRow = elm_genlist_items_count(m_Widget) == 1;
        if (focused && (away == Away::kPopup || (away == Away::kWidget && isOnlyRow))) {
            evas_object_smart_callback_call(m_Widget, "item,focused", row);
        }
    }

    Away m_FindAway(bool isPopupShown) const {
        if (isPopupShown) {
            return Away::kPopup;
        }
        const Evas_Object* window = elm_object_top_widget_get(m_Widget);
        return elm_object_focused_object_get(window) == nullptr ? m_Away : Away::kWidget;
    }

    // Shows the text of another row from its beginning.
    static void m_OnRowFocused(void* data, Evas_Object* list, void* row) {
        auto* self = static_cast<ListFocus*>(data);
        Evas_Object* scroller = Widgets(list).scroller;
        if (row != self->m_LastRow && scroller != nullptr) {
            ScrollTo(scroller, 0);
        }
        self->m_LastRow = row;
    }

    // A row that the toolkit creates again shows the focus, even if another widget has the focus.
    static void m_OnRealized(void* data, Evas_Object* list, void* row) {
        if (row == elm_object_focused_item_get(list) &&
            static_cast<ListFocus*>(data)->m_Away != Away::kNo) {
            elm_object_item_signal_emit(static_cast<Elm_Object_Item*>(row),
                                        "quorvel,list,unfocused", "quorvel");
        }
    }

    Away m_Away = Away::kNo;
    // The row of the last "item,focused". Compared, never dereferenced.
    const void* m_LastRow = nullptr;
};

int HeightOf(const Evas_Object* object) {
    int height = 0;
    evas_object_geometry_get(object, nullptr, nullptr, nullptr, &height);
    return height;
}

bool IsAtEnd(const Widgets& widgets) {
    int height = 0;
    elm_scroller_region_get(widgets.scroller, nullptr, nullptr, nullptr, &height);
    return ScrollPosition(widgets.scroller) + height >= HeightOf(widgets.text);
}

// A list whose only row got the focus before the first frame has itself as the focused element.
// Every arrow key would then lead back into the list. The row is the previous element.
void RestoreFocusedElement(Evas_Object* list) {
    if (efl_ui_focus_manager_focus_get(list) == list) {
        efl_ui_focus_manager_pop_history_stack(list);
    }
}

// Moves by rows. The toolkit moves the focus only to rows that it has created. The focus would stop
// at the last visible row if the next row begins exactly at the list's edge.
void MoveToRow(Elm_Object_Item* row) {
    if (row != nullptr) {
        elm_object_item_focus_set(row, EINA_TRUE);
    }
}

// Each of the following functions handles an arrow key. Returns false if the toolkit must handle
// the key. The toolkit moves the focus between neighbours, and keeps a history for the case that
// the button gets disabled.

bool MoveInList(const Widgets& widgets, std::string_view key) {
    Elm_Object_Item* row = elm_object_focused_item_get(widgets.list);
    if (key == "Right" && CanHaveFocus(widgets.text)) {
        RestoreFocusedElement(widgets.list);
        return false;
    }
    if (key == "Right") {
        FocusFirst({widgets.button});
    } else if (row != nullptr && key == "Down") {
        MoveToRow(elm_genlist_item_next_get(row));
    } else if (row != nullptr && key == "Up") {
        MoveToRow(elm_genlist_item_prev_get(row));
    }
    return true;
}

bool MoveInText(const Widgets& widgets, std::string_view key) {
    const bool canMove = (key == "Left" && CanHaveFocus(widgets.list)) ||
                         (key == "Up" && ScrollPosition(widgets.scroller) > 0) ||
                         (key == "Down" && (!IsAtEnd(widgets) || CanHaveFocus(widgets.button)));
    return !canMove;
}

bool MoveFromButton(const Widgets& widgets, std::string_view key) {
    if (key == "Left") {
        FocusFirst({widgets.list});
    } else if (key == "Up") {
        ScrollTo(widgets.scroller, HeightOf(widgets.text));
        FocusFirst({widgets.text, widgets.list});
    }
    return true;
}

using Move = bool (*)(const Widgets&, std::string_view);
// Handles an arrow key before the toolkit does. The other key that passes the input filter is
// Return.
template <Move kMove>
Eina_Bool OnKey(void*, Evas_Object* widget, Evas_Object*, Evas_Callback_Type type, void* event) {
    auto* key = static_cast<Evas_Event_Key_Down*>(event);
    if (type != EVAS_CALLBACK_KEY_DOWN || std::string_view(key->key) == "Return" ||
        !kMove(Widgets(widget), key->key)) {
        return EINA_FALSE;
    }
    key->event_flags = static_cast<Evas_Event_Flags>(key->event_flags | EVAS_EVENT_FLAG_ON_HOLD);
    return EINA_TRUE;
}

}  // namespace

void WatchFocus(const Widgets& widgets) {
    new TextFocus(widgets.text, widgets.scroller);
    new ListFocus(widgets.list);
    efl_event_callback_priority_add(widgets.scroller,
                                    EFL_UI_FOCUS_MANAGER_EVENT_MANAGER_FOCUS_CHANGED,
                                    EFL_CALLBACK_PRIORITY_BEFORE, KeepScrollPosition, nullptr);
    elm_object_event_callback_add(widgets.list, OnKey<MoveInList>, nullptr);
    elm_object_event_callback_add(widgets.text, OnKey<MoveInText>, nullptr);
    elm_object_event_callback_add(widgets.button, OnKey<MoveFromButton>, nullptr);
}

}  // namespace quorvel::desktop
