#include "viewer/renderer/environment/environments.h"

#include <system_error>

namespace ov3d::renderer {
namespace {

std::shared_ptr<const LightChain> chainFrom(const Radiance& radiance)
{
    return std::make_shared<const LightChain>(makeLightChain(radiance));
}

Radiance radianceOfSky(Sky sky)
{
    return [sky](Direction from) { return renderer::radianceOf(sky, from); };
}

} // namespace

void Environments::prepare()
{
    try {
        m_studio = std::async(std::launch::async, [] { return chainFrom(radianceOfSky(Sky::studio)); });
    } catch (const std::system_error&) {
        // No thread to be had: it is worked out when it is needed.
    }
}

bool Environments::useFile(const std::string& path, std::string& note)
{
    if (path.empty())
        return false;
    std::error_code error;
    const auto changed = std::filesystem::last_write_time(path, error);
    const std::uintmax_t size = error ? 0 : std::filesystem::file_size(path, error);
    if (path != m_path || changed != m_changed || size != m_size) {
        m_path = path;
        m_changed = changed;
        m_size = size;
        m_file.reset();
        m_reason.clear();
        auto image = std::make_unique<EnvironmentImage>();
        m_image = readRadianceFile(path, *image, m_reason) ? std::move(image) : nullptr;
    }
    if (!m_image)
        note = "environment " + path + " " + m_reason;
    return m_image != nullptr;
}

std::shared_ptr<const LightChain> Environments::chainOf(const Map& map)
{
    Chain& chain = map.source == MapSource::file  ? m_file
                   : map.source == MapSource::sky ? m_skies[static_cast<std::size_t>(map.sky)]
                                                  : m_even;
    if (!chain && map == Map{MapSource::sky, Sky::studio} && m_studio.valid())
        chain = m_studio.get();
    if (!chain)
        chain = chainFrom(radianceOf(map));
    return chain;
}

Radiance Environments::radianceOf(const Map& map) const
{
    switch (map.source) {
    case MapSource::file:
        if (m_image)
            return [image = m_image.get()](Direction from) { return image->at(from); };
        break;
    case MapSource::sky:
        return radianceOfSky(map.sky);
    case MapSource::even:
        break;
    }
    return evenRadiance;
}

} // namespace ov3d::renderer
