#include "QELWindow.h"

#include <Elementary.h>

#include <new>

#include "QELButtonLogCapture.h"
#include "QELItemDetailView.h"
#include "QELItemList.h"
#include "QELItemView.h"
#include "QELPopupLoading.h"
#include "QELUtil.h"
#include "QELXmlParser.h"

namespace {

const char* const kWindowName = "quorvel";
const double kBaseScale = 2.0;
const char* const kBackgroundResource = "Settings/setting_bg_base.webp";

// Intentional: the bold tag stays open, and the closing tags have this order.
const char* const kTitleMarkup =
    "<align=center font_size=80 color=#CCCCCC><b>Quorvel</align></font_size></color>";

// A widget event and its handler.
struct Connection_s {
    Evas_Object* object;
    const char* event;
    Evas_Callback_Priority priority;
    Evas_Smart_Cb handler;
};

// Destroys an owned view and clears the pointer. Does nothing for a null pointer.
template <typename View>
void DestroyView(View*& view, _appdata* ad) {
    if (view != nullptr) {
        view->Destroy(ad);
        delete view;
        view = nullptr;
    }
}

}  // namespace

QELWindow::QELWindow() noexcept
    : m_ItemList(nullptr),
      m_ItemView(nullptr),
      m_ButtonLogCapture(nullptr),
      m_BgRect(nullptr),
      m_TitleBg(nullptr),
      m_BgImage(nullptr) {}

void QELWindow::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser != nullptr) {
        parser->ParseFile();
    }
    elm_app_base_scale_set(kBaseScale);

    ad->win = elm_win_util_standard_add(kWindowName, kWindowName);
    elm_win_autodel_set(ad->win, EINA_TRUE);
    // Intentional: the window is shown before its content exists.
    evas_object_show(ad->win);

    ad->table = elm_table_add(ad->win);
    elm_table_homogeneous_set(ad->table, EINA_TRUE);
    elm_table_padding_set(ad->table, 2, 2);
    evas_object_size_hint_weight_set(ad->table, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    elm_win_resize_object_add(ad->win, ad->table);

    m_CreateBackground(ad);
    // Intentional: the path is looked up a second time for this line.
    QEL_LOGI("Resource = %s", QELUtil::GetMenuResourcePath(kBackgroundResource).c_str());
    evas_object_image_filled_set(m_BgImage, EINA_TRUE);
    m_CreateTitle(ad);
    m_Show(ad, m_BgImage, TABLE_LOCATION_BACKGROUND);
    m_Show(ad, m_TitleBg, TABLE_LOCATION_TITLE);
    m_Show(ad, ad->titleLabel, TABLE_LOCATION_TITLE);
    evas_object_show(ad->table);

    m_CreateSubObject(ad);
    m_AddCallback(ad);
    QEL_LOGI("done app_create");
}

void QELWindow::m_CreateBackground(_appdata* ad) {
    Evas* canvas = evas_object_evas_get(ad->table);
    m_BgRect = evas_object_rectangle_add(canvas);
    m_BgImage = evas_object_image_add(canvas);
    evas_object_image_file_set(m_BgImage, QELUtil::GetMenuResourcePath(kBackgroundResource).c_str(),
                               nullptr);
}

void QELWindow::m_CreateTitle(_appdata* ad) {
    m_TitleBg = evas_object_rectangle_add(evas_object_evas_get(ad->table));
    // Intentional: the colour is not premultiplied, since its components exceed the alpha. The
    // toolkit logs an error and clamps the colour to (30, 30, 30, 30).
    evas_object_color_set(m_TitleBg, 255, 255, 255, 30);

    ad->titleLabel = elm_label_add(ad->table);
    elm_object_text_set(ad->titleLabel, kTitleMarkup);
}

void QELWindow::m_CreateSubObject(_appdata* ad) {
    QELPopupLoading* popup = QELPopupLoading::GetInstance();
    if (popup == nullptr) {
        QEL_LOGE("popupLoading is failed to create");
        return;
    }
    popup->Create(ad);

    m_ItemList = new (std::nothrow) QELItemList();
    if (m_ItemList == nullptr) {
        QEL_LOGE("QELItemList is failed to create");
        return;
    }
    m_ItemList->Create(ad);

    m_ItemView = new (std::nothrow) QELItemView();
    if (m_ItemView == nullptr) {
        QEL_LOGE("QELItemView is failed to create");
        return;
    }
    m_ItemView->Create(ad);

    m_ButtonLogCapture = new (std::nothrow) QELButtonLogCapture();
    if (m_ButtonLogCapture == nullptr) {
        QEL_LOGE("QELButtonLogCapture is failed to create");
        return;
    }
    m_ButtonLogCapture->Create(ad);
}

void QELWindow::m_AddCallback(_appdata* ad) {
    // UpdateText must run before Update. The priority ensures this order, because EFL 1.26 calls
    // handlers of equal priority in reverse order of registration.
    const Connection_s connections[] = {
        {ad->itemList, "item,focused", EVAS_CALLBACK_PRIORITY_BEFORE,
         QELItemDetailView::UpdateText},
        {ad->itemList, "item,focused", EVAS_CALLBACK_PRIORITY_DEFAULT, QELItemView::Update},
        {ad->itemList, "unselected", EVAS_CALLBACK_PRIORITY_DEFAULT, QELItemList::OnUnselect},
        {ad->logCaptureButton, "clicked", EVAS_CALLBACK_PRIORITY_DEFAULT,
         QELButtonLogCapture::OnPress},
        {ad->detailLabel, "focused", EVAS_CALLBACK_PRIORITY_DEFAULT, QELItemDetailView::OnFocus},
        {ad->detailLabel, "unfocused", EVAS_CALLBACK_PRIORITY_DEFAULT,
         QELItemDetailView::OnUnfocus},
    };
    for (const Connection_s& connection : connections) {
        evas_object_smart_callback_priority_add(connection.object, connection.event,
                                                connection.priority, connection.handler, ad);
        if (evas_alloc_error() != EVAS_ALLOC_ERROR_NONE) {
            // The spelling of the log line is intentional.
            QEL_LOGE("it is falied to add event callback for %s.", connection.event);
            return;
        }
    }
}

void QELWindow::m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location) {
    QELUtil::ShowFilling(obj);
    if (!QELUtil::PackAt(ad->table, obj, location,
                         {TABLE_LOCATION_TITLE, TABLE_LOCATION_BACKGROUND})) {
        QEL_LOGE("there is no information about table location");
    }
}

void QELWindow::Destroy(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    // Deleting the window deletes its children; deleting a child a second time has no effect.
    QELUtil::DeleteObject(ad->win);
    QELUtil::DeleteObject(ad->table);
    QELUtil::DeleteObject(ad->titleLabel);
    QELUtil::DeleteObject(m_BgRect);
    QELUtil::DeleteObject(m_BgImage);
    QELUtil::DeleteObject(m_TitleBg);
    DestroyView(m_ItemList, ad);
    DestroyView(m_ItemView, ad);
    DestroyView(m_ButtonLogCapture, ad);
}
