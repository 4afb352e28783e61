#pragma once

#include <string>

#include "quorvel.h"

class QELItemDetailView;

// The right-hand side: two panels with the run's information, or, for an item of type "image", the
// photo that the test run captured. Which of the two is visible follows the focused row of the
// list. Owned by QELWindow; owns the detail view. Main-loop thread only.
class QELItemView {
public:
    QELItemView();

    // Builds both faces, fills the panels once from the result store, and makes the detail view.
    void Create(_appdata* ad);
    // Destroys the detail view, deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // A row got the focus: turns to the face of its item. data is the _appdata record, event_info
    // the row.
    static void Update(void* data, Evas_Object* obj, void* event_info);

private:
    void m_CreateCommonInfoView(_appdata* ad);
    void m_SetTextCommonInfoView(Evas_Object* label, app_table_location_e location);
    int m_GetFontSize(const std::string& text);
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);

    static Evas_Object* m_CreateInfoLabel(_appdata* ad);
    static void m_SetText(_appdata* ad, Evas_Object* obj, const std::string& path);

    QELItemDetailView* m_itemDetailView;
    Evas_Object* m_bgInfoViewLeft;   // never coloured, shown or packed, only deleted
    Evas_Object* m_bgInfoViewRight;  // likewise
};
