#include "runs/printable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorvel::runs {

namespace {

TEST(PrintableTest, ShortensTextsBetweenCharacters) {
    EXPECT_EQ(Shorten("12345678", 8), "12345678");
    EXPECT_EQ(Shorten("123456789", 8), "12345...");
    EXPECT_EQ(Shorten("1234\xC3\xA4xyz", 8), "1234...");
}

TEST(PrintableTest, ReplacesControlCharacters) {
    EXPECT_EQ(MakePrintable("a\x1B[31m\nb\x7F"), "a?[31m?b?");
    EXPECT_EQ(MakePrintable("\xC3\xA4\xC2\x9B\xE5\x80\x8B\xC2\x9F\xC2\xA0"),
              "\xC3\xA4?\xE5\x80\x8B?\xC2\xA0");
}

TEST(PrintableTest, ReplacesCharactersThatChangeTextDirection) {
    EXPECT_EQ(
        MakePrintable(u8"a\u2028\u2029\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069z"),
        "a???????????z");
    for (const char* kept :
         {u8"\u2027", u8"\u202F", u8"\u2065", u8"\u206A", u8"\u200E", u8"שלום عربي"}) {
        EXPECT_EQ(MakePrintable(kept), kept);
    }
}

TEST(PrintableTest, ReplacesBytesThatAreNotUtf8) {
    const std::string replacement = u8"\uFFFD";
    for (const char* byte : {"\x80", "\x9B", "\xC3", "\xFF", "\xF8"}) {
        EXPECT_EQ(MakePrintable(byte), replacement);
        EXPECT_EQ(MakeUtf8(byte), replacement);
    }
    // The texts are a truncated character, two overlong forms, a surrogate, and a code beyond the
    // last character.
    EXPECT_EQ(MakeUtf8("\xE5\x80!"), replacement + replacement + "!");
    EXPECT_EQ(MakeUtf8("\xC1\x9B"), replacement + replacement);
    EXPECT_EQ(MakeUtf8("\xE0\x82\x9B"), replacement + replacement + replacement);
    EXPECT_EQ(MakeUtf8("\xED\xA0\x80"), replacement + replacement + replacement);
    EXPECT_EQ(MakeUtf8("\xF4\x90\x80\x80"), replacement + replacement + replacement + replacement);
}

TEST(PrintableTest, KeepsEveryUtf8Character) {
    const std::string text =
        u8"a\n\u001B\u0080\u07FF\u0800\u202E\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
    EXPECT_EQ(MakeUtf8(text), text);
}

// Returns the option that FindUnprintableOption finds, or an empty text.
std::string FindOption(std::vector<std::string> arguments) {
    std::vector<char*> pointers = {nullptr};
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const char* option = FindUnprintableOption(pointers.data());
    return option == nullptr ? "" : option;
}

TEST(PrintableTest, FindsOptionsWithControlCharacters) {
    EXPECT_EQ(FindOption({"a", "--\x1B[31m", "-\n"}), "--\x1B[31m");
    EXPECT_EQ(FindOption({"-\n"}), "-\n");
    EXPECT_EQ(FindOption({"--\xC2\x9B=x"}), "--\xC2\x9B=x");
}

TEST(PrintableTest, IgnoresOtherArguments) {
    EXPECT_EQ(FindOption({}), "");
    EXPECT_EQ(FindOption({"", "-", "\n", "a\n", "-o\n", "--output=\n", "--", "--\n"}), "");
}

}  // namespace

}  // namespace quorvel::runs
