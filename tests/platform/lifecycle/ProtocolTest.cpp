#include "lifecycle/protocol.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>

using quorvel::desktop::DecodeRequest;
using quorvel::desktop::EncodeRequest;
using quorvel::desktop::KeyValues;
using quorvel::desktop::kMaxMessageBytes;
using quorvel::desktop::kMaxRequestBytes;
using quorvel::desktop::SocketAddress;
using testing::IsEmpty;
using testing::Optional;

namespace {

// Returns a request of exactly this size in bytes. Key, equals sign and zero byte take three bytes.
KeyValues RequestOf(std::size_t bytes) {
    return {{"A", std::string(bytes - 3, 'x')}};
}

TEST(ProtocolTest, EncodesMessageWordAndEntries) {
    EXPECT_EQ(EncodeRequest({{"A", "1"}, {"B", ""}}), std::string("quorvel2A=1\0B=\0", 15));
}

TEST(ProtocolTest, DecodesEncodedRequest) {
    const KeyValues request{{"A", "1"}, {"B", "x=y\nz"}, {"C", ""}};
    EXPECT_THAT(DecodeRequest(EncodeRequest(request)), Optional(request));
    EXPECT_THAT(DecodeRequest(EncodeRequest({})), Optional(KeyValues()));
}

TEST(ProtocolTest, RejectsInvalidMessage) {
    const std::string valid = EncodeRequest({{"A", "1"}});
    EXPECT_EQ(DecodeRequest("GET / HTTP/1.1\r\n"), std::nullopt);
    EXPECT_EQ(DecodeRequest("quorvelX"), std::nullopt);
    EXPECT_EQ(DecodeRequest(valid + "x"), std::nullopt);
    EXPECT_EQ(DecodeRequest(valid.substr(0, valid.size() - 1) + "x"), std::nullopt) << "no zero";
    EXPECT_EQ(DecodeRequest({"quorvel2x\0", 10}), std::nullopt) << "no equals sign";
    EXPECT_EQ(DecodeRequest({"quorvel2=x\0", 11}), std::nullopt) << "no key";
    EXPECT_EQ(DecodeRequest({"quorvel2B=2\0x\0", 14}), std::nullopt) << "one valid entry";
}

TEST(ProtocolTest, RejectsEveryIncompleteMessage) {
    const std::string message = EncodeRequest({{"A", "1"}});
    for (std::size_t size = 0; size < message.size(); ++size) {
        const bool isEmptyRequest = size == message.size() - 4;
        EXPECT_EQ(DecodeRequest(message.substr(0, size)).has_value(), isEmptyRequest) << size;
    }
}

TEST(ProtocolTest, LimitsLengthOfRequest) {
    const std::string longest = EncodeRequest(RequestOf(kMaxRequestBytes));
    EXPECT_EQ(longest.size(), kMaxMessageBytes);
    EXPECT_THAT(DecodeRequest(longest), Optional(RequestOf(kMaxRequestBytes)));
    EXPECT_THAT(EncodeRequest(RequestOf(kMaxRequestBytes + 1)), IsEmpty());
    EXPECT_EQ(DecodeRequest(longest + std::string("B=\0", 3)), std::nullopt);
}

TEST(ProtocolTest, KeepsZeroByteAfterLongPath) {
    const sockaddr_un address = SocketAddress(std::string(200, 'x'));
    EXPECT_EQ(address.sun_family, AF_UNIX);
    EXPECT_EQ(address.sun_path, std::string(sizeof(address.sun_path) - 1, 'x'));
}

}  // namespace
