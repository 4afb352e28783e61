#include "toolkit/ui_setup.h"

#include <Elementary.h>

#include <cstdlib>

#include "toolkit/label_focus.h"
#include "toolkit/list_focus.h"
#include "toolkit/pointer.h"
#include "toolkit/remote_keys.h"
#include "toolkit/text_panels.h"
#include "toolkit/theme.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

void Configure() {
    // A row is pressed only by OK, never by being reached.
    elm_config_item_select_on_focus_disabled_set(EINA_TRUE);
    // Without it a row keeps the look of the focus when the focus has left the list.
    elm_config_focus_highlight_enabled_set(EINA_TRUE);
    elm_config_focus_highlight_animate_set(EINA_FALSE);
    elm_config_focus_move_policy_set(ELM_FOCUS_MOVE_POLICY_CLICK);
    elm_config_first_item_focus_on_first_focusin_set(EINA_FALSE);
    elm_config_scroll_bounce_enabled_set(EINA_FALSE);
}

}  // namespace

void PrepareToolkit() {
    // The popup lies at the bottom, over the whole width; the toolkit takes that from here alone.
    setenv("ELM_POPUP_VERTICAL_ALIGN", "1.0", 1);
    setenv("ELM_POPUP_HORIZONTAL_ALIGN", "-1.0", 1);
    setenv("ELM_PROFILE", "standard", 1);
    // Neither traces after the toolkit's own messages nor its modules for power and time zones.
    setenv("EINA_LOG_BACKTRACE", "-1", 0);
    setenv("ECORE_NO_SYSTEM_MODULES", "1", 0);
}

bool StartUi() {
    if (!AddTheme()) {
        return false;
    }
    Configure();
    StartRemoteKeys();
    StopPointer();
    return true;
}

void FinishUi() {
    Evas_Object* window = MainWindow();
    if (window != nullptr) {
        WatchLabelFocus(window);
        WatchListFocus(window);
        SetUpTextPanels(window);
    }
}

void StopUi() {
    RestorePointer();
    StopRemoteKeys();
    RemoveTheme();
}

}  // namespace quorvel::desktop
