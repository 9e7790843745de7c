// The data of a live stream goes where Media, Data says while the stream is viewed.
#include "dialog_driver.h"
#include "live_on_screen.h"

#include "engine/table/datagram_collector.h"
#include "player_state.h"
#include "support/data_stream.h"

#include <QFile>
#include <QGroupBox>

namespace {

QByteArray joined(const std::vector<std::vector<std::uint8_t>>& units) {
    QByteArray bytes;
    for (const auto& unit : units) {
        bytes.append(reinterpret_cast<const char*>(unit.data()), static_cast<int>(unit.size()));
    }
    return bytes;
}

class DataOnItsWay : public LiveOnScreen {
protected:
    void choose_targets() {
        in_dialog("actionData", [this](QDialog& dialog) {
            check(dialog, "data_eth_enable");
            type_into(dialog, "data_eth_ip", QStringLiteral("127.0.0.1"));
            type_into(dialog, "data_eth_port", QString::number(collector_.port()));
            check(dialog, "data_file_enable");
            type_into(dialog, "data_file_name", file_.fileName());
            click_on(dialog, "save_data_param");
        });
    }

    QTemporaryDir folder_;
    QFile file_{folder_.filePath(QStringLiteral("telemetry.bin"))};
    DatagramCollector collector_;
    std::uint16_t port_{free_udp_port()};

private:
    static void check(QDialog& dialog, const char* group) {
        if (!::part<QGroupBox>(dialog, group).isChecked()) {
            click_on(dialog, group);
        }
    }
};

TEST_F(DataOnItsWay, EveryUnitReachesTheFileAndTheAddressThatWereChosen) {
    const DataStream made = with_data(live_stream(), DataCarriage::asynchronous);
    choose_targets();
    watch([this](QDialog& dialog) { choose_unicast(dialog, port_); });
    SendRecipe recipe = to_port(port_);
    recipe.loops = false;
    const StreamSender sender{made.stream, recipe};
    ASSERT_TRUE(wait_for_live_picture());
    constexpr int units = 100;
    ASSERT_TRUE(wait_until([] { return m_info.get_strm_info.d_packets >= units; }));
    EXPECT_GT(m_info.get_strm_info.d_bitrate, 0);

    const auto datagrams = collector_.take(units);
    ASSERT_EQ(datagrams.size(), std::size_t{units});
    EXPECT_TRUE(std::equal(datagrams.begin(), datagrams.end(), made.units.begin()))
        << "from the first one on";
    const QByteArray expected = joined({made.units.begin(), made.units.begin() + units});
    ASSERT_TRUE(wait_until([&] { return file_.size() >= expected.size(); }));
    ASSERT_TRUE(file_.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file_.readAll().startsWith(expected));
    const auto number = number_on_screen();
    EXPECT_TRUE(wait_until([&] { return number_on_screen() > number; })) << "the view goes on";
}

} // namespace
