#pragma once

#include "quorvel.h"

// The list of failed items in the left column: a row for every failed item, with an icon and a text
// by its type. Pressing a row starts its analysis on a detached worker thread behind the progress
// popup. Owned by QELWindow; everything runs on the main-loop thread.
//
// A row's data is the index of its failed item, not a pointer. Callbacks that get the row itself
// take its position minus one.
class QELItemList {
public:
    QELItemList();

    // Builds the list from what the result store holds, once, and focuses the first row.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // A row was selected: analyses its item, if the rules allow. data is the _appdata record,
    // event_info the row. Lets a conversion error of the item's codes escape.
    static void OnPress(void* data, Evas_Object* obj, void* event_info);
    // A row was unselected: selects it again. event_info is the row.
    static void OnUnselect(void* data, Evas_Object* obj, void* event_info);

private:
    void m_CreateList(_appdata* ad);
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_OnFocus(Evas_Object* list, int index);

    static char* m_GetItemText(void* data, Evas_Object* obj, const char* part);
    static Evas_Object* m_GetItemContent(void* data, Evas_Object* obj, const char* part);

    Evas_Object* m_bgItemList;
};
