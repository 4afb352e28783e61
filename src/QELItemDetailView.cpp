#include "QELItemDetailView.h"

#include <Elementary.h>

#include "QELAnalysisData.h"
#include "QELItemText.h"
#include "QELUtil.h"
#include "QELXmlParser.h"

namespace {

const char* const kDetailLabelStyle = "slide_short";
const char* const kScrollerStyle = "c_scrollbar_list";
const int kScrollStep = 100;  // pixels

// Intentional in both hints: the bold tag stays open, and the closing tags have this order.
const char* const kNoHistoryMarkup =
    "<align=center font_size=20 color=#CCCCCC><b>"
    "There is no failed production history."
    "</align></font_size></color>";
const char* const kChooseItemMarkup =
    "<align=center font_size=20 color=#CCCCCC><b>"
    "Please choose items by pressing Up/Down keys."
    "</align></font_size></color>";

const char* const kResultPrefix = "<align=left left_margin=20 wrap=char font_size=15>";
const char* const kRedPrefix = "<align=left left_margin=20 wrap=char font_size=15 color=#FF0000>";
const char* const kOrangePrefix =
    "<align=left left_margin=20 wrap=char font_size=15 color=#FF8000>";

const int kAlphaNormal = 20;
const int kAlphaFocused = 50;

// Intentional: the colour is not premultiplied, since its components exceed the alpha. The toolkit
// logs an error and clamps the components to the alpha, which gives a translucent white.
void SetBackgroundAlpha(Evas_Object* background, int alpha) {
    evas_object_color_set(background, 255, 255, 255, alpha);
}

// Returns text as red markup; empty until the user has had the item analysed.
std::string RedMarkup(const std::string& text, QELAnalysisData& analysisData, unsigned int index) {
    if (text.empty() || !analysisData.GetExcutedByUser(index)) {
        return "";
    }
    return kRedPrefix + QELUtil::ToMarkup(text + "\n");
}

}  // namespace

Evas_Object* QELItemDetailView::m_bgItemDetailView = nullptr;

QELItemDetailView::QELItemDetailView() noexcept : m_scrollerItemDetailView(nullptr) {
    m_bgItemDetailView = nullptr;
}

void QELItemDetailView::Create(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    m_bgItemDetailView = evas_object_rectangle_add(evas_object_evas_get(ad->table));
    SetBackgroundAlpha(m_bgItemDetailView, kAlphaNormal);
    m_scrollerItemDetailView = elm_scroller_add(ad->table);
    elm_object_style_set(m_scrollerItemDetailView, kScrollerStyle);
    elm_scroller_step_size_set(m_scrollerItemDetailView, 0, kScrollStep);
    ad->detailLabel = elm_label_add(m_scrollerItemDetailView);
    elm_label_ellipsis_set(ad->detailLabel, EINA_TRUE);
    m_SetText(ad, ad->detailLabel);

    m_Show(ad, m_bgItemDetailView, TABLE_LOCATION_ITEM_DETAIL);
    // Intentional: 0 is not a location. The call sets the label's hints, shows the label and logs
    // an error at every start. The scroller below contains the label.
    m_Show(ad, ad->detailLabel, static_cast<app_table_location_e>(0));
    m_Show(ad, m_scrollerItemDetailView, TABLE_LOCATION_ITEM_DETAIL);

    elm_object_content_set(m_scrollerItemDetailView, ad->detailLabel);
    elm_object_focus_allow_set(ad->detailLabel, EINA_TRUE);
    QEL_LOGI("done Create");
}

void QELItemDetailView::m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location) {
    QELUtil::ShowFilling(obj);
    if (!QELUtil::PackAt(ad->table, obj, location, {TABLE_LOCATION_ITEM_DETAIL})) {
        QEL_LOGE("there is no information about table location");
    }
}

void QELItemDetailView::m_SetText(_appdata* ad, Evas_Object* /*obj*/) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        return;
    }
    const char* hint = parser->GetNumOfResult() == 0 ? kNoHistoryMarkup : kChooseItemMarkup;
    elm_object_style_set(ad->detailLabel, kDetailLabelStyle);
    elm_object_text_set(ad->detailLabel, hint);
}

std::string QELItemDetailView::m_GetMarkupResultText(unsigned int index) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("failed to get QELXmlParser instance.");
        return "";
    }
    std::string text = QELItemText::ComposeResult(*parser, index);
    if (!text.empty()) {
        text += "\n";
    }
    std::string markup = kResultPrefix + QELUtil::ToMarkup(text);
    QEL_LOGI("strMarkupForResultText : %s", markup.c_str());
    return markup;
}

std::string QELItemDetailView::m_GetMarkupAnalyzeText(unsigned int index) {
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    if (analysisData == nullptr) {
        QEL_LOGE("failed to get QELAnalysisData instance.");
        return "";
    }
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("failed to get QELXmlParser instance.");
        return "";
    }
    // Intentional call without effect: the item text is read and not used.
    static_cast<void>(parser->GetResult(index));
    const std::string analysis = analysisData->GetAnalysisData(index);
    std::string markup = RedMarkup(parser->GetResult(index, "detailed"), *analysisData, index);
    markup += RedMarkup(parser->GetResult(index, "reason"), *analysisData, index);
    markup += kOrangePrefix + QELUtil::ToMarkup(analysis);
    QEL_LOGI("strReturnText : %s", markup.c_str());
    return markup;
}

void QELItemDetailView::UpdateText(void* data, Evas_Object* /*obj*/, void* event_info) {
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
    std::string markup = m_GetMarkupResultText(index);
    markup += m_GetMarkupAnalyzeText(index);
    elm_object_text_set(ad->detailLabel, markup.c_str());
    if (parser->GetResultType(index) == RESULT_TYPE_IMAGE) {
        evas_object_hide(ad->detailLabel);
    } else {
        evas_object_show(ad->detailLabel);
    }
}

void QELItemDetailView::OnFocus(void* /*data*/, Evas_Object* obj, void* /*event_info*/) {
    if (obj == nullptr) {
        QEL_LOGE("Evas_Object is NULL");
        return;
    }
    QEL_LOGI("OnFocus : ");
    SetBackgroundAlpha(m_bgItemDetailView, kAlphaFocused);
}

void QELItemDetailView::OnUnfocus(void* /*data*/, Evas_Object* obj, void* /*event_info*/) {
    if (obj == nullptr) {
        QEL_LOGE("Evas_Object is NULL");
        return;
    }
    QEL_LOGI("OnUnfocus : ");
    SetBackgroundAlpha(m_bgItemDetailView, kAlphaNormal);
}

void QELItemDetailView::Destroy(_appdata* ad) {
    if (ad == nullptr) {
        QEL_LOGE("there is no appdata");
        return;
    }
    QELUtil::DeleteObject(ad->detailLabel);
    QELUtil::DeleteObject(m_bgItemDetailView);
    QELUtil::DeleteObject(m_scrollerItemDetailView);
}
