#pragma once

#include <string>

#include "quorvel.h"

class QELItemDetailView;

// The right-hand side of the window: the two information panels, or, for an item of type "image",
// the photo that the run took. The type of the focused item decides what is visible.
// Owned by QELWindow. Owns the detail view. Main-loop thread only.
class QELItemView {
public:
    QELItemView() noexcept;

    // Creates the widgets and the detail view, and fills the two information panels from the result
    // store. The panels do not follow later changes of the store.
    void Create(_appdata* ad);
    // Destroys the detail view, deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // Handles a row that got the focus: shows the photo for an item of type "image" and the
    // information panels for any other item. data is the _appdata record, event_info the row.
    static void Update(void* data, Evas_Object* obj, void* event_info);

private:
    void m_CreateCommonInfoView(_appdata* ad);
    void m_SetTextCommonInfoView(Evas_Object* label, app_table_location_e location);
    int m_GetFontSize(const std::string& text);
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);

    static Evas_Object* m_CreateInfoLabel(_appdata* ad);
    static void m_SetText(_appdata* ad, Evas_Object* obj, const std::string& path);

    QELItemDetailView* m_itemDetailView;
    Evas_Object* m_bgInfoViewLeft;   // created and deleted, but never coloured, shown or packed
    Evas_Object* m_bgInfoViewRight;  // as m_bgInfoViewLeft
};
