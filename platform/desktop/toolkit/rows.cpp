#include "toolkit/rows.h"

#include <Elementary.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// The key in a list. The value is the application's function that returns the text of a row.
constexpr char kTextKey[] = "quorvel-text";
// The key in an analysed row. The value is the row itself.
constexpr char kAnalysedKey[] = "quorvel-analysed";

// Returns the text for a part that replaces entities.
std::string Literal(std::string_view text) {
    constexpr std::string_view kBreaks = "\t\n\r";
    std::string literal;
    bool isInBreak = false;
    for (const char byte : text) {
        const bool isBreak = kBreaks.find(byte) != std::string_view::npos;
        if (isBreak && !isInBreak) {
            literal += ' ';
        } else if (byte == '&') {
            literal += "&amp;";
        } else if (!isBreak) {
            literal += byte;
        }
        isInBreak = isBreak;
    }
    return literal;
}

// Replaces the application's function. Returns a string from malloc, as that function does.
char* LiteralTextOf(void* data, Evas_Object* list, const char* part) {
    const auto textOf =
        reinterpret_cast<Elm_Gen_Item_Text_Get_Cb>(evas_object_data_get(list, kTextKey));
    const std::unique_ptr<char, decltype(&std::free)> text(textOf(data, list, part), std::free);
    return text == nullptr ? nullptr : strdup(Literal(text.get()).c_str());
}

void ShowMark(Elm_Object_Item* row) {
    const bool isAnalysed = efl_key_data_get(row, kAnalysedKey) != nullptr;
    elm_object_item_signal_emit(row, isAnalysed ? "quorvel,row,analysed" : "quorvel,row,plain",
                                "quorvel");
}

// The application has handled the press before this event. The popup is shown if the row can be
// analysed.
void OnRowPressed(void*, Evas_Object* list, void* row) {
    auto* item = static_cast<Elm_Object_Item*>(row);
    if (Widgets(list).popup != nullptr) {
        efl_key_data_set(item, kAnalysedKey, item);
        ShowMark(item);
    }
}

// A row that scrolls into view gets the drawing of another row, with the mark of that row.
void OnRowRealized(void*, Evas_Object*, void* row) {
    ShowMark(static_cast<Elm_Object_Item*>(row));
}

}  // namespace

void SetUpRows(Evas_Object* list) {
    const Elm_Object_Item* first = elm_genlist_first_item_get(list);
    if (first == nullptr) {
        return;
    }
    // The rows share the class, which exists as long as a row.
    auto* rowClass = const_cast<Elm_Genlist_Item_Class*>(elm_genlist_item_item_class_get(first));
    evas_object_data_set(list, kTextKey, reinterpret_cast<void*>(rowClass->func.text_get));
    rowClass->func.text_get = LiteralTextOf;
    evas_object_smart_callback_add(list, "selected", OnRowPressed, nullptr);
    evas_object_smart_callback_add(list, "realized", OnRowRealized, nullptr);
    elm_genlist_realized_items_update(list);
}

}  // namespace quorvel::desktop
