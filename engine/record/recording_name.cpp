#include "record/recording_name.h"

#include <array>

namespace velmora {

std::string recording_name(std::time_t time) {
    ::tzset(); // localtime_r alone does not notice that the machine has moved to another time zone
    std::tm local{};
    ::localtime_r(&time, &local);
    std::array<char, 64> name{};
    const std::size_t size = std::strftime(name.data(), name.size(), "%Y-%m-%d_%H-%M-%S.ts", &local);
    return {name.data(), size};
}

std::string numbered_name(std::string_view name, int number) {
    if (number == 1) {
        return std::string{name};
    }
    const std::size_t dot = name.rfind('.');
    const std::size_t stem = dot == std::string_view::npos || dot == 0 ? name.size() : dot;
    std::string numbered{name.substr(0, stem)};
    numbered.append(1, '_').append(std::to_string(number)).append(name.substr(stem));
    return numbered;
}

} // namespace velmora
