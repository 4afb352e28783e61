#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_POINTER_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_POINTER_H_

#include <Evas.h>

// The set has no pointer: a mouse or a touch screen must not press, unselect or focus what its
// remote control could not. Main-loop thread.
namespace quorvel::desktop {

// From now on the toolkit hears of no buttons, wheels or movements. Between the toolkit's
// initialisation and its shutdown.
void StopPointer();
void RestorePointer();

// The pointer is not seen over the window.
void HidePointer(Evas_Object* window);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_POINTER_H_
