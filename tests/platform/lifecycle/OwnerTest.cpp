#include "lifecycle/owner.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "lifecycle/protocol.h"
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
        std::string why;
        EXPECT_EQ(owner->ClaimOrHandOver({}, kLongTimeout, why), Instance::Claim::kOwner) << why;
        return owner;
    }

    PrivateFolders m_Folders;
    std::string m_Folder = m_Folders.Root() / "run";
    std::string m_Lock = m_Folder + "/lock";
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
    std::filesystem::resize_file(m_Lock, 0);
    const auto owner = FindOwner(m_Folder);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->process, 0);
    EXPECT_EQ(owner->files, "");
    EXPECT_EQ(owner->path, "");
}

TEST_F(OwnerTest, WaitsForEntryOfOwnerThatStarts) {
    const auto instance = Own();
    std::filesystem::resize_file(m_Lock, 0);
    std::thread starting([this] { std::ofstream(m_Lock) << getpid() << " files\n/a path"; });
    const auto owner = FindOwner(m_Folder);
    starting.join();
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->files, "files");
}

TEST_F(OwnerTest, ReportsMissingOwner) {
    EXPECT_FALSE(HandOver(m_Folder, {{"A", "1"}}, std::chrono::milliseconds(20)));
}

TEST_F(OwnerTest, RejectsTooLongRequest) {
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    const auto start = Clock::now();
    EXPECT_FALSE(HandOver(m_Folder, {{"A", std::string(kMaxRequestBytes, 'x')}}, kLongTimeout));
    EXPECT_LT(Clock::now() - start, kLongTimeout) << "waits for an answer";
}

TEST_F(OwnerTest, HandsOverToOwnerThatStarts) {
    std::string received;
    std::thread answering([this, &received] {
        const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
        const Socket client = server.Accept();
        received = client.Receive(kMaxMessageBytes);
        client.Send(std::string(1, kAcceptedAnswer));
    });
    EXPECT_TRUE(HandOver(m_Folder, {{"A", "1"}}, kLongTimeout));
    answering.join();
    EXPECT_EQ(received, EncodeRequest({{"A", "1"}}));
}

TEST_F(OwnerTest, ReportsRejectedRequest) {
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    std::thread answering([&server] {
        const Socket client = server.Accept();
        client.Receive(kMaxMessageBytes);
        client.Send(std::string(1, kRejectedAnswer));
    });
    EXPECT_FALSE(HandOver(m_Folder, {{"A", "1"}}, kLongTimeout));
    answering.join();
}

TEST_F(OwnerTest, WaitsUntilLockIsReleased) {
    auto instance = Own();
    EXPECT_FALSE(AwaitNoOwner(m_Folder, std::chrono::milliseconds(20)));
    std::thread ending([&instance] { instance.reset(); });
    EXPECT_TRUE(AwaitNoOwner(m_Folder, kLongTimeout));
    ending.join();
}

}  // namespace
}  // namespace quorvel::desktop
