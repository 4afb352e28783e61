#include "lifecycle/launch_request.h"

#include <app_control_internal.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

using quorvel::desktop::KeyValues;
using quorvel::desktop::ReadArguments;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

// Reads the arguments after the program name. Sets invalid to the argument of another form, or to
// an empty string.
KeyValues Read(std::vector<std::string> arguments, std::string* invalid = nullptr) {
    arguments.insert(arguments.begin(), "quorvel");
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    KeyValues values;
    const char* found = ReadArguments(static_cast<int>(pointers.size()), pointers.data(), values);
    if (invalid != nullptr) {
        *invalid = found == nullptr ? "" : found;
    } else {
        EXPECT_EQ(found, nullptr);
    }
    return values;
}

TEST(LaunchRequestTest, ReadsNoArgumentsAsEmptyRequest) {
    EXPECT_THAT(Read({}), IsEmpty());
}

TEST(LaunchRequestTest, SplitsAtFirstEqualsSign) {
    EXPECT_THAT(Read({"A=1", "B=x=y", "C="}),
                ElementsAre(Pair("A", "1"), Pair("B", "x=y"), Pair("C", "")));
}

TEST(LaunchRequestTest, KeepsLastOfEqualKeys) {
    EXPECT_THAT(Read({"A=1", "A=2"}), ElementsAre(Pair("A", "2")));
}

TEST(LaunchRequestTest, ReturnsInvalidArgument) {
    std::string invalid;
    EXPECT_THAT(Read({"A=1", "--help"}, &invalid), IsEmpty());
    EXPECT_EQ(invalid, "--help");
    EXPECT_THAT(Read({"=1"}, &invalid), IsEmpty());
    EXPECT_EQ(invalid, "=1");
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
