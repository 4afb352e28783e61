#pragma once

#include <string>

#include "quorvel.h"

// The detail panel: a scrolling label in the lower right. The detail text begins with the recorded
// result of the item. After an analysis, the "detailed" and "reason" values follow in red and the
// analysis text in orange. Owned by QELItemView. Everything runs on the main-loop thread.
class QELItemDetailView {
public:
    QELItemDetailView() noexcept;

    // Creates the panel, which shows a hint until a row gets the focus.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // Handles a row that got the focus: shows its detail text. Nothing else changes the text, so a
    // new analysis appears only when its row gets the focus again. data is the _appdata record,
    // event_info the row.
    static void UpdateText(void* data, Evas_Object* obj, void* event_info);
    // Handle the focus of the panel's label: brighten and dim the background. obj is the label. Log
    // an error and do nothing when obj is null.
    static void OnFocus(void* data, Evas_Object* obj, void* event_info);
    static void OnUnfocus(void* data, Evas_Object* obj, void* event_info);

private:
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_SetText(_appdata* ad, Evas_Object* obj);
    static std::string m_GetMarkupResultText(unsigned int index);
    static std::string m_GetMarkupAnalyzeText(unsigned int index);

    Evas_Object* m_scrollerItemDetailView;
    static Evas_Object* m_bgItemDetailView;  // static: the focus handlers use it
};
