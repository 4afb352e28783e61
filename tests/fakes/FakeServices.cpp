#include "fakes/FakeServices.h"

#include <tv_services.h>

#include <condition_variable>
#include <cstring>
#include <mutex>

namespace {

const char* const kNoFolder = "/nonexistent/resources";

struct ResourceState {
    std::string folder = kNoFolder;
    bool exist = true;
    std::vector<FakeServices::Lookup> lookups;
};

struct CopyState {
    std::mutex mutex;
    std::condition_variable opened;
    bool gateClosed = false;
    int result = 0;
    int begun = 0;
    int running = 0;
    std::thread::id thread;
};

ResourceState& Resources() {
    static ResourceState resources;
    return resources;
}

// The state is never destroyed, because a detached worker can still use it while the process ends.
CopyState& Copying() {
    static auto* copying = new CopyState;
    return *copying;
}

using Lock = std::unique_lock<std::mutex>;

}  // namespace

void FakeServices::Clear() {
    Resources() = ResourceState();
    OpenGate();
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    copying.result = 0;
    copying.begun = 0;
    copying.thread = std::thread::id();
}

void FakeServices::SetResourceFolder(const std::string& folder) {
    Resources().folder = folder;
}

std::string FakeServices::ResourceFolder() {
    return Resources().folder;
}

void FakeServices::SetNoResources() {
    Resources().exist = false;
}

std::vector<FakeServices::Lookup> FakeServices::Lookups() {
    return Resources().lookups;
}

void FakeServices::SetCopyResult(int result) {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    copying.result = result;
}

void FakeServices::CloseGate() {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    copying.gateClosed = true;
}

void FakeServices::OpenGate() {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    copying.gateClosed = false;
    copying.opened.notify_all();
}

int FakeServices::CopiesBegun() {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.begun;
}

bool FakeServices::IsCopying() {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.running > 0;
}

std::thread::id FakeServices::CopyThread() {
    CopyState& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.thread;
}

char* getResourcePath(const char* appId, const char* relativePath) {
    ResourceState& resources = Resources();
    resources.lookups.push_back({appId, relativePath});
    return resources.exist ? strdup((resources.folder + "/" + relativePath).c_str()) : nullptr;
}

int automation_copy_log_to_usb(void) {
    CopyState& copying = Copying();
    Lock lock(copying.mutex);
    ++copying.begun;
    ++copying.running;
    copying.thread = std::this_thread::get_id();
    copying.opened.wait(lock, [&copying] { return !copying.gateClosed; });
    --copying.running;
    return copying.result;
}
