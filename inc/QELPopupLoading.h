#pragma once

#include <Ecore.h>

#include <atomic>
#include <mutex>
#include <string>

#include "quorvel.h"

// The one modal progress popup, through which worker threads report that they are done.
//
// The protocol: the main loop calls Show, SetText and Start, and starts a detached worker. The
// worker calls SetResultText and last SetRunningFlag(false). A timer on the main loop sees the flag
// cleared, calls Stop, and the user confirms with OK, which hides the popup.
//
// A singleton that lives until the process ends. The widgets, the timer and every call but
// SetResultText, SetRunningFlag, GetRunningFlag and GetInstance belong to the main-loop thread. The
// mutex guards the running flag and the whole of Start and Stop; the result text is published to
// the main loop by clearing the flag under it.
class QELPopupLoading {
public:
    QELPopupLoading(const QELPopupLoading&) = delete;
    QELPopupLoading& operator=(const QELPopupLoading&) = delete;

    // The one popup, made on first use; null when it cannot be allocated. The main-loop thread is
    // the first to ask; workers get the popup that exists.
    static QELPopupLoading* GetInstance();

    // Builds the widgets, hidden, in the window of ad, which is kept but not owned.
    void Create(_appdata* ad);
    // Stops and deletes all widgets; nothing calls it while the program runs.
    void Destroy();
    // Shows and lays out the popup; an error line and nothing else when a widget is missing.
    void Show();
    // Hides all widgets; nothing calls it while the program runs.
    void Hide();
    // The title, taken as markup, and the content, shown literally.
    void SetText(const std::string& title, const std::string& content);
    // Enters the running state: flag set, progress pulsing, OK disabled, poll timer started.
    void Start();
    // Leaves the running state: timer gone, progress still, result text shown, OK enabled and
    // focused.
    static void Stop();

    // The text that Stop shows; never cleared. Worker thread, before it clears the running flag.
    static void SetResultText(const std::string& text);
    // Any thread; waits while Start or Stop runs.
    static void SetRunningFlag(bool running);
    static bool GetRunningFlag();

private:
    QELPopupLoading();

    const char* m_FindMissingWidget() const;
    void m_Show(Evas_Object* obj, app_popup_location_e location);
    void m_SetTitleText(const std::string& title);
    static void m_SetContentText(const std::string& text);
    static Eina_Bool m_CheckRunning(void* data);
    static void OnOkPress(void* data, Evas_Object* obj, void* event_info);

    Evas_Object* m_PopupTable;
    _appdata* m_AppData;

    static QELPopupLoading* m_QELPopupLoading;
    static Evas_Object* m_Popup;
    static Evas_Object* m_PopupLabel;
    static Evas_Object* m_PopupProgress;
    static Evas_Object* m_Button;
    static Ecore_Timer* m_Timer;
    // Written and read under the mutex, but for one log line of the poll that reads it without;
    // atomic for that line's sake alone.
    static std::atomic<bool> m_IsRunning;
    // Recursive, because Start sets the flag while it holds it.
    static std::recursive_mutex m_MutexForRunningFlag;
    // Refers to a string that is never destroyed: a detached worker may outlive the end of main.
    static std::string& m_ResultText;
};
