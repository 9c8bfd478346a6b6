#pragma once

#include "viewer/renderer/environment/environmentimage.h"
#include "viewer/renderer/environment/lightchain.h"
#include "viewer/renderer/environment/lightplan.h"

#include <array>
#include <filesystem>
#include <future>
#include <memory>
#include <string>

namespace ov3d::renderer {

/// The environments that pictures have asked for, each worked out once. Belongs to one thread.
class Environments
{
public:
    /// Begins to work out the studio, which every picture with default settings needs, on a thread of its own.
    void prepare();

    /// Makes a user's file the one that MapSource::file stands for. A file that has changed is read again.
    /// @return false when the path is empty, and, with plain words in `note`, when the file cannot be used.
    bool useFile(const std::string& path, std::string& note);

    /// Waits for a preparation that runs. Throws std::bad_alloc.
    std::shared_ptr<const LightChain> chainOf(const Map& map);

    /// Valid until the next useFile.
    [[nodiscard]] Radiance radianceOf(const Map& map) const;

private:
    using Chain = std::shared_ptr<const LightChain>;

    std::future<Chain> m_studio;
    std::array<Chain, kSkyCount> m_skies;
    Chain m_even;

    std::string m_path;
    std::filesystem::file_time_type m_changed;
    std::uintmax_t m_size = 0;
    std::string m_reason; ///< why the file cannot be used
    std::unique_ptr<EnvironmentImage> m_image;
    Chain m_file;
};

} // namespace ov3d::renderer
