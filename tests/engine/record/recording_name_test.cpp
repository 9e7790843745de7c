// Recordings are named by the local time.
#include "record/recording_name.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace velmora {
namespace {

/// A time zone for one test.
class Zone {
public:
    explicit Zone(const char* name) : before_{std::getenv("TZ") == nullptr ? "" : std::getenv("TZ")} {
        ::setenv("TZ", name, 1);
    }
    ~Zone() {
        if (before_.empty()) {
            ::unsetenv("TZ");
        } else {
            ::setenv("TZ", before_.c_str(), 1);
        }
        ::tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    std::string before_;
};

TEST(RecordingName, TellsTheLocalTime) {
    constexpr std::time_t noon = 1'709'208'000; // 2024-02-29 12:00:00 UTC
    {
        const Zone zone{"UTC0"};
        EXPECT_EQ(recording_name(noon + 3), "2024-02-29_12-00-03.ts");
    }
    const Zone zone{"XYZ-13:30"};
    EXPECT_EQ(recording_name(noon), "2024-03-01_01-30-00.ts") << "moved to another zone";
}

TEST(RecordingName, IsNumberedInFrontOfItsExtension) {
    EXPECT_EQ(numbered_name("a.b.ts", 1), "a.b.ts");
    EXPECT_EQ(numbered_name("a.b.ts", 2), "a.b_2.ts");
    EXPECT_EQ(numbered_name("plain", 3), "plain_3");
    EXPECT_EQ(numbered_name(".hidden", 2), ".hidden_2");
}

} // namespace
} // namespace velmora
