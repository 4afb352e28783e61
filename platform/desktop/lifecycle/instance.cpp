#include "lifecycle/instance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "lifecycle/owner.h"
#include "log/log.h"

namespace quorvel::desktop {

namespace {

using std::chrono::milliseconds;

// Sends the request to the owner once. Returns no value when no owner answers yet and the
// deadline has not passed.
std::optional<Instance::Claim> HandOver(const std::string& folder, const KeyValues& request,
                                        Clock::time_point deadline) {
    pid_t owner = 0;
    const Reply reply = SendToOwner(folder, request, deadline, &owner);
    if (reply == Reply::kAccepted) {
        return Instance::Claim::kHandedOver;
    }
    if (reply == Reply::kNoOwner && Clock::now() < deadline) {
        return std::nullopt;
    }
    LogError(NameOfOwner(owner) + (reply == Reply::kRejected
                                       ? " rejects the launch request; see its log"
                                       : " does not answer; end that process and try again"));
    return Instance::Claim::kFailed;
}

}  // namespace

Instance::Instance(std::string folder, std::string files, std::string path)
    : m_Folder(std::move(folder)), m_Files(std::move(files)), m_Path(std::move(path)) {}

Instance::~Instance() {
    if (m_LockFile >= 0) {
        close(m_LockFile);
    }
}

std::optional<Instance::Claim> Instance::m_TryLock() {
    const std::string path = LockPath(m_Folder);
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) {
        m_LockFile = file;
        WriteOwner(m_Folder, {getpid(), m_Files, m_Path});
        return Claim::kOwner;
    }
    const int error = errno;
    if (file >= 0) {
        close(file);
    }
    if (error == EWOULDBLOCK || error == EINTR) {
        return std::nullopt;
    }
    LogError("cannot lock " + path + ": " + std::strerror(error));
    return Claim::kFailed;
}

bool Instance::m_OwnerShowsOtherFiles() const {
    const std::optional<Owner> owner = ReadOwner(m_Folder);
    if (!owner || owner->files == m_Files) {
        return false;
    }
    LogError(NameOfOwner(owner->process) +
             " shows other result files; close it first: quorvel EXEPARAM=CLOSE");
    return true;
}

Instance::Claim Instance::ClaimOrHandOver(const KeyValues& request, milliseconds timeout) {
    if (EncodeRequest(request).empty()) {
        LogError("launch request: longer than " + std::to_string(kMaxRequestBytes) +
                 " bytes; pass shorter values");
        return Claim::kFailed;
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;; std::this_thread::sleep_for(kRetryInterval)) {
        if (const auto claim = m_TryLock()) {
            return *claim;
        }
        if (request.empty() && m_OwnerShowsOtherFiles()) {
            return Claim::kFailed;
        }
        if (const auto claim = HandOver(m_Folder, request, deadline)) {
            return *claim;
        }
    }
}

}  // namespace quorvel::desktop
