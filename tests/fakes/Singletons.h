#ifndef QUORVEL_TESTS_SINGLETONS_H_
#define QUORVEL_TESTS_SINGLETONS_H_

// Brings the application's singletons back to the state of a process that has just started. In the
// program they live until it ends; the tests may share one process.
namespace singletons {

// Destroys the result store and the analysis store.
void ResetStores();
// Forgets the popup with its flag and result text. Its widgets have to be destroyed before.
void ResetPopup();

}  // namespace singletons

#endif  // QUORVEL_TESTS_SINGLETONS_H_
