#include "toolkit/toolkit_log.h"

#include <Elementary.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "fixtures/Screen.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ToolkitLogTest : public testing::Test {
protected:
    void SetUp() override {
        Stage::StartToolkit();
        m_Window = elm_win_util_standard_add("test", "test");
    }
    void TearDown() override { Screen::Close(m_Window); }

    Evas_Object* m_Window = nullptr;
};

TEST_F(ToolkitLogTest, DropsMessagesAboutKnownCallsWithoutEffect) {
    const LoggedLines lines;
    testing::internal::CaptureStderr();
    Evas_Object* rectangle = evas_object_rectangle_add(evas_object_evas_get(m_Window));
    evas_object_color_set(rectangle, 255, 255, 255, 20);
    evas_object_image_alpha_set(elm_image_add(m_Window), EINA_TRUE);
    elm_box_pack_end(elm_table_add(m_Window), elm_box_add(m_Window));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(lines.Messages(), IsEmpty());
}

TEST_F(ToolkitLogTest, LogsEveryOtherMessageAsOneErrorLine) {
    const LoggedLines lines;
    evas_object_image_filled_set(elm_image_add(m_Window), EINA_TRUE);
    EXPECT_THAT(lines.Messages(), ElementsAre(HasSubstr("object is not an image!")));
}

}  // namespace
}  // namespace quorvel::desktop
