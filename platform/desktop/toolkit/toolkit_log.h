#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TOOLKIT_LOG_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TOOLKIT_LOG_H_

// The messages of the toolkit. Main-loop thread.
namespace quorvel::desktop {

// Logs the toolkit's messages as error lines of the port. Leaves out the messages about calls of
// the application that are known to have no effect. Call after the toolkit's initialisation.
void StartToolkitLog();

// Makes the toolkit print its messages to the terminal again. Call before the toolkit's shutdown.
void StopToolkitLog();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_TOOLKIT_LOG_H_
