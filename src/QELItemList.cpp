#include "QELItemList.h"

#include <Elementary.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <thread>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELItemText.h"
#include "QELPopupLoading.h"
#include "QELUtil.h"
#include "QELXmlParser.h"

namespace {

const char* const kRowStyle = "C_TextItem_WhiteSingleline02";
const char kTextPart[] = "elm.text";
const char kIconPart[] = "elm.swallow.icon";
const int kIconUnits = 70;  // side of an icon, in pixels at the base scale

// Returns the data of a row: the index of the failed item as the value of a pointer.
void* ToRowData(unsigned int index) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never a pointer to anything
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
}

unsigned int ToIndex(const void* rowData) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(rowData));
}

// Returns the result store if it has a failed item with the index; null otherwise.
const QELXmlParser* GetStoreWith(unsigned int index) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    return parser != nullptr && index < parser->GetNumOfResult() ? parser : nullptr;
}

bool BeginsWith(const char* part, const char* name) {
    return std::strncmp(part, name, std::strlen(name)) == 0;
}

// Returns the icon's path inside the resources of the menu application; null for an unknown type.
const char* IconOf(app_result_type_e type) {
    switch (type) {
        case RESULT_TYPE_BT:
            return "Settings_Popup/device_icon/r_icon_device_s_bluetooth.webp";
        case RESULT_TYPE_WIFI:
            return "Settings_Popup/device_icon/r_icon_device_s_wifi.webp";
        case RESULT_TYPE_APP:
            return "Settings/menu_icon/4_general/setting_icon_general_s.webp";
        case RESULT_TYPE_RNSC:
        case RESULT_TYPE_IMAGE:
            return "Settings_Popup/device_icon/r_icon_device_s_pc.webp";
        default:
            return nullptr;
    }
}

// Returns the side of an icon at the current scale, in pixels, rounded to the nearest pixel.
int IconSize() {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): the value is never negative
    return static_cast<int>(kIconUnits * elm_config_scale_get() / elm_app_base_scale_get() + 0.5);
}

}  // namespace

QELItemList::QELItemList() noexcept : m_bgItemList(nullptr) {}

void QELItemList::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    m_bgItemList = evas_object_rectangle_add(evas_object_evas_get(ad->table));
    // Intentional: the colour is not premultiplied, since its components exceed the alpha. The
    // toolkit logs an error and clamps the colour to (10, 10, 10, 10).
    evas_object_color_set(m_bgItemList, 255, 255, 255, 10);
    m_CreateList(ad);
    m_Show(ad, m_bgItemList, TABLE_LOCATION_ITEM_LIST);
    m_Show(ad, ad->itemList, TABLE_LOCATION_ITEM_LIST);

    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        return;
    }
    if (parser->GetNumOfResult() > 0) {
        m_OnFocus(ad->itemList, 0);
    }
    QEL_LOGI("done Create");
}

void QELItemList::m_CreateList(_appdata* ad) {
    ad->itemList = elm_genlist_add(ad->table);
    elm_genlist_homogeneous_set(ad->itemList, EINA_TRUE);
    elm_genlist_multi_select_set(ad->itemList, EINA_TRUE);

    Elm_Genlist_Item_Class* rowClass = elm_genlist_item_class_new();
    rowClass->item_style = kRowStyle;
    rowClass->func.text_get = m_GetItemText;
    rowClass->func.content_get = m_GetItemContent;
    rowClass->func.state_get = nullptr;
    rowClass->func.del = nullptr;

    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        return;  // intentional: the row class is not released
    }
    const unsigned int count = parser->GetNumOfResult();
    if (count == 0) {
        elm_genlist_item_class_free(rowClass);
        elm_object_disabled_set(ad->itemList, EINA_TRUE);
        return;
    }
    for (unsigned int i = 0; i < count; ++i) {
        elm_genlist_item_append(ad->itemList, rowClass, ToRowData(i), nullptr,
                                ELM_GENLIST_ITEM_NONE, OnPress, ad);
    }
    elm_genlist_item_class_free(rowClass);
}

void QELItemList::m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location) {
    QELUtil::ShowFilling(obj);
    if (!QELUtil::PackAt(ad->table, obj, location, {TABLE_LOCATION_ITEM_LIST})) {
        QEL_LOGE("there is no information about table location");
    }
}

void QELItemList::m_OnFocus(Evas_Object* list, int index) {
    if (list == nullptr) {
        QEL_LOGE("Evas_Object is NULL");
        return;
    }
    elm_object_focus_set(list, EINA_TRUE);
    Elm_Object_Item* row = elm_genlist_nth_item_get(list, static_cast<unsigned int>(index));
    if (row == nullptr) {
        QEL_LOGE("focusedItem is NULL");
        return;
    }
    elm_object_item_focus_set(row, EINA_TRUE);
    elm_genlist_item_bring_in(row, ELM_GENLIST_ITEM_SCROLLTO_TOP);
}

char* QELItemList::m_GetItemText(void* data, Evas_Object* /*obj*/, const char* part) {
    if (!BeginsWith(part, kTextPart)) {
        return nullptr;
    }
    const unsigned int index = ToIndex(data);
    const QELXmlParser* parser = GetStoreWith(index);
    if (parser == nullptr) {
        return nullptr;
    }
    const app_result_type_e type = parser->GetResultType(index);
    if (type == RESULT_TYPE_INVALID) {
        QEL_LOGE("resultType is invalid %d", type);
    }
    return strdup(QELItemText::ComposeRow(*parser, index).c_str());
}

Evas_Object* QELItemList::m_GetItemContent(void* data, Evas_Object* obj, const char* part) {
    if (!BeginsWith(part, kIconPart)) {
        return nullptr;
    }
    // Created before the checks. When the item does not exist, the icon is not returned and stays
    // a child of obj.
    Evas_Object* icon = elm_image_add(obj);
    const unsigned int index = ToIndex(data);
    const QELXmlParser* parser = GetStoreWith(index);
    if (parser == nullptr) {
        return nullptr;
    }
    std::string path;
    const app_result_type_e type = parser->GetResultType(index);
    const char* relativePath = IconOf(type);
    if (relativePath == nullptr) {
        QEL_LOGE("Not defined result type. %d", type);
    } else {
        path = QELUtil::GetMenuResourcePath(relativePath);
    }
    QEL_LOGI("resourcePath = %s", path.c_str());
    if (!elm_image_file_set(icon, path.c_str(), nullptr)) {
        QEL_LOGE("Failed to set Resource = %s", path.c_str());
    }
    // Intentional call without effect: a widget is not an image object, so the toolkit logs an
    // error.
    evas_object_image_alpha_set(icon, EINA_TRUE);
    const int width = IconSize();
    const int height = IconSize();
    evas_object_size_hint_min_set(icon, width, height);
    evas_object_size_hint_max_set(icon, width, height);
    return icon;
}

void QELItemList::OnPress(void* /*data*/, Evas_Object* /*obj*/, void* event_info) {
    QEL_LOGI("an Item is pressed.");
    QELPopupLoading* popup = QELPopupLoading::GetInstance();
    if (popup == nullptr) {
        QEL_LOGE("popupLoading is NULL");
        return;
    }
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    if (analysisData == nullptr) {
        return;
    }
    auto* row = static_cast<Elm_Object_Item*>(event_info);
    if (row == nullptr) {
        QEL_LOGE("Elm_Object_Item is NULL");
        return;
    }
    const auto index = static_cast<unsigned int>(elm_genlist_item_index_get(row) - 1);
    if (!analysisData->IsValid(index)) {
        QEL_LOGE("this Item is invalid");
        return;
    }
    popup->Show();
    popup->SetText("Analyze", "Analysis is in progress...");
    // Start sets the running flag, so Start must precede the worker, which clears the flag.
    popup->Start();
    // Intentional: a thread that cannot be started leaves this function by exception, with the
    // popup running.
    std::thread(QELAnalysis::StartAnalyze, index).detach();
}

void QELItemList::OnUnselect(void* /*data*/, Evas_Object* /*obj*/, void* event_info) {
    QEL_LOGI("an Item is unselected.");
    auto* row = static_cast<Elm_Object_Item*>(event_info);
    if (row == nullptr) {
        QEL_LOGE("Elm_Object_Item is NULL");
        return;
    }
    // Intentional: a selected row stays selected, so that every OK on the row is a press.
    elm_genlist_item_selected_set(row, EINA_TRUE);
}

void QELItemList::Destroy(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    QELUtil::DeleteObject(ad->itemList);
    QELUtil::DeleteObject(m_bgItemList);
}
