#pragma once

#include "quorvel.h"

class QELButtonLogCapture;
class QELItemList;
class QELItemView;

// The full-screen main window: the layout table with background and title, the views in it, and the
// wiring of their events. Owned by QELApp; owns the views. Main-loop thread only.
class QELWindow {
public:
    QELWindow();

    // Has the result files read, then builds everything into ad. Failures are logged and leave the
    // window up with what exists.
    void Create(_appdata* ad);
    // Deletes the window and the views and clears their fields in ad. The progress popup stays: it
    // lives until the process ends.
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
    Evas_Object* m_BgRect;  // never shown or packed, only deleted
    Evas_Object* m_TitleBg;
    Evas_Object* m_BgImage;
};
