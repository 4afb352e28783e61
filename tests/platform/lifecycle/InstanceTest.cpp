// Who is the one, and how the others hand over, against owners that answer, refuse, go away or keep
// silent.

#include "lifecycle/instance.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "lifecycle/protocol.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Socket.h"

using quorvel::desktop::EncodeRequest;
using quorvel::desktop::Instance;
using quorvel::desktop::kAccepted;
using quorvel::desktop::KeyValues;
using quorvel::desktop::kMaxMessageBytes;
using quorvel::desktop::kMaxRequestBytes;
using quorvel::desktop::kRejected;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

namespace {

// Enough for an owner that answers, and short enough to wait for one that does not.
constexpr std::chrono::milliseconds kPatient{20000};
constexpr std::chrono::milliseconds kImpatient{200};

class InstanceTest : public testing::Test {
protected:
    Instance::Claim Claim(std::chrono::milliseconds patience) {
        return Instance(m_Folder, "files").ClaimOrHandOver(m_Request, patience);
    }

    // Does as the owner does for one sender; what that one sent.
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
    LoggedLines m_Log;
};

TEST_F(InstanceTest, FirstIsTheOwnerUntilItGoes) {
    auto first = std::make_unique<Instance>(m_Folder, "files");
    EXPECT_EQ(first->ClaimOrHandOver(m_Request, kImpatient), Instance::Claim::kOwner);
    EXPECT_EQ(Claim(kImpatient), Instance::Claim::kFailed);
    first.reset();
    EXPECT_EQ(Claim(kImpatient), Instance::Claim::kOwner);
}

TEST_F(InstanceTest, WhatADeadOwnerLeftDoesNotMatter) {
    std::ofstream(m_Folder + "/lock") << "123";
    Socket::ListenAsOwner(m_Socket);
    EXPECT_EQ(Claim(kImpatient), Instance::Claim::kOwner);
}

TEST_F(InstanceTest, RequestReachesTheOwner) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    std::string received;
    std::thread answering([&] { received = Answer(server, kAccepted); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kHandedOver);
    answering.join();
    EXPECT_EQ(received, EncodeRequest(m_Request));
}

TEST_F(InstanceTest, OwnerThatShowsOtherFilesIsTold) {
    Instance owner(m_Folder, "other files");
    owner.ClaimOrHandOver({}, kImpatient);
    m_Request.clear();
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kFailed);
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("the running quorvel (process " + std::to_string(getpid()) +
                            ") shows other result files; close it first: quorvel "
                            "EXEPARAM=CLOSE"));
}

TEST_F(InstanceTest, EmptyRequestReachesAnOwnerOfTheSameFiles) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    m_Request.clear();
    std::thread answering([&] { Answer(server, kAccepted); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kHandedOver);
    answering.join();
}

TEST_F(InstanceTest, RequestReachesAnOwnerOfOtherFiles) {
    Instance owner(m_Folder, "other files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    std::thread answering([&] { Answer(server, kAccepted); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kHandedOver);
    answering.join();
}

// Its successor has the lock already, and will write down its own files in a moment.
TEST_F(InstanceTest, FilesOfADeadOwnerDoNotMatter) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const pid_t dead = fork();
    if (dead == 0) {
        _exit(0);
    }
    ASSERT_EQ(waitpid(dead, nullptr, 0), dead);
    std::ofstream(m_Folder + "/lock") << dead << " other files";
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    m_Request.clear();
    std::thread answering([&] { Answer(server, kAccepted); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kHandedOver);
    answering.join();
}

TEST_F(InstanceTest, RefusalIsToldAtOnce) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    std::thread answering([&] { Answer(server, kRejected); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kFailed);
    answering.join();
    EXPECT_THAT(m_Log.Messages(), ElementsAre(EndsWith("rejects the launch request; see its log")));
}

TEST_F(InstanceTest, SilentOwnerIsNotWaitedForEver) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Claim(kImpatient), Instance::Claim::kFailed);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kImpatient);
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("the running quorvel (process " + std::to_string(getpid()) +
                            ") does not answer; end that process and try again"));
}

TEST_F(InstanceTest, OwnerThatDoesNotListenYetIsWaitedFor) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    Instance::Claim claim = Instance::Claim::kFailed;
    std::thread second([&] { claim = Claim(kPatient); });
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    Answer(server, kAccepted);
    second.join();
    EXPECT_EQ(claim, Instance::Claim::kHandedOver);
}

TEST_F(InstanceTest, OwnerThatGoesWithoutAnAnswerIsSucceeded) {
    auto owner = std::make_unique<Instance>(m_Folder, "files");
    owner->ClaimOrHandOver({}, kImpatient);
    auto server = std::make_unique<Socket>(Socket::ListenAsOwner(owner->SocketPath()));
    std::thread ending([&] {
        server->Accept().Receive(1000);
        server.reset();
        owner.reset();
    });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kOwner);
    ending.join();
}

TEST_F(InstanceTest, HandsOverLongestRequest) {
    Instance owner(m_Folder, "files");
    owner.ClaimOrHandOver({}, kImpatient);
    const Socket server = Socket::ListenAsOwner(owner.SocketPath());
    m_Request["A"] = std::string(kMaxRequestBytes - 3, 'x');
    std::string received;
    std::thread answering([&] { received = Answer(server, kAccepted); });
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kHandedOver);
    answering.join();
    EXPECT_EQ(received, EncodeRequest(m_Request));
}

TEST_F(InstanceTest, RequestThatIsTooLongIsTold) {
    m_Request["A"] = std::string(kMaxRequestBytes, 'x');
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kFailed);
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("launch request: longer than 65536 bytes; pass shorter values"));
}

TEST_F(InstanceTest, FolderWithoutAccessIsTold) {
    m_Folder = "/dev/null";
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kFailed);
    EXPECT_THAT(m_Log.Messages(), ElementsAre(StartsWith("cannot lock /dev/null/lock")));
}

TEST_F(InstanceTest, LockIsNotFollowedThroughALink) {
    std::filesystem::create_symlink(m_Folders.Root() / "elsewhere", m_Folder + "/lock");
    EXPECT_EQ(Claim(kPatient), Instance::Claim::kFailed);
    EXPECT_FALSE(std::filesystem::exists(m_Folders.Root() / "elsewhere"));
}

}  // namespace
