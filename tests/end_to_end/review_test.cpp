// A live stream that is recorded, and reviewed in the same window while it is recorded.
#include "dialog_driver.h"
#include "live_on_screen.h"

#include "jsncfg.h"
#include "player_state.h"

#include <QListWidget>

#include <filesystem>
#include <functional>

namespace {

class Review : public LiveOnScreen {
protected:
    void SetUp() override {
        m_mpCfg->p_recordCfg->directory_path = folder_.path(); // chosen before
        watch([this](QDialog& dialog) {
            choose_unicast(dialog, port_);
            choose_recording(dialog);
        });
        ASSERT_TRUE(wait_for_live_picture());
    }

    /// Plays what was recorded so far, once that is so long.
    void review(int seconds) {
        ASSERT_TRUE(wait_until([=] { return m_info.record_info.sec_size >= seconds; }));
        const std::filesystem::path file{m_info.record_info.file_name};
        ASSERT_EQ(file.parent_path(), folder_.path().toStdString());
        play(file);
        ASSERT_TRUE(wait_until([] { return m_info.active_app == PLAYBACK_APP; }));
        ASSERT_TRUE(wait_until([] { return m_info.player_info.is_recording == 1; }));
        ASSERT_TRUE(wait_until([=] { return m_info.player_info.total_second >= seconds; }));
    }
    /// Number of the recording's first picture, which is a key picture. Leaves the recording paused.
    std::uint32_t first_recorded() {
        click("pause");
        EXPECT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
        for (const int second : {2, 1}) { // from elsewhere, since a click on the handle seeks nothing
            EXPECT_TRUE(click_until(second, [=] { return m_info.player_info.second == second; }));
        }
        EXPECT_TRUE(wait_until([this] { return number_on_screen().value_or(1) % 25 == 0; }));
        return number_on_screen().value_or(0) - 25;
    }
    bool show_second(int second, std::uint32_t number) {
        return click_until(second, [this, number] { return number_on_screen() == number; });
    }
    /// Clicks the slider where the second stands, which moves while the recording grows.
    bool click_until(int second, const std::function<bool()>& is_there) {
        constexpr int until_there_ms = 1000;
        return wait_until([&] {
            click_slider(second);
            return QTest::qWaitFor(is_there, until_there_ms);
        });
    }
    bool wait_for_rise_above(std::uint32_t number) {
        return wait_until([&] { return number_on_screen().value_or(0) > number; });
    }

    QTemporaryDir folder_;
    std::uint16_t port_{free_udp_port()};
    StreamSender sender_{live_stream(), to_port(port_)};
};

TEST_F(Review, TheRecordingPlaysWhileItIsMadeAndTheLivePictureComesBack) {
    review(3);
    ASSERT_TRUE(wait_until([this] { return number_on_screen().has_value(); }));
    const auto reviewed = *number_on_screen();
    click("switch_dispatch");
    ASSERT_TRUE(wait_until([] { return m_info.active_app == STREAMING_APP; }));
    EXPECT_TRUE(wait_for_rise_above(reviewed + 25)) << "what is live is ahead of what was reviewed";
    click("switch_dispatch");
    ASSERT_TRUE(wait_until([] { return m_info.active_app == PLAYBACK_APP; }));

    click("Record");
    EXPECT_TRUE(wait_until([] { return (m_info.action_bit & (1 << RECORD_BIT)) == 0; }));
    EXPECT_TRUE((m_info.action_bit & (1 << STREAMING_BIT)) != 0);
    EXPECT_TRUE(wait_until([] { return m_info.player_info.is_recording == 0; }));
}

TEST_F(Review, SliderReverseAndFastLeadThroughTheRecordingWhileItGrows) {
    review(4);
    const std::uint32_t first = first_recorded();
    ASSERT_GE(first, std::uint32_t{first_number});
    for (const unsigned second : {3U, 1U, 2U}) {
        EXPECT_TRUE(show_second(static_cast<int>(second), first + second * 25)) << "second " << second;
    }

    click("forward_playback");
    std::uint32_t last = first + 50;
    for (int step = 0; step < 4; ++step) {
        ASSERT_TRUE(wait_until([&] { return number_on_screen().value_or(UINT32_MAX) < last; }));
        last = *number_on_screen();
    }
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_SOF; }));
    EXPECT_TRUE(wait_for_number(first));

    click("fast_playback");
    ASSERT_TRUE(wait_for_rise_above(first + 60)) << "fast";
    click("forward_playback_2");
    const auto turned = number_on_screen().value_or(0);
    EXPECT_TRUE(wait_for_rise_above(turned + 15)) << "normal again";
    EXPECT_EQ(m_info.player_info.is_recording, 1);
    EXPECT_TRUE((m_info.action_bit & (1 << RECORD_BIT)) != 0);
}

TEST_F(Review, WhatIsTaggedLiveIsInTheListOfTheRecording) {
    ASSERT_TRUE(wait_until([] { return m_info.record_info.sec_size >= 2; }));
    click("tag_playback");
    review(3);
    const std::uint32_t first = first_recorded();
    click("tagin_list");
    auto* const list = part<QListWidget>("tag_list");
    ASSERT_EQ(list->count(), 1);
    const auto second = list->item(0)->text().toUInt();
    EXPECT_GE(second, 1U);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                      list->visualItemRect(list->item(0)).center());
    EXPECT_TRUE(wait_for_number(first + second * 25));
}

} // namespace
