#include "toolkit/button.h"

#include <gtest/gtest.h>

#include <Elementary.h>

#include <utility>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

class ButtonTest : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(ButtonTest, BeginsAtLeftEdgeOfPanel) {
    StagePlan plan;
    plan.width = GetParam().first;
    plan.height = GetParam().second;
    const Stage stage(plan);
    const Area body = Stage::PartOf(stage.button, "body");
    const Area frame = Stage::PartOf(stage.scroller, "frame");
    EXPECT_NEAR(body.x, frame.x, 1);
    EXPECT_GT(body.y, frame.Bottom());
    EXPECT_LE(body.Bottom(), plan.height - 27 * plan.height / Screen::kHeight);
}

INSTANTIATE_TEST_SUITE_P(Screens, ButtonTest,
                         testing::Values(std::pair(1024, 600), std::pair(1280, 720),
                                         std::pair(1920, 1080), std::pair(3840, 2160)));

}  // namespace
}  // namespace quorvel::desktop
