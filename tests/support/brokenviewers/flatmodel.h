#pragma once

#include <string>
#include <vector>

namespace flatviewer {

struct Colour
{
    int red = 0;
    int green = 0;
    int blue = 0;
};

/// What the flat viewer makes of an OBJ file: its colour and its side files. No shape.
struct Model
{
    bool isShown = false; ///< false: missing or damaged
    Colour colour{200, 60, 140};
    std::vector<std::string> libraries; ///< relative to the model's folder
    std::vector<std::string> textures;  ///< the same
};

Model readModel(const std::string& path);

} // namespace flatviewer
