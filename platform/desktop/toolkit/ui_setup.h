#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_

// What the set's platform does to the toolkit by itself and a PC has to be told: look, focus and
// keys. Called by the main loop only, in this order, on its thread.
namespace quorvel::desktop {

// Before the toolkit is initialised: its environment.
void PrepareToolkit();

// After the toolkit was initialised and before the application creates a widget: theme,
// configuration, key handlers. False when the program cannot run; the reason is logged.
bool StartUi();

// After the application's create callback returned true.
void FinishUi();

// Before the toolkit is shut down; also when StartUi returned false.
void StopUi();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_
