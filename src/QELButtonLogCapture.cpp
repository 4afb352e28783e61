#include "QELButtonLogCapture.h"

#include <Elementary.h>
#include <tv_services.h>

#include <thread>

#include "QELPopupLoading.h"
#include "QELUtil.h"
#include "QELXmlParser.h"

namespace {

const char* const kCaptureCounterFile =
    "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data/num_of_log_capture";
const char* const kButtonStyle = "C_ButtonBasic_WhiteText";
const char* const kButtonText = "Log Capture";
const int kBoxPadding = 10;
const int kCaptureFailed = -1;  // any other result is a success

}  // namespace

bool QELButtonLogCapture::doCaptureLog = false;

QELButtonLogCapture::QELButtonLogCapture() noexcept : m_Box(nullptr) {}

void QELButtonLogCapture::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        return;
    }
    m_Box = elm_box_add(ad->table);
    elm_box_horizontal_set(m_Box, EINA_TRUE);
    elm_box_padding_set(m_Box, kBoxPadding, kBoxPadding);
    // Intentional call without effect: the table is not a box, so the toolkit logs an error and
    // packs nothing. m_Show packs the box.
    elm_box_pack_end(ad->table, m_Box);

    ad->logCaptureButton = elm_button_add(m_Box);
    elm_object_style_set(ad->logCaptureButton, kButtonStyle);
    elm_object_text_set(ad->logCaptureButton, kButtonText);
    // The box and the button share one cell: the button is a child of the box, but not packed in
    // the box.
    m_Show(ad, m_Box, TABLE_LOCATION_LOG_CAPTURE);
    m_Show(ad, ad->logCaptureButton, TABLE_LOCATION_LOG_CAPTURE);
    if (parser->GetNumOfResult() == 0) {
        elm_object_focus_set(ad->logCaptureButton, EINA_TRUE);
    }
    QEL_LOGI("done Create");
}

void QELButtonLogCapture::m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location) {
    // Centred horizontally, unlike the widgets of the other views, which fill their cells.
    evas_object_size_hint_weight_set(obj, 0.8, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(obj, 0.5, EVAS_HINT_FILL);
    evas_object_show(obj);
    if (!QELUtil::PackAt(ad->table, obj, location, {TABLE_LOCATION_LOG_CAPTURE})) {
        QEL_LOGE("there is no information about table location");
    }
}

void QELButtonLogCapture::m_SetText(_appdata* ad) {
    elm_object_text_set(ad->logCaptureButton, kButtonText);
}

void QELButtonLogCapture::OnPress(void* /*data*/, Evas_Object* /*obj*/, void* /*event_info*/) {
    QEL_LOGI("Log Capture button is pressed.");
    QELPopupLoading* popup = QELPopupLoading::GetInstance();
    if (popup == nullptr) {
        QEL_LOGE("popupLoading is NULL");
        return;
    }
    popup->Show();
    popup->SetText("Capture Log To USB", "Log files are storing to USB...");
    popup->Start();
    // Intentional: a thread that cannot be started leaves this function by exception, with the
    // popup running.
    std::thread(m_CaptureLog).detach();
}

void QELButtonLogCapture::m_CaptureLog() {
    // Intentional: without the popup, nothing is copied and the running flag stays set.
    if (QELPopupLoading::GetInstance() == nullptr) {
        QEL_LOGE("popupLoading is NULL");
        return;
    }
    const int ret = automation_copy_log_to_usb();
    QEL_LOGI("retAutoApi = %d", ret);
    if (ret == kCaptureFailed) {
        QELPopupLoading::SetResultText("Failed to store log files to USB.");
        QELPopupLoading::SetRunningFlag(false);
        return;
    }
    QELPopupLoading::SetResultText("Successfully stored log files to USB.");
    QELUtil::IncreaseCount(kCaptureCounterFile);
    doCaptureLog = true;
    QELPopupLoading::SetRunningFlag(false);
}

void QELButtonLogCapture::SetDisable(void* data, Evas_Object* /*obj*/, void* /*event_info*/) {
    QEL_LOGI("Press OK in popup is pressed.");
    const auto* ad = static_cast<_appdata*>(data);
    if (ad != nullptr && doCaptureLog) {
        elm_object_disabled_set(ad->logCaptureButton, EINA_TRUE);
    }
}

void QELButtonLogCapture::Destroy(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    QELUtil::DeleteObject(ad->logCaptureButton);
    QELUtil::DeleteObject(m_Box);
}
