// A program with the same kinds of widgets as Quorvel and the toolkit's own theme:
//
//     quorvel_comparison ROWS BACKGROUND ICON
//
// BACKGROUND and ICON are picture files. script/bench compares the time to the first frame with
// Quorvel.

#include <Efreet.h>
#include <Elementary.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kIconSide = 70;  // pixels

const char* g_Icon = nullptr;

char* RowText(void* /*data*/, Evas_Object* /*list*/, const char* /*part*/) {
    return strdup("TEST_ITEM(11,2A)");
}

Evas_Object* RowContent(void* /*data*/, Evas_Object* list, const char* part) {
    if (std::string(part) != "elm.swallow.icon") {
        return nullptr;
    }
    Evas_Object* icon = elm_image_add(list);
    elm_image_file_set(icon, g_Icon, nullptr);
    evas_object_size_hint_min_set(icon, kIconSide, kIconSide);
    return icon;
}

void Pack(Evas_Object* table, Evas_Object* object, int column, int row, int columns, int rows) {
    evas_object_size_hint_weight_set(object, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(object, EVAS_HINT_FILL, EVAS_HINT_FILL);
    evas_object_show(object);
    elm_table_pack(table, object, column, row, columns, rows);
}

void AddLabel(Evas_Object* table, const char* text, int column, int row, int columns, int rows) {
    Evas_Object* back = evas_object_rectangle_add(evas_object_evas_get(table));
    evas_object_color_set(back, 10, 10, 10, 10);
    Pack(table, back, column, row, columns, rows);
    Evas_Object* label = elm_label_add(table);
    elm_object_text_set(label, text);
    Pack(table, label, column, row, columns, rows);
}

void AddList(Evas_Object* table, unsigned long rows) {
    Evas_Object* list = elm_genlist_add(table);
    elm_genlist_homogeneous_set(list, EINA_TRUE);
    elm_genlist_multi_select_set(list, EINA_TRUE);
    Elm_Genlist_Item_Class* rowClass = elm_genlist_item_class_new();
    rowClass->item_style = "default";
    rowClass->func.text_get = RowText;
    rowClass->func.content_get = RowContent;
    for (unsigned long i = 0; i < rows; ++i) {
        elm_genlist_item_append(list, rowClass, nullptr, nullptr, ELM_GENLIST_ITEM_NONE, nullptr,
                                nullptr);
    }
    elm_genlist_item_class_free(rowClass);
    Pack(table, list, 0, 1, 1, 7);
    elm_object_focus_set(list, EINA_TRUE);
}

// Adds a popup that stays hidden.
void AddPopup(Evas_Object* window) {
    Evas_Object* popup = elm_popup_add(window);
    Evas_Object* table = elm_table_add(popup);
    elm_object_content_set(popup, table);
    elm_label_add(table);
    elm_progressbar_add(table);
    elm_object_text_set(elm_button_add(table), "OK");
}

void AddWidgets(Evas_Object* window, unsigned long rows, const char* background) {
    Evas_Object* table = elm_table_add(window);
    elm_table_homogeneous_set(table, EINA_TRUE);
    elm_table_padding_set(table, 2, 2);
    evas_object_size_hint_weight_set(table, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    elm_win_resize_object_add(window, table);
    Evas_Object* image = evas_object_image_add(evas_object_evas_get(table));
    evas_object_image_file_set(image, background, nullptr);
    evas_object_image_filled_set(image, EINA_TRUE);
    Pack(table, image, 0, 0, 3, 8);
    AddLabel(table, "<align=center font_size=40>Comparison</align>", 0, 0, 3, 1);
    AddPopup(window);
    AddList(table, rows);
    AddLabel(table, "model=M<br/>option=O<br/>number=1", 1, 1, 1, 2);
    AddLabel(table, "result=fail<br/>duration=500<br/>retries=1", 2, 1, 1, 2);
    Evas_Object* scroller = elm_scroller_add(table);
    Evas_Object* text = elm_label_add(scroller);
    elm_object_text_set(text, "name=TEST_ITEM_0<br/>result=fail<br/>measure=-72 dBm");
    elm_object_content_set(scroller, text);
    Pack(table, scroller, 1, 3, 2, 4);
    Evas_Object* button = elm_button_add(table);
    elm_object_text_set(button, "Button");
    Pack(table, button, 1, 7, 1, 1);
    evas_object_show(table);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: quorvel_comparison ROWS BACKGROUND ICON\n", stderr);
        return EXIT_FAILURE;
    }
    efreet_cache_disable();
    elm_init(argc, argv);
    g_Icon = argv[3];
    Evas_Object* window = elm_win_util_standard_add("comparison", "comparison");
    evas_object_show(window);
    AddWidgets(window, std::strtoul(argv[1], nullptr, 10), argv[2]);
    evas_object_resize(window, kWidth, kHeight);
    elm_run();
    elm_shutdown();
    return EXIT_SUCCESS;
}
