#include "support/Stage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <numeric>

#include "fakes/Screen.h"
#include "ui_setup.h"
#include "window.h"

namespace {

constexpr int kIconSide = 70;
const char* const kSheet = "C_PopupBasic_WhiteBottom";

void Place(Evas_Object* table, Evas_Object* object, const Cell& cell, double weight = 1.0,
           double align = EVAS_HINT_FILL) {
    evas_object_size_hint_weight_set(object, weight, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(object, align, EVAS_HINT_FILL);
    evas_object_show(object);
    elm_table_pack(table, object, cell.column, cell.row, cell.columns, cell.rows);
}

std::string Lines(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "line " + std::to_string(i) + "=value<br/>";
    }
    return text;
}

int InfoFontSize(int lines) {
    if (lines > 12) {
        return 5;
    }
    return lines >= 10 ? 7 : 9;
}

char* RowText(void* data, Evas_Object*, const char* part) {
    const std::string text = "Row " + std::to_string(*static_cast<const int*>(data));
    return std::strcmp(part, "elm.text") == 0 ? strdup(text.c_str()) : nullptr;
}

Evas_Object* RowIcon(void*, Evas_Object* list, const char*) {
    Evas_Object* icon = evas_object_rectangle_add(evas_object_evas_get(list));
    const int side = static_cast<int>(kIconSide * elm_config_scale_get() / 2.0 + 0.5);
    evas_object_size_hint_min_set(icon, side, side);
    evas_object_size_hint_max_set(icon, side, side);
    return icon;
}

}  // namespace

void Stage::StartToolkit() {
    static const bool started = [] {
        quorvel::desktop::PrepareToolkit();
        Screen::Start();
        // The loader would turn endlessly in no time.
        edje_transition_duration_factor_set(1.0);
        return quorvel::desktop::StartUi();
    }();
    ASSERT_TRUE(started);
}

Stage::Stage(const StagePlan& plan) {
    StartToolkit();
    elm_app_base_scale_set(2.0);
    window = elm_win_util_standard_add("quorvel", "quorvel");
    evas_object_show(window);
    if (plan.width != Screen::WIDTH) {
        elm_config_scale_set(quorvel::desktop::ScaleFor(plan.width, plan.height));
        evas_object_resize(window, plan.width, plan.height);
    }
    table = elm_table_add(window);
    elm_table_homogeneous_set(table, EINA_TRUE);
    elm_table_padding_set(table, 2, 2);
    evas_object_size_hint_weight_set(table, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    elm_win_resize_object_add(window, table);
    Evas_Object* background = evas_object_rectangle_add(evas_object_evas_get(table));
    evas_object_color_set(background, 19, 28, 39, 255);
    Place(table, background, {0, 0, 3, 8});
    m_MakeTitle();
    evas_object_show(table);
    m_MakePopup();
    m_MakeList(plan.rows);
    infoLeft = m_MakeInfo(plan.infoLines, 1);
    infoRight = m_MakeInfo(plan.infoLines, 2);
    m_MakePanel();
    m_MakeButton();
    m_Watch();
    quorvel::desktop::FinishUi();
    Screen::Settle(window);
}

Stage::~Stage() {
    evas_object_del(popup);
    evas_object_del(window);
}

void Stage::m_MakeTitle() {
    title = elm_label_add(table);
    elm_object_text_set(title, "<align=center font_size=80 color=#CCCCCC><b>Quorvel");
    Place(table, title, {0, 0, 3, 1});
}

Evas_Object* Stage::m_MakeInfo(int lines, int column) {
    Evas_Object* info = elm_label_add(table);
    elm_label_ellipsis_set(info, EINA_TRUE);
    elm_object_style_set(info, "slide_short");
    const std::string text =
        "<align=left left_margin=20 wrap=char font_size=" + std::to_string(InfoFontSize(lines)) +
        ">" + Lines(lines);
    elm_object_text_set(info, text.c_str());
    Place(table, info, {column, 1, 1, 2});
    return info;
}

void Stage::m_MakeList(int rows) {
    list = elm_genlist_add(table);
    elm_genlist_homogeneous_set(list, EINA_TRUE);
    elm_genlist_multi_select_set(list, EINA_TRUE);
    Elm_Genlist_Item_Class* kind = elm_genlist_item_class_new();
    kind->item_style = "C_TextItem_WhiteSingleline02";
    kind->func.text_get = RowText;
    kind->func.content_get = RowIcon;
    m_Numbers.resize(static_cast<std::size_t>(rows));
    std::iota(m_Numbers.begin(), m_Numbers.end(), 0);
    for (int& number : m_Numbers) {
        elm_genlist_item_append(list, kind, &number, nullptr, ELM_GENLIST_ITEM_NONE, OnRowPressed,
                                this);
    }
    elm_genlist_item_class_free(kind);
    elm_object_disabled_set(list, rows == 0 ? EINA_TRUE : EINA_FALSE);
    Place(table, list, {0, 1, 1, 7});
    if (rows > 0) {
        elm_object_focus_set(list, EINA_TRUE);
        elm_object_item_focus_set(Row(0), EINA_TRUE);
        elm_genlist_item_bring_in(Row(0), ELM_GENLIST_ITEM_SCROLLTO_TOP);
    }
}

void Stage::m_MakePanel() {
    scroller = elm_scroller_add(table);
    elm_object_style_set(scroller, "c_scrollbar_list");
    elm_scroller_step_size_set(scroller, 0, 100);
    label = elm_label_add(scroller);
    elm_label_ellipsis_set(label, EINA_TRUE);
    elm_object_style_set(label, "slide_short");
    elm_object_text_set(label, "<align=center font_size=20 color=#CCCCCC><b>Hint");
    evas_object_size_hint_weight_set(label, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(label, EVAS_HINT_FILL, EVAS_HINT_FILL);
    evas_object_show(label);
    Place(table, scroller, {1, 3, 2, 4});
    elm_object_content_set(scroller, label);
    elm_object_focus_allow_set(label, EINA_TRUE);
}

void Stage::m_MakeButton() {
    button = elm_button_add(table);
    elm_object_style_set(button, "C_ButtonBasic_WhiteText");
    elm_object_text_set(button, "Log Capture");
    Place(table, button, {1, 7, 1, 1}, 0.8, 0.5);
}

void Stage::m_MakePopup() {
    popup = elm_popup_add(window);
    elm_object_style_set(popup, kSheet);
    Evas_Object* inside = elm_table_add(popup);
    elm_table_homogeneous_set(inside, EINA_TRUE);
    elm_object_content_set(popup, inside);
    popupLabel = elm_label_add(inside);
    elm_object_style_set(popupLabel, (std::string("popup/") + kSheet).c_str());
    loader = elm_progressbar_add(inside);
    elm_object_style_set(loader, "C_Loading_WhiteSmall");
    elm_progressbar_pulse_set(loader, EINA_TRUE);
    elm_object_content_set(popup, inside);
    ok = elm_button_add(inside);
    elm_object_style_set(ok, "C_ButtonBasic_WhiteText");
    elm_object_text_set(ok, "OK");
    evas_object_smart_callback_add(ok, "clicked", OnOkPressed, this);
}

void Stage::m_Watch() {
    evas_object_smart_callback_add(list, "item,focused", OnRowFocused, this);
    evas_object_smart_callback_add(label, "focused", OnLabelFocused, this);
    evas_object_smart_callback_add(label, "unfocused", OnLabelUnfocused, this);
}

void Stage::ShowResult(int lines) {
    const std::string text = "<align=left left_margin=20 wrap=char font_size=15>" + Lines(lines);
    elm_object_text_set(label, text.c_str());
    Screen::Settle(window);
}

void Stage::ShowPopup(bool running) {
    Evas_Object* inside = elm_object_content_get(popup);
    evas_object_show(popup);
    evas_object_show(inside);
    Place(inside, popupLabel, {1, 0, 5, 2});
    Place(inside, loader, {0, 0, 1, 2});
    Place(inside, ok, {2, 2, 2, 1});
    elm_object_part_text_set(popup, "title,text", "Analyze");
    elm_object_text_set(popupLabel, "<align=left left_margin=30 wrap=char>Analysis");
    elm_progressbar_pulse(loader, running ? EINA_TRUE : EINA_FALSE);
    elm_object_disabled_set(ok, running ? EINA_TRUE : EINA_FALSE);
    if (!running) {
        elm_object_focus_set(ok, EINA_TRUE);
    }
    Screen::Settle(window);
}

void Stage::Press(const std::string& key) {
    Screen::Press(window, key);
    Screen::Settle(window);
}

Elm_Object_Item* Stage::Row(int number) const {
    return elm_genlist_nth_item_get(list, static_cast<unsigned>(number));
}

void Stage::OnRowFocused(void* data, Evas_Object*, void* row) {
    const int number = elm_genlist_item_index_get(static_cast<Elm_Object_Item*>(row)) - 1;
    static_cast<Stage*>(data)->m_FocusedRows.push_back(number);
}

void Stage::OnRowPressed(void* data, Evas_Object*, void*) {
    ++static_cast<Stage*>(data)->m_RowPresses;
}

void Stage::OnLabelFocused(void* data, Evas_Object*, void*) {
    static_cast<Stage*>(data)->m_LabelEvents.emplace_back("focused");
}

void Stage::OnLabelUnfocused(void* data, Evas_Object*, void*) {
    static_cast<Stage*>(data)->m_LabelEvents.emplace_back("unfocused");
}

void Stage::OnOkPressed(void* data, Evas_Object*, void*) {
    auto* self = static_cast<Stage*>(data);
    ++self->m_OkPresses;
    evas_object_hide(self->popup);
}
