#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_

// Gives the toolkit the theme, focus and keys of the set. The main loop calls these functions in
// this order. Main-loop thread.
namespace quorvel::desktop {

// Sets the toolkit's environment variables. Call before the toolkit's initialisation.
void PrepareToolkit();

// Adds the theme, configures the toolkit and starts the input filter. Call after the toolkit's
// initialisation and before the application creates a widget. Returns false and logs the reason if
// the program cannot run.
bool StartUi();

// Sets up the widgets of the main window. No effect on a window without the application's widgets.
// Call after the application's create callback returned true.
void FinishUi();

// Undoes StartUi, also after StartUi returned false. Call before the toolkit's shutdown.
void StopUi();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_UI_SETUP_H_
