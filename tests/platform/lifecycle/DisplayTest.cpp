// Displays that answer, that say nothing and that are not there.

#include "lifecycle/display.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Socket.h"

using quorvel::desktop::FindDisplay;
using testing::IsEmpty;

namespace {

// A second, and what a busy machine adds to it.
constexpr std::chrono::seconds kSoon{2};

// The shortest setup that a client of X takes: version 11, and none of what a screen consists of.
std::string XSetup() {
    std::string setup(40, '\0');
    setup[0] = 1;
    setup[2] = 11;
    setup[6] = 8;
    return setup;
}

// The event for the first object that a client of Wayland makes: its round trip is done.
std::string WaylandDone() {
    return {"\2\0\0\0\0\0\14\0\1\0\0\0", 12};
}

// Answers the first client that says something, and stays until it goes.
class Answering {
public:
    Answering(const Socket& display, std::string answer)
        : m_Thread([&display, answer = std::move(answer)] {
              const Socket client = display.Accept();
              client.Receive(12);
              client.Send(answer);
              client.Receive();
          }) {}
    ~Answering() { m_Thread.join(); }
    Answering(const Answering&) = delete;
    Answering& operator=(const Answering&) = delete;

private:
    std::thread m_Thread;
};

// Both displays are set and listen, as they do; neither says anything unless a test has it answer.
class DisplayTest : public testing::Test {
protected:
    bool Find() {
        const auto start = std::chrono::steady_clock::now();
        const bool found = FindDisplay(m_Why);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kSoon);
        return found;
    }

    PrivateFolders m_Folders;
    std::string m_Path = m_Folders.Root() / "run/wayland-test";
    Socket m_Wayland = Socket::ListenAsWayland(m_Path);
    Socket m_X = Socket::ListenAsX();
    std::string m_XName = m_X.Display();
    ScopedVariable m_Memory{"ELM_DISPLAY", {}};
    ScopedVariable m_WaylandVariable{"WAYLAND_DISPLAY", m_Path};
    ScopedVariable m_XVariable{"DISPLAY", m_XName};
    std::string m_Why;
};

TEST_F(DisplayTest, SilentXIsNotWaitedFor) {
    const ScopedVariable none("WAYLAND_DISPLAY", {});
    EXPECT_FALSE(Find());
    EXPECT_EQ(m_Why, "no display: cannot connect to " + m_XName);
}

TEST_F(DisplayTest, SilentWaylandIsNotWaitedFor) {
    const ScopedVariable none("DISPLAY", {});
    EXPECT_FALSE(Find());
    EXPECT_EQ(m_Why, "no display: cannot connect to " + m_Path);
}

TEST_F(DisplayTest, OfTwoSilentOnesBothAreTold) {
    EXPECT_FALSE(Find());
    EXPECT_EQ(m_Why, "no display: cannot connect to " + m_XName + " or " + m_Path);
}

// The toolkit would try X first, and for ever.
TEST_F(DisplayTest, SilentXIsHiddenBehindAWaylandThatAnswers) {
    const Answering wayland(m_Wayland, WaylandDone());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("DISPLAY"), nullptr);
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), m_Path);
}

TEST_F(DisplayTest, SilentWaylandIsHiddenBehindAnXThatAnswers) {
    const Answering x(m_X, XSetup());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), nullptr);
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

TEST_F(DisplayTest, TwoThatAnswerAreLeftToTheToolkit) {
    const Answering wayland(m_Wayland, WaylandDone());
    const Answering x(m_X, XSetup());
    EXPECT_TRUE(Find());
    EXPECT_EQ(std::getenv("WAYLAND_DISPLAY"), m_Path);
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

TEST_F(DisplayTest, WhatDrawsIntoMemoryNeedsNone) {
    const ScopedVariable memory("ELM_DISPLAY", "buffer");
    EXPECT_TRUE(Find());
    EXPECT_THAT(m_Why, IsEmpty());
    EXPECT_EQ(std::getenv("DISPLAY"), m_XName);
}

}  // namespace
