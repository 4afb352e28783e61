#include "QELItemView.h"

#include <Elementary.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "QELItemDetailView.h"
#include "QELUtil.h"
#include "QELXmlParser.h"

namespace {

const char* const kItemLabelStyle = "slide_short";

// Intentional: the bold tag stays open, and the closing tags have this order.
const char* const kNoPhotoMarkup =
    "<align=center font_size=20 color=#CCCCCC><b>"
    "There is no RNS result capture(photo) file."
    "</align></font_size></color>";

}  // namespace

QELItemView::QELItemView() noexcept
    : m_itemDetailView(nullptr), m_bgInfoViewLeft(nullptr), m_bgInfoViewRight(nullptr) {}

void QELItemView::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    m_CreateCommonInfoView(ad);
    // Intentional: the image is a child of the label, but packed into the table.
    ad->itemLabel = elm_label_add(ad->table);
    ad->itemImage = elm_image_add(ad->itemLabel);
    m_Show(ad, ad->itemLabel, TABLE_LOCATION_ITEM_VIEW);
    m_Show(ad, ad->infoLabelLeft, TABLE_LOCATION_INFO_LEFT);
    m_Show(ad, ad->infoLabelRight, TABLE_LOCATION_INFO_RIGHT);
    m_Show(ad, ad->itemImage, TABLE_LOCATION_ITEM_VIEW);
    evas_object_hide(ad->itemImage);

    m_itemDetailView = new (std::nothrow) QELItemDetailView();
    if (m_itemDetailView == nullptr) {
        QEL_LOGE("QELItemDetailView is failed to create");
        return;
    }
    m_itemDetailView->Create(ad);
    QEL_LOGI("done Create");
}

void QELItemView::m_CreateCommonInfoView(_appdata* ad) {
    Evas* canvas = evas_object_evas_get(ad->table);
    m_bgInfoViewLeft = evas_object_rectangle_add(canvas);
    ad->infoLabelLeft = m_CreateInfoLabel(ad);
    m_SetTextCommonInfoView(ad->infoLabelLeft, TABLE_LOCATION_INFO_LEFT);

    m_bgInfoViewRight = evas_object_rectangle_add(canvas);
    ad->infoLabelRight = m_CreateInfoLabel(ad);
    m_SetTextCommonInfoView(ad->infoLabelRight, TABLE_LOCATION_INFO_RIGHT);
}

Evas_Object* QELItemView::m_CreateInfoLabel(_appdata* ad) {
    Evas_Object* label = elm_label_add(ad->table);
    elm_label_ellipsis_set(label, EINA_TRUE);
    elm_object_style_set(label, kItemLabelStyle);
    return label;
}

void QELItemView::m_SetTextCommonInfoView(Evas_Object* label, app_table_location_e location) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return;
    }
    std::string text;
    if (location == TABLE_LOCATION_INFO_LEFT) {
        text = parser->GetSummary() + parser->GetNetworkInfo();
    } else if (location == TABLE_LOCATION_INFO_RIGHT) {
        text = parser->GetInformation();
    } else {
        QEL_LOGE("there is no information about table location %d", location);
    }
    const std::string size = std::to_string(m_GetFontSize(text));
    const std::string markup =
        "<align=left left_margin=20 wrap=char font_size=" + size + ">" + QELUtil::ToMarkup(text);
    elm_object_text_set(label, markup.c_str());
}

// Returns a smaller size for a text of more lines: the panel has a fixed height.
int QELItemView::m_GetFontSize(const std::string& text) {
    const auto newlines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    QEL_LOGI("newline is = %d", newlines);
    if (newlines > 12) {
        return 5;
    }
    return newlines >= 10 ? 7 : 9;
}

void QELItemView::m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location) {
    QELUtil::ShowFilling(obj);
    if (!QELUtil::PackAt(
            ad->table, obj, location,
            {TABLE_LOCATION_INFO_LEFT, TABLE_LOCATION_INFO_RIGHT, TABLE_LOCATION_ITEM_VIEW})) {
        QEL_LOGE("there is no information about table location");
    }
}

void QELItemView::m_SetText(_appdata* ad, Evas_Object* /*obj*/, const std::string& path) {
    if (QELXmlParser::GetInstance() == nullptr) {
        return;
    }
    const bool missing = !path.empty() && access(path.c_str(), F_OK) != 0;
    elm_object_style_set(ad->itemLabel, kItemLabelStyle);
    elm_object_text_set(ad->itemLabel, missing ? kNoPhotoMarkup : "");
}

void QELItemView::Update(void* data, Evas_Object* /*obj*/, void* event_info) {
    auto* ad = static_cast<_appdata*>(data);
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (ad == nullptr || parser == nullptr) {
        return;
    }
    const auto* row = static_cast<Elm_Object_Item*>(event_info);
    const auto index = static_cast<unsigned int>(elm_genlist_item_index_get(row) - 1);
    const unsigned int size = parser->GetNumOfResult();
    QEL_LOGI("index : %d, resultSize : %d", index, size);
    if (index >= size) {
        return;
    }
    if (parser->GetResultType(index) != RESULT_TYPE_IMAGE) {
        evas_object_hide(ad->itemLabel);
        evas_object_hide(ad->itemImage);
        evas_object_show(ad->infoLabelLeft);
        evas_object_show(ad->infoLabelRight);
        return;
    }
    // "detailed" is the path of the photo.
    QEL_LOGI("jpg Filepath : %s", parser->GetResult(index, "detailed").c_str());
    if (!elm_image_file_set(ad->itemImage, parser->GetResult(index, "detailed").c_str(), nullptr)) {
        // The toolkit may still show the photo of the previous row. The null file removes the
        // photo. The failure is not logged.
        elm_image_file_set(ad->itemImage, nullptr, nullptr);
    }
    m_SetText(ad, ad->itemLabel, parser->GetResult(index, "detailed"));
    evas_object_show(ad->itemLabel);
    evas_object_show(ad->itemImage);
    evas_object_hide(ad->infoLabelLeft);
    evas_object_hide(ad->infoLabelRight);
}

void QELItemView::Destroy(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    if (m_itemDetailView != nullptr) {
        m_itemDetailView->Destroy(ad);
        delete m_itemDetailView;
        m_itemDetailView = nullptr;
    }
    QELUtil::DeleteObject(ad->itemLabel);
    QELUtil::DeleteObject(ad->itemImage);
    QELUtil::DeleteObject(ad->infoLabelLeft);
    QELUtil::DeleteObject(ad->infoLabelRight);
    QELUtil::DeleteObject(m_bgInfoViewLeft);
    QELUtil::DeleteObject(m_bgInfoViewRight);
}
