#pragma once

#include "quorvel.h"

// The list of failed items in the left column: one row for each failed item, with an icon and a
// text that depend on the item's type. Pressing a row starts its analysis on a worker while the
// popup is shown. Owned by QELWindow. Everything runs on the main-loop thread.
//
// A row's data is the index of its failed item, not a pointer. Callbacks that receive the row
// itself compute the index as the row's position minus one.
class QELItemList {
public:
    QELItemList() noexcept;

    // Creates the list from the failed items of the result store and focuses the first row. The
    // list does not follow later changes of the store.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // Handles a row that was selected: starts the analysis of its item, if the item may be
    // analysed. data is the _appdata record, event_info the row. Does not catch the std::stoi
    // exception of an invalid code of the item. Throws std::system_error, with the popup running,
    // when the worker cannot be started.
    static void OnPress(void* data, Evas_Object* obj, void* event_info);
    // Handles a row that was unselected: selects the row again. event_info is the row.
    static void OnUnselect(void* data, Evas_Object* obj, void* event_info);

private:
    void m_CreateList(_appdata* ad);
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_OnFocus(Evas_Object* list, int index);

    // Genlist callbacks. data is the row's data. The list frees the returned text with free and
    // owns the returned icon.
    static char* m_GetItemText(void* data, Evas_Object* obj, const char* part);
    static Evas_Object* m_GetItemContent(void* data, Evas_Object* obj, const char* part);

    Evas_Object* m_bgItemList;
};
