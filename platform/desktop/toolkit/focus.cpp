#include "toolkit/focus.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <string_view>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// Reports the focus of one widget to the subclass. The focus can change several times on its way
// from one widget to another, so reports wait for the end of a turn of the main loop.
// Allocated with new; deletes itself with the widget. Main-loop thread.
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

// Emits the label's signals, and the signals that the theme of the scroller expects.
class LabelFocus : public FocusWatch {
public:
    using FocusWatch::FocusWatch;

private:
    void m_Report(bool focused) override {
        if (focused == m_IsFocused) {
            return;
        }
        m_IsFocused = focused;
        Evas_Object* parent = elm_object_parent_widget_get(m_Widget);
        if (IsWidget(parent, "elm_scroller")) {
            elm_layout_signal_emit(
                parent, focused ? "quorvel,text,focused" : "quorvel,text,unfocused", "quorvel");
        }
        evas_object_smart_callback_call(m_Widget, focused ? "focused" : "unfocused", nullptr);
    }

    bool m_IsFocused = false;
};

// Emits the signals that the theme of the focused row expects, and "item,focused" for a single row.
class ListFocus : public FocusWatch {
public:
    ListFocus(Evas_Object* window, Evas_Object* list) : FocusWatch(list), m_Window(window) {}

private:
    void m_Report(bool focused) override {
        Elm_Object_Item* row = elm_object_focused_item_get(m_Widget);
        if (row == nullptr) {
            return;
        }
        elm_object_item_signal_emit(
            row, focused ? "quorvel,list,focused" : "quorvel,list,unfocused", "quorvel");
        if (focused && m_WasLeft && elm_genlist_items_count(m_Widget) == 1) {
            evas_object_smart_callback_call(m_Widget, "item,focused", row);
        }
        m_WasLeft = !focused && elm_object_focused_object_get(m_Window) != nullptr &&
                    ShownPopup(m_Window) == nullptr;
    }

    Evas_Object* const m_Window;
    // Whether another widget of the window has the focus. The popup does not count.
    bool m_WasLeft = false;
};

Elm_Object_Item* NextRow(Elm_Object_Item* row, std::string_view key) {
    if (key == "Down") {
        return elm_genlist_item_next_get(row);
    }
    return key == "Up" ? elm_genlist_item_prev_get(row) : nullptr;
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

// Moves the focus by rows. The toolkit moves the focus only to rows that it has created, so it
// would stop at the last visible row if the next row begins exactly at the list's edge.
Eina_Bool OnListEvent(void*, Evas_Object* list, Evas_Object*, Evas_Callback_Type type,
                      void* event) {
    Elm_Object_Item* row = elm_object_focused_item_get(list);
    if (type != EVAS_CALLBACK_KEY_DOWN || row == nullptr) {
        return EINA_FALSE;
    }
    auto* key = static_cast<Evas_Event_Key_Down*>(event);
    Elm_Object_Item* next = NextRow(row, key->key);
    if (next == nullptr) {
        RestoreFocusedElement(list);
        return EINA_FALSE;
    }
    elm_object_item_focus_set(next, EINA_TRUE);
    key->event_flags = static_cast<Evas_Event_Flags>(key->event_flags | EVAS_EVENT_FLAG_ON_HOLD);
    return EINA_TRUE;
}

}  // namespace

void WatchFocus(Evas_Object* window) {
    for (Evas_Object* label : WidgetsOf(window, "elm_label")) {
        new LabelFocus(label);
    }
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        elm_object_event_callback_add(list, OnListEvent, nullptr);
        new ListFocus(window, list);
    }
}

}  // namespace quorvel::desktop
