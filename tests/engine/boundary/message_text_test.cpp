#include "boundary/message_text.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(MessageText, IsTheTextWhereItFits) {
    EXPECT_EQ(message_text("", 5), "");
    EXPECT_EQ(message_text("abcde", 5), "abcde");
    EXPECT_EQ(message_text("\u00fc\u20ac\U0001F600", 9), "\u00fc\u20ac\U0001F600");
}

TEST(MessageText, IsCutBetweenCharacters) {
    EXPECT_EQ(message_text("abcdef", 5), "ab\u2026");
    EXPECT_EQ(message_text("a\u00fcbcdef", 5), "a\u2026");
    EXPECT_EQ(message_text("a\u00fcbcdef", 6), "a\u00fc\u2026");
}

TEST(MessageText, TakesWhatIsNoUtf8ForLatin1) {
    EXPECT_EQ(message_text("\xFC.ts", 20), "\u00fc.ts");
    EXPECT_EQ(message_text("\xE2\x82", 20), "\u00e2\u0082");
    EXPECT_EQ(message_text("\xC0\x80", 20), "\u00c0\u0080") << "an overlong NUL";
    EXPECT_EQ(message_text("\xED\xA0\x80", 20), "\u00ed\u00a0\u0080") << "half a surrogate";
}

TEST(MessageText, IsOneLine) {
    EXPECT_EQ(message_text("a\nb\tc\x7F", 20), "a b c ");
}

} // namespace
} // namespace velmora
