#include "diagnostics/message_board.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Severity = MessageBoard::Severity;
using State = MessageBoard::State;

class Messages : public testing::Test {
protected:
    void post(const char* text) { board_.post(Severity::error, "test", text, text); }
    void begin(State state, const char* text) { board_.begin(state, Severity::warning, "test", text); }

    ManualTime time_;
    MessageBoard board_{time_};
};

TEST_F(Messages, ThereIsNoneAtFirst) {
    EXPECT_EQ(board_.newest(), std::nullopt);
    board_.end(State::no_signal);
    EXPECT_EQ(board_.newest(), std::nullopt);
}

TEST_F(Messages, TheNewestEventStandsUntilAnotherComes) {
    post("first");
    EXPECT_EQ(board_.newest(), (MessageBoard::Message{1, Severity::error, false, "first"}));
    time_.time += 1h;
    EXPECT_EQ(board_.newest()->text, "first");
    post("second");
    EXPECT_EQ(board_.newest(), (MessageBoard::Message{2, Severity::error, false, "second"}));
}

TEST_F(Messages, AStateKeepsItsNumberWhileItsTextChanges) {
    begin(State::no_signal, "no signal for 2 s");
    begin(State::no_signal, "no signal for 3 s");
    EXPECT_EQ(board_.newest(), (MessageBoard::Message{1, Severity::warning, true, "no signal for 3 s"}));
}

TEST_F(Messages, AStateThatIsOverIsWithdrawnUnderItsNumber) {
    begin(State::no_signal, "no signal");
    board_.end(State::no_signal);
    EXPECT_EQ(board_.newest(), (MessageBoard::Message{1, std::nullopt, false, ""}));
    begin(State::no_signal, "no signal again");
    EXPECT_EQ(board_.newest()->number, 2U);
}

TEST_F(Messages, AnEventStandsBeforeAStateForItsTime) {
    begin(State::no_signal, "no signal");
    post("recording ended");
    time_.time += MessageBoard::event_time - 1ms;
    EXPECT_EQ(board_.newest()->text, "recording ended");
    time_.time += 1ms;
    EXPECT_EQ(board_.newest()->text, "no signal");
}

TEST_F(Messages, AStateThatBeginsReplacesAnEventAtOnce) {
    post("recording begun");
    begin(State::scrambled, "scrambled");
    EXPECT_EQ(board_.newest()->text, "scrambled");
}

TEST_F(Messages, TheStateBeneathComesBackWhenTheOneAboveIsOver) {
    begin(State::no_sound_device, "no sound device");
    begin(State::scrambled, "scrambled");
    board_.end(State::scrambled);
    EXPECT_EQ(board_.newest(), (MessageBoard::Message{1, Severity::warning, true, "no sound device"}));
    board_.end(State::no_sound_device);
    EXPECT_EQ(board_.newest()->severity, std::nullopt);
}

TEST_F(Messages, AnEventOutlivesTheStateBeforeIt) {
    begin(State::no_signal, "no signal");
    post("recording ended");
    board_.end(State::no_signal);
    EXPECT_EQ(board_.newest()->text, "recording ended");
}

} // namespace
} // namespace velmora
