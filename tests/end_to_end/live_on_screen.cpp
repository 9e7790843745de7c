#include "live_on_screen.h"

#include "dialog_driver.h"

#include <QGroupBox>

#include <fstream>
#include <iterator>
#include <string>

StreamRecipe LiveOnScreen::live_recipe() {
    StreamRecipe recipe;
    recipe.duration = 20;
    recipe.first = first_number;
    recipe.audio = "mp2";
    recipe.mux_options = "-muxrate " + std::to_string(kilobits_per_second) + "k";
    return recipe;
}

std::vector<std::uint8_t> LiveOnScreen::live_stream() {
    std::ifstream file{make_stream(live_recipe()), std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

SendRecipe LiveOnScreen::to_port(std::uint16_t port) {
    SendRecipe recipe;
    recipe.target.port = port;
    recipe.loops = true;
    return recipe;
}

void LiveOnScreen::watch(const std::function<void(QDialog&)>& choose) {
    in_dialog("actionNetwork_Stream", [&](QDialog& dialog) {
        choose(dialog);
        click_on(dialog, "playNetwork");
    });
}

void LiveOnScreen::choose_unicast(QDialog& dialog, std::uint16_t port) {
    click_on(dialog, "transportRD");
    click_on(dialog, "unicasRd");
    type_into(dialog, "portLE", QString::number(port));
}

void LiveOnScreen::choose_recording(QDialog& dialog) {
    if (!::part<QGroupBox>(dialog, "record_grp").isChecked()) {
        click_on(dialog, "record_grp");
    }
}

bool LiveOnScreen::wait_for_live_picture() const {
    return wait_until([this] { return number_on_screen().value_or(0) >= first_number; });
}
