// Texts between forms and the configuration; masked addresses have three digits for each group.
#include "form_text.h"

#include <gtest/gtest.h>

namespace {

std::string masked(const char* address) {
    return to_masked_address(QLatin1String(address)).toStdString();
}

std::string unmasked(const char* text) {
    return from_masked_address(QLatin1String(text)).toStdString();
}

TEST(StoredText, KeepsLatin1AndLosesTheRest) {
    EXPECT_EQ(stored_text(QString::fromUtf8("caf\xC3\xA9 \xE6\xBC\xA2")).toUtf8().toStdString(),
              "caf\xC3\xA9 ?");
    EXPECT_TRUE(stored_text(QString{}).isEmpty());
}

TEST(MaskedAddress, FillsEachGroupToThreeDigits) {
    EXPECT_EQ(masked("10.0.0.5"), "010.000.000.005");
    EXPECT_EQ(masked("225.100.2.99"), "225.100.002.099");
    EXPECT_EQ(masked("192.168.255.254"), "192.168.255.254");
}

TEST(MaskedAddress, ComesBackAsItWas) {
    for (const char* const address : {"10.0.0.5", "225.0.0.1", "255.255.255.255", "0.0.0.0"}) {
        EXPECT_EQ(unmasked(masked(address).c_str()), address);
    }
}

TEST(MaskedAddress, WhatIsNotFilledInIsZero) {
    EXPECT_EQ(unmasked("..."), "0.0.0.0");
    EXPECT_EQ(unmasked("12.  .3."), "12.0.3.0");
    EXPECT_EQ(unmasked(""), "0.0.0.0");
}

} // namespace
