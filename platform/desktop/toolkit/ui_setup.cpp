#include "toolkit/ui_setup.h"

#include <Elementary.h>

#include <cstdlib>

#include "toolkit/focus.h"
#include "toolkit/input.h"
#include "toolkit/rows.h"
#include "toolkit/scale.h"
#include "toolkit/text_panels.h"
#include "toolkit/theme.h"
#include "toolkit/toolkit_log.h"
#include "toolkit/widgets.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

// The place of the button in its cell, as parts of the free space at the left and above. At the
// left: the distance between the cell and the frame of the detail panel. From the list, the toolkit
// would move the focus to a button at the edge instead of the panel.
constexpr double kButtonAlignX = 0.0225;
constexpr double kButtonAlignY = 0.3;

void Configure() {
    // Only OK selects a row; focus alone does not.
    elm_config_item_select_on_focus_disabled_set(EINA_TRUE);
    // Without the highlight, a row still shows the focus after the focus has left the list.
    elm_config_focus_highlight_enabled_set(EINA_TRUE);
    elm_config_focus_highlight_animate_set(EINA_FALSE);
    elm_config_focus_move_policy_set(ELM_FOCUS_MOVE_POLICY_CLICK);
    elm_config_first_item_focus_on_first_focusin_set(EINA_FALSE);
    elm_config_scroll_bounce_enabled_set(EINA_FALSE);
}

}  // namespace

void PrepareToolkit() {
    // The popup fills the width at the bottom. The toolkit has no other setting for its position.
    setenv("ELM_POPUP_VERTICAL_ALIGN", "1.0", 1);
    setenv("ELM_POPUP_HORIZONTAL_ALIGN", "-1.0", 1);
    setenv("ELM_PROFILE", "standard", 1);
    // Draw on the main thread. The toolkit waits only 0.2 s for its drawing thread, and then frees
    // memory that the thread still uses.
    setenv("ECORE_EVAS_FORCE_SYNC_RENDER", "1", 1);
    // No stack traces in the toolkit's messages, and no modules for power and time zones.
    setenv("EINA_LOG_BACKTRACE", "-1", 0);
    setenv("ECORE_NO_SYSTEM_MODULES", "1", 0);
}

bool StartUi() {
    StartToolkitLog();
    if (!AddTheme()) {
        return false;
    }
    Configure();
    StartInputFilter();
    return true;
}

void FinishUi() {
    Evas_Object* window = MainWindow();
    const Widgets widgets(window);
    if (widgets.AreComplete()) {
        WatchFocus(widgets);
        SetUpRows(widgets.list);
        SetUpTextPanels(widgets);
        evas_object_size_hint_align_set(widgets.button, kButtonAlignX, kButtonAlignY);
        ScaleWithWindow(window);
    }
}

void StopUi() {
    StopInputFilter();
    RemoveTheme();
    StopToolkitLog();
}

}  // namespace quorvel::desktop
