#include "lifecycle/launch_request.h"

#include <app_control_internal.h>
#include <gmock/gmock.h>

using quorvel::desktop::AddKeyValue;
using quorvel::desktop::KeyValues;
using testing::ElementsAre;
using testing::Pair;

namespace {

TEST(LaunchRequestTest, SplitsAtFirstEqualsSign) {
    KeyValues values;
    for (const char* entry : {"A=1", "B=x=y", "C="}) {
        EXPECT_TRUE(AddKeyValue(values, entry)) << entry;
    }
    EXPECT_THAT(values, ElementsAre(Pair("A", "1"), Pair("B", "x=y"), Pair("C", "")));
}

TEST(LaunchRequestTest, KeepsLastOfEqualKeys) {
    KeyValues values{{"A", "1"}};
    EXPECT_TRUE(AddKeyValue(values, "A=2"));
    EXPECT_THAT(values, ElementsAre(Pair("A", "2")));
}

TEST(LaunchRequestTest, RejectsEntryOfOtherForm) {
    KeyValues values{{"A", "1"}};
    for (const char* entry : {"--help", "A", "=1", ""}) {
        EXPECT_FALSE(AddKeyValue(values, entry)) << entry;
    }
    EXPECT_THAT(values, ElementsAre(Pair("A", "1")));
}

TEST(LaunchRequestTest, ReturnsBundleOfRequest) {
    app_control_s request{{{{"EXEPARAM", "CLOSE"}}}};
    bundle* values = nullptr;
    ASSERT_EQ(app_control_to_bundle(&request, &values), APP_CONTROL_ERROR_NONE);
    EXPECT_EQ(values, &request.request);
}

TEST(LaunchRequestTest, RejectsNullRequest) {
    app_control_s request{};
    bundle untouched{};
    bundle* values = &untouched;
    EXPECT_EQ(app_control_to_bundle(nullptr, &values), APP_CONTROL_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(app_control_to_bundle(&request, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(values, &untouched);
}

TEST(LaunchRequestTest, ReturnsValueOfBundle) {
    bundle values{{{"EXEPARAM", "CLOSE"}}};
    char* value = nullptr;
    ASSERT_EQ(bundle_get_str(&values, "EXEPARAM", &value), BUNDLE_ERROR_NONE);
    EXPECT_EQ(value, values.values["EXEPARAM"].data());
    EXPECT_STREQ(value, "CLOSE");
}

TEST(LaunchRequestTest, KeepsPointerForMissingKey) {
    bundle values{{{"EXEPARAM", "CLOSE"}}};
    char before = 'x';
    char* value = &before;
    EXPECT_EQ(bundle_get_str(&values, "exeparam", &value), BUNDLE_ERROR_KEY_NOT_AVAILABLE);
    EXPECT_EQ(value, &before);
}

TEST(LaunchRequestTest, RejectsNullBundle) {
    bundle values{};
    char* value = nullptr;
    EXPECT_EQ(bundle_get_str(nullptr, "A", &value), BUNDLE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(bundle_get_str(&values, nullptr, &value), BUNDLE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(bundle_get_str(&values, "A", nullptr), BUNDLE_ERROR_INVALID_PARAMETER);
}

}  // namespace
