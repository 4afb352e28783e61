#include "lifecycle/launch_request.h"

#include <app_control_internal.h>
#include <gmock/gmock.h>

#include <optional>
#include <string>

using quorvel::desktop::AddKeyValue;
using quorvel::desktop::DecodeRequest;
using quorvel::desktop::EncodeRequest;
using quorvel::desktop::KeyValues;
using quorvel::desktop::kMaxMessageBytes;
using quorvel::desktop::kMaxRequestBytes;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
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

// Returns a request of exactly this size in bytes. Key, equals sign and zero byte take three bytes.
KeyValues RequestOf(std::size_t bytes) {
    return {{"A", std::string(bytes - 3, 'x')}};
}

TEST(LaunchRequestTest, EncodesMessageWordAndEntries) {
    EXPECT_EQ(EncodeRequest({{"A", "1"}, {"B", ""}}), std::string("quorvel2A=1\0B=\0", 15));
}

TEST(LaunchRequestTest, DecodesEncodedRequest) {
    const KeyValues request{{"A", "1"}, {"B", "x=y\nz"}, {"C", ""}};
    EXPECT_THAT(DecodeRequest(EncodeRequest(request)), Optional(request));
    EXPECT_THAT(DecodeRequest(EncodeRequest({})), Optional(KeyValues()));
}

TEST(LaunchRequestTest, RejectsInvalidMessage) {
    const std::string valid = EncodeRequest({{"A", "1"}});
    EXPECT_EQ(DecodeRequest("GET / HTTP/1.1\r\n"), std::nullopt);
    EXPECT_EQ(DecodeRequest("quorvelX"), std::nullopt);
    EXPECT_EQ(DecodeRequest(valid + "x"), std::nullopt);
    EXPECT_EQ(DecodeRequest(valid.substr(0, valid.size() - 1) + "x"), std::nullopt) << "no zero";
    EXPECT_EQ(DecodeRequest({"quorvel2x\0", 10}), std::nullopt) << "no equals sign";
    EXPECT_EQ(DecodeRequest({"quorvel2=x\0", 11}), std::nullopt) << "no key";
    EXPECT_EQ(DecodeRequest({"quorvel2B=2\0x\0", 14}), std::nullopt) << "one valid entry";
}

TEST(LaunchRequestTest, RejectsEveryIncompleteMessage) {
    const std::string message = EncodeRequest({{"A", "1"}});
    for (std::size_t size = 0; size < message.size(); ++size) {
        const bool isEmptyRequest = size == message.size() - 4;
        EXPECT_EQ(DecodeRequest(message.substr(0, size)).has_value(), isEmptyRequest) << size;
    }
}

TEST(LaunchRequestTest, LimitsLengthOfRequest) {
    const std::string longest = EncodeRequest(RequestOf(kMaxRequestBytes));
    EXPECT_EQ(longest.size(), kMaxMessageBytes);
    EXPECT_THAT(DecodeRequest(longest), Optional(RequestOf(kMaxRequestBytes)));
    EXPECT_THAT(EncodeRequest(RequestOf(kMaxRequestBytes + 1)), IsEmpty());
    EXPECT_EQ(DecodeRequest(longest + std::string("B=\0", 3)), std::nullopt);
}

}  // namespace
