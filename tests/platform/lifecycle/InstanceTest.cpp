#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "lifecycle/owner.h"
#include "lifecycle/protocol.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Socket.h"

using quorvel::desktop::EncodeRequest;
using quorvel::desktop::Instance;
using quorvel::desktop::kAcceptedAnswer;
using quorvel::desktop::KeyValues;
using quorvel::desktop::kMaxMessageBytes;
using quorvel::desktop::kMaxRequestBytes;
using quorvel::desktop::kRejectedAnswer;
using quorvel::desktop::SocketPath;
using testing::EndsWith;
using testing::StartsWith;

namespace {

// The timeout for an owner that answers.
constexpr std::chrono::milliseconds kLongTimeout{20000};
// The timeout for an owner that does not answer.
constexpr std::chrono::milliseconds kShortTimeout{200};

class InstanceTest : public testing::Test {
protected:
    Instance::Claim Claim(std::chrono::milliseconds timeout) {
        return Instance(m_Folder, "files").ClaimOrHandOver(m_Request, timeout, m_Why);
    }

    // Accepts one sender and sends the answer. Returns the message of the sender.
    static std::string Answer(const Socket& server, char answer) {
        const Socket client = server.Accept();
        std::string received = client.Receive(kMaxMessageBytes);
        client.Send(std::string(1, answer));
        return received;
    }

    PrivateFolders m_Folders;
    std::string m_Folder = m_Folders.Root() / "run";
    std::string m_Socket = m_Folders.Root() / "run/socket";
    KeyValues m_Request{{"A", "1"}};
    std::string m_Why;
};

TEST_F(InstanceTest, BecomesOwnerUntilDestroyed) {
    auto first = std::make_unique<Instance>(m_Folder, "files");
    EXPECT_EQ(first->ClaimOrHandOver(m_Request, kShortTimeout, m_Why), Instance::Claim::kOwner);
    EXPECT_EQ(Claim(kShortTimeout), Instance::Claim::kFailed);
    first.reset();
    EXPECT_EQ(Claim(kShortTimeout), Instance::Claim::kOwner);
}

TEST_F(InstanceTest, IgnoresLockAndSocketOfEndedOwner) {
    std::ofstream(m_Folder + "/lock") << "123";
    Socket::ListenAsOwner(m_Socket);
    EXPECT_EQ(Claim(kShortTimeout), Instance::Claim::kOwner);
}

TEST_F(InstanceTest, HandsOverRequestToOwner) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    std::string received;
    std::thread answering([&] { received = Answer(server, kAcceptedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kHandedOver);
    answering.join();
    EXPECT_EQ(received, EncodeRequest(m_Request));
}

TEST_F(InstanceTest, ReportsOwnerOfOtherFiles) {
    Instance owner(m_Folder, "other files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    m_Request.clear();
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kFailed);
    EXPECT_EQ(m_Why, "the running quorvel (process " + std::to_string(getpid()) +
                         ") shows other result files; close it first: quorvel EXEPARAM=CLOSE");
}

TEST_F(InstanceTest, HandsOverEmptyRequestToOwnerOfSameFiles) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    m_Request.clear();
    std::thread answering([&] { Answer(server, kAcceptedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kHandedOver);
    answering.join();
}

TEST_F(InstanceTest, HandsOverRequestToOwnerOfOtherFiles) {
    Instance owner(m_Folder, "other files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    std::thread answering([&] { Answer(server, kAcceptedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kHandedOver);
    answering.join();
}

// The next owner already holds the lock, but the lock file still names the files of the ended
// owner.
TEST_F(InstanceTest, IgnoresResultFilesOfEndedOwner) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const pid_t dead = fork();
    if (dead == 0) {
        _exit(0);
    }
    ASSERT_EQ(waitpid(dead, nullptr, 0), dead);
    std::ofstream(m_Folder + "/lock") << dead << " other files";
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    m_Request.clear();
    std::thread answering([&] { Answer(server, kAcceptedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kHandedOver);
    answering.join();
}

TEST_F(InstanceTest, ReportsRejectedRequest) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    std::thread answering([&] { Answer(server, kRejectedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kFailed);
    answering.join();
    EXPECT_THAT(m_Why, EndsWith("rejects the launch request; see its log"));
}

TEST_F(InstanceTest, ReportsOwnerThatDoesNotAnswer) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Claim(kShortTimeout), Instance::Claim::kFailed);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShortTimeout);
    EXPECT_EQ(m_Why, "the running quorvel (process " + std::to_string(getpid()) +
                         ") does not answer; end that process and try again");
}

TEST_F(InstanceTest, WaitsUntilOwnerListens) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    Instance::Claim claim = Instance::Claim::kFailed;
    std::thread second([&] { claim = Claim(kLongTimeout); });
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    Answer(server, kAcceptedAnswer);
    second.join();
    EXPECT_EQ(claim, Instance::Claim::kHandedOver);
}

TEST_F(InstanceTest, ReplacesOwnerThatEndsWithoutAnswer) {
    auto owner = std::make_unique<Instance>(m_Folder, "files");
    owner->ClaimOrHandOver({}, kShortTimeout, m_Why);
    auto server = std::make_unique<Socket>(Socket::ListenAsOwner(SocketPath(m_Folder)));
    std::thread ending([&] {
        server->Accept().Receive(1000);
        server.reset();
        owner.reset();
    });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kOwner);
    ending.join();
}

TEST_F(InstanceTest, HandsOverLongestRequest) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kShortTimeout, m_Why);
    const Socket server = Socket::ListenAsOwner(SocketPath(m_Folder));
    m_Request["A"] = std::string(kMaxRequestBytes - 3, 'x');
    std::string received;
    std::thread answering([&] { received = Answer(server, kAcceptedAnswer); });
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kHandedOver);
    answering.join();
    EXPECT_EQ(received, EncodeRequest(m_Request));
}

TEST_F(InstanceTest, RejectsTooLongRequest) {
    m_Request["A"] = std::string(kMaxRequestBytes, 'x');
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kFailed);
    EXPECT_EQ(m_Why, "launch request: longer than 65536 bytes; pass shorter values");
}

TEST_F(InstanceTest, ReportsInaccessibleFolder) {
    m_Folder = "/dev/null";
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kFailed);
    EXPECT_THAT(m_Why, StartsWith("cannot lock /dev/null/lock"));
}

TEST_F(InstanceTest, RejectsSymbolicLinkAsLock) {
    std::filesystem::create_symlink(m_Folders.Root() / "elsewhere", m_Folder + "/lock");
    EXPECT_EQ(Claim(kLongTimeout), Instance::Claim::kFailed);
    EXPECT_FALSE(std::filesystem::exists(m_Folders.Root() / "elsewhere"));
}

}  // namespace
