#include "runs/printable.h"

#include <gtest/gtest.h>

namespace quorvel::runs {

namespace {

TEST(PrintableTest, ShortensTextsBetweenCharacters) {
    EXPECT_EQ(Shorten("12345678", 8), "12345678");
    EXPECT_EQ(Shorten("123456789", 8), "12345...");
    EXPECT_EQ(Shorten("1234\xC3\xA4xyz", 8), "1234...");
}

TEST(PrintableTest, ReplacesControlCharactersForTheTerminal) {
    EXPECT_EQ(MakePrintable("a\x1B[31m\nb\x7F"), "a?[31m?b?");
    EXPECT_EQ(MakePrintable("\xC3\xA4\xC2\x9B\xE5\x80\x8B"), "\xC3\xA4?\xE5\x80\x8B");
}

}  // namespace

}  // namespace quorvel::runs
