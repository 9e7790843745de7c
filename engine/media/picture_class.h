// What other pictures need a coded picture for.
#pragma once

namespace velmora {

enum class PictureClass {
    key,               ///< decoding can begin with it
    reference,         ///< predicted from the past, others need it
    two_way_reference, ///< predicted from both sides, others need it
    disposable         ///< no other picture needs it
};

} // namespace velmora
