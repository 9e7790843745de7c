#include "receive/host_lookup.h"

#include <gtest/gtest.h>

#include <netinet/in.h>

namespace velmora {
namespace {

TEST(HostLookup, ANumberIsItself) {
    EXPECT_EQ(look_up_host("10.0.0.7", [] { return true; }), 0x0A000007U);
}

TEST(HostLookup, FindsNamesAndGivesUpWhenItIsOver) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the C library's own thread is not known to the sanitizer";
#else
    EXPECT_EQ(look_up_host("localhost", [] { return false; }), INADDR_LOOPBACK);
    EXPECT_FALSE(look_up_host("nobody.invalid", [] { return false; }));
    EXPECT_FALSE(look_up_host("nobody.invalid", [] { return true; }));
#endif
}

} // namespace
} // namespace velmora
