#pragma once

#include <string>

#include "quorvel.h"

// The scrolling text panel in the lower right: the focused item's own result, after its analysis
// its "detailed" and "reason" in red, and the analysis text in orange. Owned by QELItemView;
// everything runs on the main-loop thread.
class QELItemDetailView {
public:
    QELItemDetailView();

    // Builds the panel with the hint that stands in it until a row gets the focus.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // A row got the focus: shows its item. The only way by which the text changes, so a new
    // analysis shows when the focus next lands on its row. data is the _appdata record, event_info
    // the row.
    static void UpdateText(void* data, Evas_Object* obj, void* event_info);
    // The panel's label got or lost the focus: brightens or dims the background. obj is the label.
    static void OnFocus(void* data, Evas_Object* obj, void* event_info);
    static void OnUnfocus(void* data, Evas_Object* obj, void* event_info);

private:
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_SetText(_appdata* ad, Evas_Object* obj);
    static std::string m_GetMarkupResultText(unsigned int index);
    static std::string m_GetMarkupAnalyzeText(unsigned int index);

    Evas_Object* m_scrollerItemDetailView;
    static Evas_Object* m_bgItemDetailView;  // static for the focus handlers
};
