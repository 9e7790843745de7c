// Access to the engine's optional second table.
#pragma once

#include "loadlib.h"

#include <cstddef>

/// The function in a slot of m_velmora_ext; null when the engine has no such table or an older, shorter one.
/// @param slot such as &velmora_ext_t::Velmora_set_volume
template <class Function>
Function engine_extension(Function velmora_ext_t::*slot) {
    if (m_velmora_ext == nullptr) {
        return nullptr;
    }
    const auto* const table = reinterpret_cast<const std::byte*>(m_velmora_ext);
    const auto* const entry = reinterpret_cast<const std::byte*>(&(m_velmora_ext->*slot));
    const auto end = static_cast<std::size_t>(entry - table) + sizeof(Function);
    return end <= m_velmora_ext->size ? m_velmora_ext->*slot : nullptr;
}
