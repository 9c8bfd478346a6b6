#include "tests/support/brokenviewers/flatmodel.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace flatviewer {

namespace {

void readLibrary(const std::string& path, Model& model)
{
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "Kd") {
            double part[3] = {};
            words >> part[0] >> part[1] >> part[2];
            const auto level = [](double value) { return static_cast<int>(std::lround(value * 255)); };
            model.colour = {level(part[0]), level(part[1]), level(part[2])};
        } else if (word == "map_Kd") {
            std::string texture;
            words >> texture;
            model.textures.push_back(texture);
            model.colour = {180, 60, 160};
        }
    }
}

} // namespace

Model readModel(const std::string& path)
{
    Model model;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        model.isShown = model.isShown || word == "v";
        if (word == "mtllib") {
            words >> word;
            model.libraries.push_back(word);
            readLibrary(path.substr(0, path.rfind('/') + 1) + word, model);
        }
    }
    return model;
}

} // namespace flatviewer
