#include "toolkit/rows.h"

#include <Elementary.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

constexpr char kDataKey[] = "quorvel-rows";

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

// The rows of one list. All rows have the same class. Allocated with new; deletes itself with the
// list. Main-loop thread.
class Rows {
public:
    Rows(Evas_Object* window, Evas_Object* list);
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

private:
    ~Rows() = default;

    void m_ReplaceTexts(Evas_Object* list);

    static char* m_TextOf(void* data, Evas_Object* list, const char* part);
    static void m_OnPressed(void* data, Evas_Object*, void* row);
    static void m_OnRealized(void* data, Evas_Object*, void* row);
    static void m_OnDeleted(void* data, Evas*, Evas_Object*, void*);

    Evas_Object* const m_Window;
    // The application's function. Returns a string from malloc.
    Elm_Gen_Item_Text_Get_Cb m_Text = nullptr;
    // The list deletes no row before the list itself.
    std::unordered_set<const void*> m_Analysed;
};

Rows::Rows(Evas_Object* window, Evas_Object* list) : m_Window(window) {
    evas_object_data_set(list, kDataKey, this);
    evas_object_smart_callback_add(list, "selected", m_OnPressed, this);
    evas_object_smart_callback_add(list, "realized", m_OnRealized, this);
    evas_object_event_callback_add(list, EVAS_CALLBACK_FREE, m_OnDeleted, this);
    m_ReplaceTexts(list);
}

// The rows share the class and keep it allocated.
void Rows::m_ReplaceTexts(Evas_Object* list) {
    const Elm_Object_Item* first = elm_genlist_first_item_get(list);
    if (first == nullptr) {
        return;
    }
    auto* rowClass = const_cast<Elm_Genlist_Item_Class*>(elm_genlist_item_item_class_get(first));
    m_Text = rowClass->func.text_get;
    rowClass->func.text_get = m_TextOf;
    elm_genlist_realized_items_update(list);
}

char* Rows::m_TextOf(void* data, Evas_Object* list, const char* part) {
    const auto* self = static_cast<const Rows*>(evas_object_data_get(list, kDataKey));
    char* text = self->m_Text == nullptr ? nullptr : self->m_Text(data, list, part);
    if (text == nullptr) {
        return nullptr;
    }
    const std::string literal = Literal(text);
    std::free(text);
    return strdup(literal.c_str());
}

void ShowMark(void* row, bool isAnalysed) {
    elm_object_item_signal_emit(static_cast<Elm_Object_Item*>(row),
                                isAnalysed ? "quorvel,row,analysed" : "quorvel,row,plain",
                                "quorvel");
}

// The application has handled the press before this event. The popup is shown if the row can be
// analysed.
void Rows::m_OnPressed(void* data, Evas_Object*, void* row) {
    auto* self = static_cast<Rows*>(data);
    if (ShownPopup(self->m_Window) != nullptr) {
        self->m_Analysed.insert(row);
        ShowMark(row, true);
    }
}

// A row that scrolls into view gets the drawing of another row, with the mark of that row.
void Rows::m_OnRealized(void* data, Evas_Object*, void* row) {
    ShowMark(row, static_cast<Rows*>(data)->m_Analysed.count(row) > 0);
}

void Rows::m_OnDeleted(void* data, Evas*, Evas_Object*, void*) {
    delete static_cast<Rows*>(data);
}

}  // namespace

void SetUpRows(Evas_Object* window) {
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        new Rows(window, list);
    }
}

}  // namespace quorvel::desktop
