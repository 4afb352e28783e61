#pragma once

#include <app.h>

class QELWindow;

// The application's answer to the platform's life-cycle events. Static members only; owns the one
// main window. All of it runs on the main-loop thread, with the _appdata record as data.
class QELApp {
public:
    QELApp() = delete;

    // Makes the window. False, which ends the application, without data or when the window cannot
    // be allocated; true when the window exists afterwards, also when it did before.
    static bool s_Create(void* data);
    // Tears the window down.
    static void s_Terminate(void* data);
    // Nothing but a log line.
    static void s_Pause(void* data);
    static void s_Resume(void* data);
    // One launch request: a close request tears the window down and ends the main loop, every other
    // one is counted and leaves the flag file.
    static void s_Control(app_control_h app_control, void* data);

private:
    static void m_DestroyWindow(void* data);

    static QELWindow* m_QelWindow;
};
