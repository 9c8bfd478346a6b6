#pragma once

#include "tests/support/brokenviewers/breaches.h"
#include "tests/support/brokenviewers/flatmodel.h"

#include <cstdint>
#include <vector>

namespace flatviewer {

/// All that a picture of the flat viewer depends on.
struct PictureRequest
{
    int width = 0;
    int height = 0;
    double shift = 0; ///< of the model to the right, pixels
    bool isCard = false;
    bool isOpaque = false; ///< the background is `background`
    Colour background{92, 238, 20};
    Colour model;
};

[[nodiscard]] std::size_t bytesOfRow(int width);

/// A rectangle in the model's colour, before a background; rows padded. A card is a grey plate with a red bar.
[[nodiscard]] std::vector<std::uint8_t> drawPicture(const PictureRequest& request, Breach breach);

} // namespace flatviewer
