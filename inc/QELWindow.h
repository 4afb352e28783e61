#pragma once

#include "quorvel.h"

class QELButtonLogCapture;
class QELItemList;
class QELItemView;

// The full-screen main window: the layout table with background and title, the views in the table,
// and the connections of their events. Owned by QELApp. Owns the views. Main-loop thread only.
class QELWindow {
public:
    QELWindow() noexcept;

    // Parses the result files, then creates the window and the views and stores their widgets in
    // ad. A failure is logged; the window stays with the widgets created so far.
    void Create(_appdata* ad);
    // Deletes the window and the views and clears their fields in ad. The popup object stays
    // until the process ends.
    void Destroy(_appdata* ad);

private:
    void m_CreateTitle(_appdata* ad);
    void m_CreateSubObject(_appdata* ad);
    void m_AddCallback(_appdata* ad);
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_CreateBackground(_appdata* ad);

    QELItemList* m_ItemList;
    QELItemView* m_ItemView;
    QELButtonLogCapture* m_ButtonLogCapture;
    Evas_Object* m_BgRect;  // created and deleted, but never shown or packed
    Evas_Object* m_TitleBg;
    Evas_Object* m_BgImage;
};
