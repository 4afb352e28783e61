#include "lifecycle/owner.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "lifecycle/instance.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Socket.h"

namespace quorvel::desktop {
namespace {

// The timeout for a condition that is expected to become true.
constexpr std::chrono::milliseconds kLongTimeout{20000};

class OwnerTest : public testing::Test {
protected:
    std::unique_ptr<Instance> Own() const {
        auto owner = std::make_unique<Instance>(m_Folder, "some files", "/a path");
        EXPECT_EQ(owner->ClaimOrHandOver({}, kLongTimeout), Instance::Claim::kOwner);
        return owner;
    }

    PrivateFolders m_Folders;
    std::string m_Folder = m_Folders.Root() / "run";
};

TEST_F(OwnerTest, ReturnsOwnerWhileOwnerHoldsLock) {
    EXPECT_FALSE(FindOwner(m_Folder));
    auto instance = Own();
    const auto owner = FindOwner(m_Folder);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->process, getpid());
    EXPECT_EQ(owner->files, "some files");
    EXPECT_EQ(owner->path, "/a path");
    instance.reset();
    EXPECT_FALSE(FindOwner(m_Folder));
}

// A full disk leaves the lock file of the owner empty.
TEST_F(OwnerTest, ReturnsOwnerWithoutEntry) {
    const auto instance = Own();
    std::filesystem::resize_file(LockPath(m_Folder), 0);
    const auto owner = FindOwner(m_Folder);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->process, 0);
    EXPECT_EQ(owner->files, "");
    EXPECT_EQ(owner->path, "");
}

TEST_F(OwnerTest, WaitsForEntryOfOwnerThatStarts) {
    const auto instance = Own();
    std::filesystem::resize_file(LockPath(m_Folder), 0);
    std::thread starting([this] { WriteOwner(m_Folder, {getpid(), "files", "/a path"}); });
    const auto owner = FindOwner(m_Folder);
    starting.join();
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->files, "files");
}

TEST_F(OwnerTest, ReportsMissingOwner) {
    pid_t process = -1;
    EXPECT_EQ(SendToOwner(m_Folder, {}, Clock::now() + kLongTimeout, &process), Reply::kNoOwner);
    EXPECT_EQ(process, 0);
}

TEST_F(OwnerTest, ReturnsAnswerAndProcess) {
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    std::thread answering([&server] {
        const Socket client = server.Accept();
        client.Receive(kMaxMessageBytes);
        client.Send(std::string(1, kAcceptedAnswer));
    });
    pid_t process = 0;
    EXPECT_EQ(SendToOwner(m_Folder, {{"A", "1"}}, Clock::now() + kLongTimeout, &process),
              Reply::kAccepted);
    answering.join();
    EXPECT_EQ(process, getpid());
}

TEST_F(OwnerTest, WaitsUntilLockIsReleased) {
    auto instance = Own();
    EXPECT_FALSE(AwaitNoOwner(m_Folder, std::chrono::milliseconds(20)));
    std::thread ending([&instance] { instance.reset(); });
    EXPECT_TRUE(AwaitNoOwner(m_Folder, kLongTimeout));
    ending.join();
}

TEST(OwnerSocketTest, KeepsZeroByteAfterLongPath) {
    const sockaddr_un address = SocketAddress(std::string(200, 'x'));
    EXPECT_EQ(address.sun_family, AF_UNIX);
    EXPECT_EQ(address.sun_path, std::string(sizeof(address.sun_path) - 1, 'x'));
}

TEST(OwnerSocketTest, ReturnsPeerOfConnection) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const ucred peer = PeerCredentials(ends[0]);
    EXPECT_EQ(peer.pid, getpid());
    EXPECT_EQ(peer.uid, geteuid());
    close(ends[0]);
    close(ends[1]);
}

TEST(OwnerSocketTest, ReturnsNoPeerWithoutConnection) {
    EXPECT_EQ(PeerCredentials(-1).pid, 0);
    EXPECT_EQ(PeerCredentials(-1).uid, static_cast<uid_t>(-1));
}

}  // namespace
}  // namespace quorvel::desktop
