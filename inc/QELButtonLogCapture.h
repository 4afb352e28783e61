#pragma once

#include "quorvel.h"

// The "Log Capture" button: copies the set's logs to USB storage on a detached worker thread behind
// the progress popup. A successful capture counts, and disables the button for the rest of the run
// once the user has confirmed it. Owned by QELWindow; all but the worker's body runs on the
// main-loop thread.
class QELButtonLogCapture {
public:
    QELButtonLogCapture();

    // Builds the button, and focuses it when the list has no row that could take the focus.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // The button was pressed: starts a capture.
    static void OnPress(void* data, Evas_Object* obj, void* event_info);
    // OK in the popup was pressed, after a capture or an analysis: disables the button for good
    // once a capture has succeeded. data is the _appdata record.
    static void SetDisable(void* data, Evas_Object* obj, void* event_info);
    // The worker's body: copies, stores the result text and last clears the popup's running flag.
    static void m_CaptureLog();

private:
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    void m_SetText(_appdata* ad);

    Evas_Object* m_Box;

    // Set by the worker after a success, never reset. Needs no lock: the main loop reads it when OK
    // is pressed, which it can be only after the worker has cleared the running flag.
    static bool doCaptureLog;
};
