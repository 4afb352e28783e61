#include "lifecycle/request_server.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/protocol.h"
#include "platform/fakes/FailingCalls.h"
#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Socket.h"

using quorvel::desktop::EncodeRequest;
using quorvel::desktop::kAcceptedAnswer;
using quorvel::desktop::KeyValues;
using quorvel::desktop::kMaxMessageBytes;
using quorvel::desktop::kMaxRequestBytes;
using quorvel::desktop::kRejectedAnswer;
using quorvel::desktop::RequestServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

class RequestServerTest : public testing::Test {
protected:
    void Listen(double timeoutSeconds = 60) {
        m_Server = std::make_unique<RequestServer>(
            m_Path,
            [this](KeyValues request, RequestServer::Sender sender) {
                m_Requests.push_back(std::move(request));
                m_Senders.push_back(sender);
            },
            timeoutSeconds);
        ASSERT_TRUE(m_Server->Listen());
    }

    // Runs the main loop until the condition is true. Returns false after kLongEnough.
    static bool RunLoopUntil(const std::function<bool()>& condition) {
        return Await([&] {
            ecore_main_loop_iterate();
            return condition();
        });
    }

    bool RunLoopUntilLogged(std::size_t lines) const {
        return RunLoopUntil([&] { return m_Log.Messages().size() >= lines; });
    }

    // Runs the main loop for the given time. Returns how often the main loop becomes idle.
    static int IdleTimes(double seconds) {
        int times = 0;
        Ecore_Idle_Enterer* counter = ecore_idle_enterer_add(
            [](void* count) -> Eina_Bool {
                ++*static_cast<int*>(count);
                return ECORE_CALLBACK_RENEW;
            },
            &times);
        ecore_timer_add(
            seconds,
            [](void*) -> Eina_Bool {
                ecore_main_loop_quit();
                return ECORE_CALLBACK_CANCEL;
            },
            nullptr);
        ecore_main_loop_begin();
        ecore_idle_enterer_del(counter);
        return times;
    }

    // Sends a valid request. Expects that the server receives and answers the request.
    void ExpectDelivery() {
        const std::size_t before = m_Requests.size();
        const Socket sender = Socket::Connect(m_Path);
        sender.Send(EncodeRequest({{"VALID", "1"}}));
        ASSERT_TRUE(RunLoopUntil([&] { return m_Requests.size() > before; }));
        m_Server->Accept(m_Senders.back());
        EXPECT_EQ(sender.Receive(), std::string(1, kAcceptedAnswer));
    }

    static std::ptrdiff_t OpenFiles() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }

    PrivateFolders m_Folders;
    std::string m_Path = m_Folders.Root() / "run/socket";
    LoggedLines m_Log;
    std::unique_ptr<RequestServer> m_Server;
    std::vector<KeyValues> m_Requests;
    std::vector<RequestServer::Sender> m_Senders;
};

TEST_F(RequestServerTest, AnswersSenderAfterDelivery) {
    Listen();
    ExpectDelivery();
    EXPECT_THAT(m_Requests, ElementsAre(KeyValues{{"VALID", "1"}}));
    EXPECT_THAT(m_Log.Messages(), IsEmpty());
}

TEST_F(RequestServerTest, RestrictsSocketToUser) {
    Listen();
    struct stat status {};
    ASSERT_EQ(stat(m_Path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

// The test makes the folders and the socket accessible to the other user.
TEST_F(RequestServerTest, RejectsSenderOfOtherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    Listen();
    for (const fs::path& folder : {m_Folders.Root(), m_Folders.Root() / "run"}) {
        ASSERT_EQ(chmod(folder.c_str(), 0711), 0);
    }
    ASSERT_EQ(chmod(m_Path.c_str(), 0666), 0);
    ASSERT_EQ(seteuid(kOtherUser), 0);
    const Socket sender = Socket::Connect(m_Path);
    ASSERT_EQ(seteuid(0), 0);
    ASSERT_TRUE(RunLoopUntilLogged(1));
    EXPECT_EQ(sender.Receive(), std::string(1, kRejectedAnswer));
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("launch request rejected: the sender is another user"));
    ExpectDelivery();
}

TEST_F(RequestServerTest, ReplacesSocketOfEndedOwner) {
    Socket::ListenAsOwner(m_Path);
    ASSERT_TRUE(fs::exists(m_Path));
    Listen();
    ExpectDelivery();
}

TEST_F(RequestServerTest, ReportsSocketThatCannotListen) {
    const FailingCallScope scope(FailingCall::kListen);
    RequestServer server(m_Path, [](KeyValues, RequestServer::Sender) {});
    EXPECT_FALSE(server.Listen());
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("cannot listen on " + m_Path + ": Address already in use"));
}

TEST_F(RequestServerTest, ReportsUnusablePath) {
    RequestServer server("/dev/null/socket", [](KeyValues, RequestServer::Sender) {});
    EXPECT_FALSE(server.Listen());
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("cannot listen on /dev/null/socket: Not a directory"));
}

TEST_F(RequestServerTest, ReceivesLongestRequest) {
    Listen();
    const KeyValues longest{{"A", std::string(kMaxRequestBytes - 3, 'x')}};
    const Socket sender = Socket::Connect(m_Path);
    sender.Send(EncodeRequest(longest));
    ASSERT_TRUE(RunLoopUntil([&] { return !m_Requests.empty(); }));
    EXPECT_EQ(m_Requests.front(), longest);
}

TEST_F(RequestServerTest, RejectsInvalidMessage) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    sender.Send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(RunLoopUntilLogged(1));
    EXPECT_EQ(sender.Receive(), std::string(1, kRejectedAnswer));
    ExpectDelivery();
    EXPECT_THAT(m_Log.Messages(), ElementsAre("launch request rejected: invalid message"));
}

TEST_F(RequestServerTest, RejectsTooLongMessage) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    // Only the length is invalid.
    const std::string entry = std::string("A=\0", 3);
    std::string message = EncodeRequest({});
    while (message.size() <= kMaxMessageBytes) {
        message += entry;
    }
    sender.Send(message);
    EXPECT_TRUE(RunLoopUntilLogged(1));
    EXPECT_EQ(sender.Receive(), std::string(1, kRejectedAnswer));
    ExpectDelivery();
    EXPECT_THAT(m_Log.Messages(), ElementsAre("launch request rejected: invalid message"));
}

TEST_F(RequestServerTest, ReceivesOneMessagePerConnection) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    sender.Send(EncodeRequest({{"A", "1"}}));
    ASSERT_TRUE(RunLoopUntil([&] { return m_Requests.size() == 1; }));
    sender.Send(EncodeRequest({{"A", "2"}}));
    ExpectDelivery();
    EXPECT_THAT(m_Requests, SizeIs(2));
    EXPECT_THAT(m_Log.Messages(), IsEmpty());
}

TEST_F(RequestServerTest, LogsEarlyExitOfSender) {
    Listen();
    Socket::Connect(m_Path);
    EXPECT_TRUE(RunLoopUntilLogged(1));
    ExpectDelivery();
    EXPECT_THAT(m_Log.Messages(), ElementsAre("launch request rejected: the sender exited early"));
}

TEST_F(RequestServerTest, RejectsSenderAfterTimeout) {
    Listen(0.1);
    const Socket sender = Socket::Connect(m_Path);
    EXPECT_TRUE(RunLoopUntilLogged(1));
    EXPECT_EQ(sender.Receive(), std::string(1, kRejectedAnswer));
    ExpectDelivery();
    EXPECT_THAT(m_Log.Messages(), ElementsAre("launch request rejected: no message in time"));
}

TEST_F(RequestServerTest, RejectsTooManySenders) {
    Listen();
    std::vector<Socket> idle;
    idle.reserve(65);
    for (int i = 0; i < 65; ++i) {
        idle.push_back(Socket::Connect(m_Path));
    }
    const std::ptrdiff_t before = OpenFiles();
    EXPECT_TRUE(RunLoopUntilLogged(1));
    EXPECT_EQ(OpenFiles() - before, 64) << "accepted senders";
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("launch request rejected: more than 64 senders at once"));
    idle.clear();
    EXPECT_TRUE(RunLoopUntilLogged(65));
    ExpectDelivery();
}

// A connection that cannot be accepted keeps the socket readable. The server must not poll the
// socket all the time.
TEST_F(RequestServerTest, WaitsForFreeDescriptors) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    sender.Send(EncodeRequest({{"A", "1"}}));
    {
        const FailingCallScope scope(FailingCall::kAccept);
        EXPECT_LT(IdleTimes(0.5), 50);
    }
    EXPECT_TRUE(RunLoopUntil([&] { return !m_Requests.empty(); }));
    ExpectDelivery();
}

TEST_F(RequestServerTest, ClosesWhileItWaitsForDescriptors) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    const FailingCallScope scope(FailingCall::kAccept);
    IdleTimes(0.05);
    m_Server->Close();
    EXPECT_EQ(sender.Receive(), "");
    EXPECT_FALSE(fs::exists(m_Path));
    EXPECT_LT(IdleTimes(0.3), 50);
}

TEST_F(RequestServerTest, ReceivesRequestOfExitedSender) {
    Listen();
    Socket::Connect(m_Path).Send(EncodeRequest({{"A", "1"}}));
    ASSERT_TRUE(RunLoopUntil([&] { return !m_Requests.empty(); }));
    m_Server->Accept(m_Senders.back());
    ExpectDelivery();
    EXPECT_THAT(m_Log.Messages(), IsEmpty());
}

TEST_F(RequestServerTest, ClosesUnansweredConnections) {
    Listen();
    const Socket sender = Socket::Connect(m_Path);
    sender.Send(EncodeRequest({{"A", "1"}}));
    ASSERT_TRUE(RunLoopUntil([&] { return !m_Requests.empty(); }));
    m_Server->Close();
    EXPECT_EQ(sender.Receive(), "");
    EXPECT_FALSE(fs::exists(m_Path));
}

TEST_F(RequestServerTest, ClosesFilesOfAnsweredConnections) {
    Listen();
    const auto sendBoth = [this] {
        const std::size_t lines = m_Log.Messages().size();
        Socket::Connect(m_Path).Send("garbage");
        EXPECT_TRUE(RunLoopUntilLogged(lines + 1));
        ExpectDelivery();
    };
    // The first call also opens files that stay open, such as the log file.
    sendBoth();
    const std::ptrdiff_t before = OpenFiles();
    for (int i = 0; i < 20; ++i) {
        sendBoth();
    }
    EXPECT_EQ(OpenFiles(), before);
}

}  // namespace
