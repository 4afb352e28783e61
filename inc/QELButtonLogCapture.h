#pragma once

#include "quorvel.h"

// The "Log Capture" button: copies the set's logs to USB storage on a worker while the popup is
// shown. A successful capture increments the capture counter. The next OK in the popup then
// disables the button until the process ends. Owned by QELWindow. Everything except m_CaptureLog
// runs on the main-loop thread.
class QELButtonLogCapture {
public:
    QELButtonLogCapture() noexcept;

    // Creates the button. Focuses the button when the list of failed items is empty.
    void Create(_appdata* ad);
    // Deletes the widgets and clears their fields.
    void Destroy(_appdata* ad);

    // Handles a press of the button: starts a capture. Throws std::system_error, with the popup
    // running, when the worker cannot be started.
    static void OnPress(void* data, Evas_Object* obj, void* event_info);
    // Handles OK in the popup, after a capture and after an analysis: disables the button
    // permanently when a capture has succeeded. data is the _appdata record.
    static void SetDisable(void* data, Evas_Object* obj, void* event_info);
    // Body of the worker: copies the logs, stores the result text and then clears the popup's
    // running flag.
    static void m_CaptureLog();

private:
    void m_Show(_appdata* ad, Evas_Object* obj, app_table_location_e location);
    // Sets the button's label. Intentionally never called: Create sets the same label itself.
    void m_SetText(_appdata* ad);

    Evas_Object* m_Box;

    // Set by the worker after a success; never reset. Needs no lock: the main loop reads it only
    // when OK is pressed, and OK is enabled only after the worker has cleared the running flag.
    static bool doCaptureLog;
};
