#ifndef QUORVEL_TESTS_FAKE_SERVICES_H_
#define QUORVEL_TESTS_FAKE_SERVICES_H_

#include <string>
#include <thread>
#include <vector>

// A fake of the set's two services: the resources of other applications and the log copy to USB
// storage.
class FakeServices {
public:
    // One call of getResourcePath.
    struct Lookup {
        std::string appId;
        std::string relativePath;
    };

    FakeServices() = delete;

    // Deletes the recorded calls and restores the defaults: no resource exists, and a log copy
    // succeeds at once.
    static void Clear();

    // Sets the folder of the resources of all applications. A resource path is this folder, a slash
    // and the relative path. Call the functions of this group on the main thread only.
    static void SetResourceFolder(const std::string& folder);
    static std::string ResourceFolder();
    // Makes getResourcePath return null.
    static void SetNoResources();
    static std::vector<Lookup> Lookups();

    // Sets the result of a log copy. The functions of this group work on any thread.
    static void SetCopyResult(int result);
    // Makes every log copy block until OpenGate.
    static void CloseGate();
    static void OpenGate();
    // Return the number of started log copies, and whether a log copy is running.
    static int CopiesBegun();
    static bool IsCopying();
    // Returns the thread of the last log copy.
    static std::thread::id CopyThread();
};

#endif  // QUORVEL_TESTS_FAKE_SERVICES_H_
