#pragma once

#include <Ecore.h>

#include <atomic>
#include <mutex>
#include <string>

#include "quorvel.h"

// The modal progress popup. The workers report their completion to the popup.
//
// Protocol: the main loop calls Show, SetText and Start and starts a worker. The worker calls
// SetResultText and then SetRunningFlag(false). A timer on the main loop sees the flag cleared and
// calls Stop. The user presses OK, which hides the popup.
//
// A singleton that lives until the process ends. The widgets, the timer and every call except
// SetResultText, SetRunningFlag, GetRunningFlag and GetInstance belong to the main-loop thread. The
// mutex guards the running flag and the whole of Start and Stop. The mutex also orders the accesses
// to the result text: the worker writes the text before it clears the flag, and Stop reads the text
// afterwards.
//
// Show, Hide, Start and Stop log an error and do nothing when a widget that they need is missing.
class QELPopupLoading {
public:
    QELPopupLoading(const QELPopupLoading&) = delete;
    QELPopupLoading& operator=(const QELPopupLoading&) = delete;

    // Returns the popup, created by the first call; null when it cannot be allocated. The first
    // call comes from the main-loop thread.
    static QELPopupLoading* GetInstance();

    // Creates the widgets, hidden, in the window of ad. Keeps ad but does not own it.
    void Create(_appdata* ad);
    // Stops the popup and deletes its widgets. The program never calls it.
    void Destroy();
    // Shows the popup and packs its widgets.
    void Show();
    // Hides all widgets. The program never calls it.
    void Hide();
    // Sets the title, which is markup, and the content, which is shown literally. Logs an error for
    // each text whose widget is missing.
    void SetText(const std::string& title, const std::string& content);
    // Sets the running flag, starts the pulse and the poll timer, and disables OK. When the timer
    // already exists, logs an error, adds no timer and leaves OK unchanged.
    void Start();
    // Deletes the timer, stops the pulse, shows the result text, and enables and focuses OK.
    static void Stop();

    // Stores the text that Stop shows; the text is never cleared. Called by the worker before it
    // clears the running flag.
    static void SetResultText(const std::string& text);
    // Set and return the running flag. Any thread. Block while another thread runs Start or Stop.
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
    // Guarded by the mutex. Atomic only because one log line of m_CheckRunning reads the flag
    // without the mutex.
    static std::atomic<bool> m_IsRunning;
    // Recursive, because Start calls SetRunningFlag while it holds the mutex.
    static std::recursive_mutex m_MutexForRunningFlag;
    // Refers to a string that is never destroyed, because a detached worker may still write the
    // text after main has returned.
    static std::string& m_ResultText;
};
