#include "fakes/FakeServices.h"

#include <tv_services.h>

#include <condition_variable>
#include <cstring>
#include <mutex>

namespace {

const char* const NO_FOLDER = "/nonexistent/resources";

struct Resources_s {
    std::string folder = NO_FOLDER;
    bool exist = true;
    std::vector<FakeServices::Lookup> lookups;
};

struct Copying_s {
    std::mutex mutex;
    std::condition_variable opened;
    bool gateClosed = false;
    int result = 0;
    int begun = 0;
    int running = 0;
    std::thread::id thread;
};

Resources_s& Resources() {
    static Resources_s resources;
    return resources;
}

// Never destroyed: a detached worker may still be in it while the process ends.
Copying_s& Copying() {
    static auto* copying = new Copying_s;
    return *copying;
}

using Lock = std::unique_lock<std::mutex>;

}  // namespace

void FakeServices::Clear() {
    Resources() = Resources_s();
    OpenGate();
    Copying_s& copying = Copying();
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
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    copying.result = result;
}

void FakeServices::CloseGate() {
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    copying.gateClosed = true;
}

void FakeServices::OpenGate() {
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    copying.gateClosed = false;
    copying.opened.notify_all();
}

int FakeServices::CopiesBegun() {
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.begun;
}

bool FakeServices::IsCopying() {
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.running > 0;
}

std::thread::id FakeServices::CopyThread() {
    Copying_s& copying = Copying();
    const Lock lock(copying.mutex);
    return copying.thread;
}

char* getResourcePath(const char* appId, const char* relativePath) {
    Resources_s& resources = Resources();
    resources.lookups.push_back({appId, relativePath});
    return resources.exist ? strdup((resources.folder + "/" + relativePath).c_str()) : nullptr;
}

int automation_copy_log_to_usb(void) {
    Copying_s& copying = Copying();
    Lock lock(copying.mutex);
    ++copying.begun;
    ++copying.running;
    copying.thread = std::this_thread::get_id();
    copying.opened.wait(lock, [&copying] { return !copying.gateClosed; });
    --copying.running;
    return copying.result;
}
