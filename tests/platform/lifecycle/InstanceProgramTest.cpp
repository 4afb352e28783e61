// Tests the owner and further programs as processes.

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "lifecycle/owner.h"
#include "lifecycle/protocol.h"
#include "platform/fixtures/RecordedApp.h"
#include "platform/fixtures/Socket.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class InstanceProgramTest : public RecordedApp {
protected:
    std::unique_ptr<ChildProgram> StartOwner() const {
        auto owner = Start();
        EXPECT_TRUE(AwaitEvent("control "));
        return owner;
    }
};

TEST_F(InstanceProgramTest, HandsOverRequestOfSecondProgram) {
    const auto owner = StartOwner();
    const auto second = Start({"NAME=second"});
    EXPECT_EQ(second->Exit(), 0);
    EXPECT_THAT(Events(*owner), ElementsAre("create", "control ", "control second"));
    EXPECT_THAT(Events(*second), ElementsAre("exit"));
}

TEST_F(InstanceProgramTest, ClosesOwnerOnCloseRequest) {
    const auto owner = StartOwner();
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    EXPECT_EQ(owner->Exit(), 0);
    EXPECT_THAT(Events(*owner),
                ElementsAre("create", "control ", "control CLOSE", "terminate", "exit"));
}

TEST_F(InstanceProgramTest, WaitsUntilControlReturns) {
    const auto owner = StartOwner();
    const auto second = Start({"EXEPARAM=WAIT"});
    ASSERT_TRUE(AwaitEvent("control WAIT"));
    EXPECT_FALSE(Await([this] { return Count("exit") > 0; }, std::chrono::milliseconds(300)));
    owner->Proceed();
    EXPECT_EQ(second->Exit(), 0);
}

// The owner reads both requests in the same iteration of its main loop.
TEST_F(InstanceProgramTest, DeliversNothingAfterCloseRequest) {
    const auto owner = StartOwner();
    const Socket first = Socket::Connect(m_Folders.Socket());
    const Socket second = Socket::Connect(m_Folders.Socket());
    // The owner accepts connections in order. After this request, the owner has accepted both
    // senders.
    EXPECT_EQ(Run({"NAME=third"}), 0);
    owner->Stop();
    for (const Socket* sender : {&first, &second}) {
        sender->Send(quorvel::desktop::EncodeRequest({{"EXEPARAM", "CLOSE"}}));
    }
    owner->Signal(SIGCONT);
    EXPECT_EQ(owner->Exit(), 0);
    EXPECT_THAT(Events(*owner), ElementsAre("create", "control ", "control third", "control CLOSE",
                                            "terminate", "exit"));
    EXPECT_EQ((first.Receive() + second.Receive()).size(), 1U) << "one answer expected";
}

TEST_F(InstanceProgramTest, HandsOverWithoutDisplay) {
    const auto owner = StartOwner();
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}, {{"ELM_DISPLAY", ""}}), 0);
    EXPECT_EQ(owner->Exit(), 0);
}

TEST_F(InstanceProgramTest, HandsOverWithoutSessionFolder) {
    const Environment noSession{{"XDG_RUNTIME_DIR", m_Folders.Root() / "missing"}};
    const auto owner = Start({}, noSession);
    ASSERT_TRUE(AwaitEvent("control "));
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}, noSession), 0);
    EXPECT_EQ(owner->Exit(), 0);
}

TEST_F(InstanceProgramTest, RejectsFolderOpenToOthers) {
    const std::string folder = m_Folders.Root() / "tmp" / ("quorvel-" + std::to_string(geteuid()));
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    const auto app = Start({}, {{"XDG_RUNTIME_DIR", m_Folders.Root() / "missing"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre(folder + ": not a private folder of this user; remove it "
                                                   "or set XDG_RUNTIME_DIR"));
}

TEST_F(InstanceProgramTest, DeliversRequestsOfTenProgramsToOneOwner) {
    std::vector<std::unique_ptr<ChildProgram>> programs(10);
    for (auto& program : programs) {
        program = Start({"NAME=request"});
    }
    ASSERT_TRUE(AwaitEvent("control request", 10));
    ASSERT_TRUE(AwaitEvent("exit", 9));
    EXPECT_EQ(Count("create"), 1);
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    for (const auto& program : programs) {
        EXPECT_EQ(program->Exit(), 0);
        EXPECT_THAT(Errors(*program), IsEmpty());
        const std::vector<Event> events = Events(*program);
        EXPECT_THAT(events, testing::AnyOf(SizeIs(1), SizeIs(1 + 10 + 3)));
    }
    EXPECT_EQ(Count("create"), 1);
    EXPECT_EQ(Count("control request"), 10);
}

// A sender without an answer becomes the next owner and receives the requests of other senders.
TEST_F(InstanceProgramTest, KeepsRequestsWhenOwnerShutsDown) {
    const auto owner = StartOwner();
    std::vector<std::unique_ptr<ChildProgram>> programs(8);
    for (auto& program : programs) {
        program = Start({&program == &programs[3] ? "EXEPARAM=CLOSE" : "NAME=request"});
    }
    ASSERT_TRUE(AwaitEvent("control request", 7));
    EXPECT_EQ(owner->Exit(), 0);
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    for (const auto& program : programs) {
        EXPECT_EQ(program->Exit(), 0);
    }
    EXPECT_EQ(Count("control request"), 7);
    EXPECT_EQ(Count("create"), Count("terminate"));
}

TEST_F(InstanceProgramTest, ReplacesKilledOwner) {
    const auto killed = StartOwner();
    killed->Signal(SIGKILL);
    EXPECT_EQ(killed->Exit(), -SIGKILL);
    ASSERT_TRUE(std::filesystem::exists(m_Folders.Socket()));
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    EXPECT_EQ(Count("create"), 2);
}

TEST_F(InstanceProgramTest, ReportsStoppedOwnerAfterTenSeconds) {
    const auto owner = StartOwner();
    owner->Stop();
    const auto start = std::chrono::steady_clock::now();
    const auto second = Start({"NAME=second"});
    EXPECT_EQ(second->Exit(), 1);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(10));
    EXPECT_LT(taken, std::chrono::seconds(10) + kSpareTime);
    EXPECT_THAT(Errors(*second),
                ElementsAre("the running quorvel (process " + std::to_string(owner->Id()) +
                            ") does not answer; end that process and try again"));
    owner->Signal(SIGCONT);
}

TEST_F(InstanceProgramTest, KeepsRunningAfterInvalidMessages) {
    const auto owner = StartOwner();
    Socket::Connect(m_Folders.Socket()).Send("no request");
    Socket::Connect(m_Folders.Socket()).Send("quorvel2" + std::string(100000, 'x'));
    Socket::Connect(m_Folders.Socket());
    ASSERT_TRUE(Await([&] { return Errors(*owner).size() == 3; }));
    EXPECT_THAT(Errors(*owner), ElementsAre("launch request rejected: invalid message",
                                            "launch request rejected: invalid message",
                                            "launch request rejected: the sender exited early"));
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    EXPECT_EQ(owner->Exit(), 0);
}

}  // namespace
