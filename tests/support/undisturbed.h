/*
 * What a test of a pace expects, of a machine that lets it run.
 */
#ifndef TESTS_SUPPORT_UNDISTURBED_H
#define TESTS_SUPPORT_UNDISTURBED_H

#include "support/standstill.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

/** Tries until one attempt is right. One that is not, and that the machine did not disturb, is a failure. */
inline void expect_undisturbed(const std::function<bool()>& is_right) {
    constexpr int most_attempts = 5;
    constexpr std::chrono::milliseconds longest_standstill{60};
    for (int i = 0; i < most_attempts; ++i) {
        const StandstillWatch machine;
        if (is_right()) {
            return;
        }
        if (machine.longest() < longest_standstill) {
            ADD_FAILURE() << "the machine never stood still for longer than " << machine.longest().count()
                          << " ms";
            return;
        }
    }
    ADD_FAILURE() << "not once right, and this machine stands still too often to tell why";
}

#endif
