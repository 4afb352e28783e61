#include "QELPopupLoading.h"

#include <Elementary.h>

#include <new>

#include "QELButtonLogCapture.h"
#include "QELUtil.h"

namespace {

const char* const kPopupStyle = "C_PopupBasic_WhiteBottom";
const char* const kPopupLabelStyle = "popup/C_PopupBasic_WhiteBottom";
const char* const kProgressStyle = "C_Loading_WhiteSmall";
const char* const kPopupButtonStyle = "C_ButtonBasic_WhiteText";
const char* const kContentPrefix = "<align=left left_margin=30 wrap=char>";
const double kPollSeconds = 0.1;

using Lock = std::lock_guard<std::recursive_mutex>;

}  // namespace

QELPopupLoading* QELPopupLoading::m_QELPopupLoading = nullptr;
Evas_Object* QELPopupLoading::m_Popup = nullptr;
Evas_Object* QELPopupLoading::m_PopupLabel = nullptr;
Evas_Object* QELPopupLoading::m_PopupProgress = nullptr;
Evas_Object* QELPopupLoading::m_Button = nullptr;
Ecore_Timer* QELPopupLoading::m_Timer = nullptr;
std::atomic<bool> QELPopupLoading::m_IsRunning(false);
std::recursive_mutex QELPopupLoading::m_MutexForRunningFlag;
std::string& QELPopupLoading::m_ResultText = *new std::string;

QELPopupLoading* QELPopupLoading::GetInstance() {
    if (m_QELPopupLoading == nullptr) {
        m_QELPopupLoading = new (std::nothrow) QELPopupLoading();
    }
    return m_QELPopupLoading;
}

QELPopupLoading::QELPopupLoading() : m_PopupTable(nullptr), m_AppData(nullptr) {
    m_Popup = nullptr;
    m_PopupLabel = nullptr;
    m_PopupProgress = nullptr;
    m_Button = nullptr;
    m_Timer = nullptr;
    SetRunningFlag(false);
}

void QELPopupLoading::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    m_AppData = ad;
    m_Popup = elm_popup_add(ad->win);
    elm_object_style_set(m_Popup, kPopupStyle);
    m_PopupTable = elm_table_add(m_Popup);
    elm_table_homogeneous_set(m_PopupTable, EINA_TRUE);
    elm_object_content_set(m_Popup, m_PopupTable);
    m_PopupLabel = elm_label_add(m_PopupTable);
    elm_object_style_set(m_PopupLabel, kPopupLabelStyle);
    QEL_LOGI("Progress bar added");
    m_PopupProgress = elm_progressbar_add(m_PopupTable);
    elm_object_style_set(m_PopupProgress, kProgressStyle);
    elm_progressbar_pulse_set(m_PopupProgress, EINA_TRUE);
    // Intentional call without effect: the content is set a second time.
    elm_object_content_set(m_Popup, m_PopupTable);
    m_Button = elm_button_add(m_PopupTable);
    elm_object_style_set(m_Button, kPopupButtonStyle);
    elm_object_text_set(m_Button, "OK");

    // The priorities ensure that OnOkPress, which hides the popup, runs before SetDisable. The
    // spelling of the log lines is intentional.
    evas_object_smart_callback_priority_add(m_Button, "clicked", EVAS_CALLBACK_PRIORITY_BEFORE,
                                            OnOkPress, ad);
    if (evas_alloc_error() != EVAS_ALLOC_ERROR_NONE) {
        QEL_LOGE("it is falied to add event callback for clicked.");
        return;
    }
    evas_object_smart_callback_priority_add(m_Button, "clicked", EVAS_CALLBACK_PRIORITY_DEFAULT,
                                            QELButtonLogCapture::SetDisable, ad);
    if (evas_alloc_error() != EVAS_ALLOC_ERROR_NONE) {
        QEL_LOGE("it is falied to add event callback for clicked.");
        return;
    }
    QEL_LOGI("done Create");
}

void QELPopupLoading::Show() {
    if (m_AppData == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    const char* missing = m_FindMissingWidget();
    if (missing != nullptr) {
        QEL_LOGE("%s is not ready", missing);
        return;
    }
    evas_object_show(m_Popup);
    evas_object_show(m_PopupTable);
    m_Show(m_PopupLabel, POPUP_LOCATION_LABEL);
    m_Show(m_PopupProgress, POPUP_LOCATION_PROGRESS);
    m_Show(m_Button, POPUP_LOCATION_BUTTON);
}

void QELPopupLoading::Hide() {
    const char* missing = m_FindMissingWidget();
    if (missing != nullptr) {
        QEL_LOGE("%s is not ready", missing);
        return;
    }
    evas_object_hide(m_Popup);
    evas_object_hide(m_PopupTable);
    evas_object_hide(m_PopupLabel);
    evas_object_hide(m_PopupProgress);
    evas_object_hide(m_Button);
}

// Returns the name of the first widget that does not exist; null when all widgets exist.
const char* QELPopupLoading::m_FindMissingWidget() const {
    const struct {
        const Evas_Object* widget;
        const char* name;
    } widgets[] = {
        {m_Popup, "m_Popup"},           {m_PopupTable, "m_PopupTable"},
        {m_PopupLabel, "m_PopupLabel"}, {m_PopupProgress, "m_PopupProgress"},
        {m_Button, "m_Button"},
    };
    for (const auto& entry : widgets) {
        if (entry.widget == nullptr) {
            return entry.name;
        }
    }
    return nullptr;
}

void QELPopupLoading::m_Show(Evas_Object* obj, app_popup_location_e location) {
    QELUtil::ShowFilling(obj);
    switch (location) {
        case POPUP_LOCATION_LABEL:
            elm_table_pack(m_PopupTable, obj, 1, 0, 5, 2);
            break;
        case POPUP_LOCATION_PROGRESS:
            elm_table_pack(m_PopupTable, obj, 0, 0, 1, 2);
            break;
        case POPUP_LOCATION_BUTTON:
            elm_table_pack(m_PopupTable, obj, 2, 2, 2, 1);
            break;
        default:
            QEL_LOGE("there is no information about popup location");
            break;
    }
}

void QELPopupLoading::SetText(const std::string& title, const std::string& content) {
    m_SetTitleText(title);
    m_SetContentText(content);
}

void QELPopupLoading::m_SetTitleText(const std::string& title) {
    if (m_Popup == nullptr) {
        QEL_LOGE("m_Popup is not ready");
        return;
    }
    elm_object_part_text_set(m_Popup, "title,text", title.c_str());
}

void QELPopupLoading::m_SetContentText(const std::string& text) {
    if (m_PopupLabel == nullptr) {
        QEL_LOGE("m_PopupLabel is not ready");
        return;
    }
    // Intentional: the string of the toolkit is not released, a small leak at each call.
    const char* converted = evas_textblock_text_utf8_to_markup(nullptr, text.c_str());
    const std::string markup =
        std::string(kContentPrefix) + (converted == nullptr ? "" : converted);
    elm_object_text_set(m_PopupLabel, markup.c_str());
}

// Needs no lock: the worker clears the running flag, under the mutex, after this call.
void QELPopupLoading::SetResultText(const std::string& text) {
    m_ResultText = text;
}

void QELPopupLoading::SetRunningFlag(bool running) {
    const Lock lock(m_MutexForRunningFlag);
    m_IsRunning = running;
    QEL_LOGI("SetRunningFlag %d", running ? 1 : 0);
}

bool QELPopupLoading::GetRunningFlag() {
    const Lock lock(m_MutexForRunningFlag);
    const bool running = m_IsRunning;
    QEL_LOGI("m_IsRunning %d", running ? 1 : 0);
    return running;
}

void QELPopupLoading::Start() {
    const Lock lock(m_MutexForRunningFlag);
    if (m_PopupProgress == nullptr) {
        QEL_LOGE("m_PopupProgress is not ready");
        return;
    }
    if (m_Button == nullptr) {
        QEL_LOGE("m_Button is not ready");
        return;
    }
    SetRunningFlag(true);
    elm_progressbar_pulse(m_PopupProgress, EINA_TRUE);
    if (m_Timer != nullptr) {
        // Intentional: the wording of the text.
        QEL_LOGE("timer is in used");
        return;
    }
    m_Timer = ecore_timer_add(kPollSeconds, m_CheckRunning, nullptr);
    elm_object_disabled_set(m_Button, EINA_TRUE);
}

Eina_Bool QELPopupLoading::m_CheckRunning(void* /*data*/) {
    // Read without the lock: the value is only logged.
    QEL_LOGI("m_IsRunning %d", m_IsRunning ? 1 : 0);
    if (GetRunningFlag()) {
        return ECORE_CALLBACK_RENEW;
    }
    Stop();
    return ECORE_CALLBACK_CANCEL;
}

void QELPopupLoading::Stop() {
    const Lock lock(m_MutexForRunningFlag);
    if (m_PopupProgress == nullptr) {
        QEL_LOGE("m_PopupProgress is not ready");
        return;
    }
    if (m_Timer != nullptr) {
        ecore_timer_del(m_Timer);
        m_Timer = nullptr;
    }
    elm_progressbar_pulse(m_PopupProgress, EINA_FALSE);
    m_SetContentText(m_ResultText);
    if (m_Button != nullptr) {
        elm_object_disabled_set(m_Button, EINA_FALSE);
        elm_object_focus_set(m_Button, EINA_TRUE);
    }
}

void QELPopupLoading::OnOkPress(void* /*data*/, Evas_Object* /*obj*/, void* /*event_info*/) {
    QEL_LOGI("OK button is pressed.");
    if (m_Popup != nullptr) {
        evas_object_hide(m_Popup);
    }
}

void QELPopupLoading::Destroy() {
    Stop();
    QELUtil::DeleteObject(m_Popup);
    QELUtil::DeleteObject(m_PopupTable);
    QELUtil::DeleteObject(m_PopupLabel);
    QELUtil::DeleteObject(m_PopupProgress);
    QELUtil::DeleteObject(m_Button);
}
