#include "label_focus.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <memory>

#include "widgets.h"

namespace quorvel::desktop {

namespace {

// Watches one label; lives as long as it. The focus bounces on its way from a list to a label (on,
// off, on), so a change is passed on only when the turn of the main loop is over.
class LabelFocus {
public:
    explicit LabelFocus(Evas_Object* label) : m_Label(label) {
        efl_event_callback_add(label, EFL_UI_FOCUS_OBJECT_EVENT_FOCUS_CHANGED, OnFocusChanged,
                               this);
        evas_object_event_callback_add(label, EVAS_CALLBACK_DEL, OnDeleted, this);
    }
    LabelFocus(const LabelFocus&) = delete;
    LabelFocus& operator=(const LabelFocus&) = delete;
    ~LabelFocus() {
        if (m_Job != nullptr) {
            ecore_job_del(m_Job);
        }
    }

private:
    static void OnFocusChanged(void* data, const Efl_Event*);
    static void OnSettled(void* data);
    static void OnDeleted(void* data, Evas*, Evas_Object*, void*);

    Evas_Object* const m_Label;
    Ecore_Job* m_Job = nullptr;
    // As last passed on.
    bool m_IsFocused = false;
};

void LabelFocus::OnFocusChanged(void* data, const Efl_Event*) {
    auto* self = static_cast<LabelFocus*>(data);
    if (self->m_Job == nullptr) {
        self->m_Job = ecore_job_add(OnSettled, self);
    }
}

void LabelFocus::OnSettled(void* data) {
    auto* self = static_cast<LabelFocus*>(data);
    self->m_Job = nullptr;
    const bool focused = elm_object_focus_get(self->m_Label) != EINA_FALSE;
    if (focused == self->m_IsFocused) {
        return;
    }
    self->m_IsFocused = focused;
    Evas_Object* around = elm_object_parent_widget_get(self->m_Label);
    if (IsWidget(around, "elm_scroller")) {
        elm_layout_signal_emit(around, focused ? "quorvel,text,focused" : "quorvel,text,unfocused",
                               "quorvel");
    }
    evas_object_smart_callback_call(self->m_Label, focused ? "focused" : "unfocused", nullptr);
}

void LabelFocus::OnDeleted(void* data, Evas*, Evas_Object*, void*) {
    const std::unique_ptr<LabelFocus> self(static_cast<LabelFocus*>(data));
}

}  // namespace

void WatchLabelFocus(Evas_Object* window) {
    for (Evas_Object* label : LabelsOf(window)) {
        // The label's deletion deletes it.
        auto watch = std::make_unique<LabelFocus>(label);
        static_cast<void>(watch.release());
    }
}

}  // namespace quorvel::desktop
