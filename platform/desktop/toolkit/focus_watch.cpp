#include "toolkit/focus_watch.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <memory>
#include <utility>

namespace quorvel::desktop {

namespace {

// Watches one widget; deleted with it.
class FocusWatch {
public:
    FocusWatch(Evas_Object* widget, std::function<void(bool)> settled);
    FocusWatch(const FocusWatch&) = delete;
    FocusWatch& operator=(const FocusWatch&) = delete;
    ~FocusWatch();

private:
    static void OnEvent(void* data, const Efl_Event*);
    static void OnSettled(void* data);
    static void OnDeleted(void* data, Evas*, Evas_Object*, void*);

    Evas_Object* const m_Widget;
    const std::function<void(bool)> m_Settled;
    Ecore_Job* m_Job;
};

FocusWatch::FocusWatch(Evas_Object* widget, std::function<void(bool)> settled)
    : m_Widget(widget), m_Settled(std::move(settled)), m_Job(ecore_job_add(OnSettled, this)) {
    efl_event_callback_add(widget, EFL_UI_FOCUS_OBJECT_EVENT_FOCUS_CHANGED, OnEvent, this);
    efl_event_callback_add(widget, EFL_UI_FOCUS_OBJECT_EVENT_CHILD_FOCUS_CHANGED, OnEvent, this);
    evas_object_event_callback_add(widget, EVAS_CALLBACK_DEL, OnDeleted, this);
}

FocusWatch::~FocusWatch() {
    efl_event_callback_del(m_Widget, EFL_UI_FOCUS_OBJECT_EVENT_FOCUS_CHANGED, OnEvent, this);
    efl_event_callback_del(m_Widget, EFL_UI_FOCUS_OBJECT_EVENT_CHILD_FOCUS_CHANGED, OnEvent, this);
    if (m_Job != nullptr) {
        ecore_job_del(m_Job);
    }
}

void FocusWatch::OnEvent(void* data, const Efl_Event*) {
    auto* self = static_cast<FocusWatch*>(data);
    if (self->m_Job == nullptr) {
        self->m_Job = ecore_job_add(OnSettled, self);
    }
}

void FocusWatch::OnSettled(void* data) {
    auto* self = static_cast<FocusWatch*>(data);
    self->m_Job = nullptr;
    self->m_Settled(elm_object_focus_get(self->m_Widget) != EINA_FALSE);
}

void FocusWatch::OnDeleted(void* data, Evas*, Evas_Object*, void*) {
    const std::unique_ptr<FocusWatch> self(static_cast<FocusWatch*>(data));
}

}  // namespace

void WatchFocus(Evas_Object* widget, std::function<void(bool)> settled) {
    // OnDeleted takes it back.
    static_cast<void>(std::make_unique<FocusWatch>(widget, std::move(settled)).release());
}

}  // namespace quorvel::desktop
