#ifndef QUORVEL_TESTS_FAKE_SERVICES_H_
#define QUORVEL_TESTS_FAKE_SERVICES_H_

#include <string>
#include <thread>
#include <vector>

// The set's two services of the tests: the resources of other applications and the log copy to USB
// storage.
class FakeServices {
public:
    // One call of getResourcePath.
    struct Lookup {
        std::string appId;
        std::string relativePath;
    };

    FakeServices() = delete;

    // Forgets all calls; resources lie where no file is, and a copy succeeds at once.
    static void Clear();

    // Where the resources of all applications lie from now on: the path of one is this folder, a
    // slash and its relative path. Main thread only, like the two below.
    static void SetResourceFolder(const std::string& folder);
    static std::string ResourceFolder();
    // Lets getResourcePath answer with null.
    static void SetNoResources();
    static std::vector<Lookup> Lookups();

    // What a log copy returns from now on. Any thread, like all below.
    static void SetCopyResult(int result);
    // Lets every log copy block until OpenGate.
    static void CloseGate();
    static void OpenGate();
    // How many log copies have begun, and whether one has not returned yet.
    static int CopiesBegun();
    static bool IsCopying();
    // The thread of the last log copy.
    static std::thread::id CopyThread();
};

#endif  // QUORVEL_TESTS_FAKE_SERVICES_H_
