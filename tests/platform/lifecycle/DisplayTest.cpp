#include "lifecycle/display.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Socket.h"

using quorvel::desktop::FindDisplay;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The search takes at most one second for both displays. The other second is for a busy PC.
constexpr std::chrono::seconds kMaxSearchTime{2};
// The delay is shorter than the second after which the search ignores a display.
constexpr std::chrono::milliseconds kSlowAnswer{600};

// The shortest setup that an X client accepts: version 11 without a screen.
std::string XSetup() {
    std::string setup(40, '\0');
    setup[0] = 1;
    setup[2] = 11;
    setup[6] = 8;
    return setup;
}

// The event that ends the first round trip of a Wayland client.
std::string WaylandEvent() {
    return {"\2\0\0\0\0\0\14\0\1\0\0\0", 12};
}

// Answers the first request of the first client on a thread. The destructor waits until the client
// disconnects.
class AnsweringServer {
public:
    AnsweringServer(const Socket& display, std::string answer,
                    std::chrono::milliseconds delay = std::chrono::milliseconds(0))
        : m_Thread([&display, answer = std::move(answer), delay] {
              const Socket client = display.Accept();
              client.Receive(12);
              std::this_thread::sleep_for(delay);
              client.Send(answer);
              client.Receive();
          }) {}
    ~AnsweringServer() { m_Thread.join(); }
    AnsweringServer(const AnsweringServer&) = delete;
    AnsweringServer& operator=(const AnsweringServer&) = delete;

private:
    std::thread m_Thread;
};

// Sets DISPLAY and WAYLAND_DISPLAY to listening sockets. A socket answers only if the test creates
// an AnsweringServer.
class DisplayTest : public testing::Test {
protected:
    bool Find() {
        const auto start = std::chrono::steady_clock::now();
        const bool found = FindDisplay();
        EXPECT_LT(std::chrono::steady_clock::now() - start, kMaxSearchTime);
        return found;
    }

    PrivateFolders m_Folders;
    std::string m_Path = m_Folders.Root() / "run/wayland-test";
    Socket m_Wayland = Socket::ListenAsWayland(m_Path);
    Socket m_X = Socket::ListenAsX();
    std::string m_XName = m_X.Display();
    ScopedVariable m_ElmDisplay{"ELM_DISPLAY", {}};
    ScopedVariable m_WaylandVariable{"WAYLAND_DISPLAY", m_Path};
    ScopedVariable m_XVariable{"DISPLAY", m_XName};
    LoggedLines m_Log;
};

TEST_F(DisplayTest, ReportsXThatDoesNotAnswer) {
    const ScopedVariable unset("WAYLAND_DISPLAY", {});
    EXPECT_FALSE(Find());
    EXPECT_THAT(m_Log.Messages(), ElementsAre("no display: cannot connect to " + m_XName));
}

TEST_F(DisplayTest, ReportsWaylandThatDoesNotAnswer) {
    const ScopedVariable unset("DISPLAY", {});
    EXPECT_FALSE(Find());
    EXPECT_THAT(m_Log.Messages(), ElementsAre("no display: cannot connect to " + m_Path));
}

TEST_F(DisplayTest, ReportsBothDisplaysWhenNeitherAnswers) {
    EXPECT_FALSE(Find());
    EXPECT_THAT(m_Log.Messages(),
                ElementsAre("no display: cannot connect to " + m_XName + " or " + m_Path));
}

// Without the removal, the toolkit would try X first and wait without a time limit.
TEST_F(DisplayTest, RemovesVariableOfXThatDoesNotAnswer) {
    const AnsweringServer wayland(m_Wayland, WaylandEvent());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("DISPLAY"), nullptr);
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), m_Path);
}

TEST_F(DisplayTest, RemovesVariableOfWaylandThatDoesNotAnswer) {
    const AnsweringServer x(m_X, XSetup());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), nullptr);
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

TEST_F(DisplayTest, KeepsBothDisplaysThatAnswer) {
    const AnsweringServer wayland(m_Wayland, WaylandEvent());
    const AnsweringServer x(m_X, XSetup());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), m_Path);
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

TEST_F(DisplayTest, KeepsBothDisplaysThatAnswerSlowly) {
    const AnsweringServer wayland(m_Wayland, WaylandEvent(), kSlowAnswer);
    const AnsweringServer x(m_X, XSetup(), kSlowAnswer);
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), m_Path);
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

TEST_F(DisplayTest, AcceptsDrawingIntoMemory) {
    const ScopedVariable memory("ELM_DISPLAY", "buffer");
    EXPECT_TRUE(Find());
    EXPECT_THAT(m_Log.Messages(), IsEmpty());
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

}  // namespace
