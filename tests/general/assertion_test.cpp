#include "general/assertion.h"

#include <gtest/gtest.h>

namespace {

void demand(bool holds) {
    require(holds, "left==right", "module");
}

TEST(Assertion, PassesWhatHolds) {
    demand(true);
}

TEST(AssertionDeath, AbortsWithTheStandardReportInEveryBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(demand(false), testing::KilledBySignal(SIGABRT),
                "^general_tests: module:[0-9]+: demand: Assertion `left==right' failed\\.\n");
}

} // namespace
