#pragma once

#include <app.h>

class QELWindow;

// Handles the platform's life-cycle events. Static members only. Owns the main window. Everything
// runs on the main-loop thread. data is the _appdata record.
class QELApp {
public:
    QELApp() = delete;

    // Creates the window, unless it exists. Returns true when the window exists afterwards. Returns
    // false, which ends the application, when data is null or the window cannot be allocated.
    static bool s_Create(void* data);
    // Destroys the window. Logs an error and does nothing when data is null.
    static void s_Terminate(void* data);
    // Each function logs one line.
    static void s_Pause(void* data);
    static void s_Resume(void* data);
    // Handles one launch request. A close request destroys the window and ends the main loop. Any
    // other request increments the launch counter and creates the flag file. Ignores the request
    // when data is null.
    static void s_Control(app_control_h app_control, void* data);

private:
    static void m_DestroyWindow(void* data);

    static QELWindow* m_QelWindow;
};
