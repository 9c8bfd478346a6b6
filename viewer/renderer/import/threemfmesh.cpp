#include "viewer/renderer/import/threemfmesh.h"

#include "viewer/renderer/import/meshtools.h"
#include "viewer/renderer/import/threemfhandles.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace ov3d::renderer {
namespace {

struct Properties
{
    NMR::eModelPropertyType type = NMR::MODELPROPERTYTYPE_NONE;
    std::uint32_t first = 0;  ///< group of a base material, or a texture, or whether a colour is translucent
    std::uint32_t second = 0; ///< index of a base material
    std::uint8_t colours[3][4] = {};
    float texcoords[3][2] = {};
};

class PropertyReader
{
public:
    explicit PropertyReader(void** object)
        : m_handler(threemf::get(NMR::lib3mf_meshobject_createpropertyhandler, object))
    {
    }

    [[nodiscard]] Properties at(std::uint32_t triangle) const
    {
        Properties properties;
        if (!m_handler || NMR::lib3mf_propertyhandler_getpropertytype(m_handler.get(), triangle, &properties.type) != 0)
            properties.type = NMR::MODELPROPERTYTYPE_NONE;
        bool known = false;
        if (properties.type == NMR::MODELPROPERTYTYPE_BASEMATERIALS)
            known = NMR::lib3mf_propertyhandler_getbasematerial(m_handler.get(), triangle, &properties.first,
                                                                &properties.second) == 0;
        else if (properties.type == NMR::MODELPROPERTYTYPE_COLOR)
            known = readColours(triangle, properties);
        else if (properties.type == NMR::MODELPROPERTYTYPE_TEXCOORD2D)
            known = readTexcoords(triangle, properties);
        if (!known)
            properties.type = NMR::MODELPROPERTYTYPE_NONE;
        return properties;
    }

private:
    bool readColours(std::uint32_t triangle, Properties& properties) const
    {
        NMR::MODELMESH_TRIANGLECOLOR_SRGB colours = {};
        if (NMR::lib3mf_propertyhandler_getcolor(m_handler.get(), triangle, &colours) != 0)
            return false;
        for (int corner = 0; corner < 3; ++corner) {
            const NMR::MODELMESHCOLOR_SRGB& colour = colours.m_Colors[corner];
            const std::uint8_t rgba[4] = {colour.m_Red, colour.m_Green, colour.m_Blue, colour.m_Alpha};
            std::copy_n(rgba, 4, properties.colours[corner]);
            if (rgba[3] < 255)
                properties.first = 1;
        }
        return true;
    }

    bool readTexcoords(std::uint32_t triangle, Properties& properties) const
    {
        NMR::MODELMESHTEXTURE2D texture = {};
        if (NMR::lib3mf_propertyhandler_gettexture(m_handler.get(), triangle, &texture) != 0)
            return false;
        properties.first = texture.m_nTextureID;
        for (int corner = 0; corner < 3; ++corner) {
            const float u = texture.m_fU[corner];
            const float v = texture.m_fV[corner];
            properties.texcoords[corner][0] = std::isfinite(u) ? u : 0;
            properties.texcoords[corner][1] = std::isfinite(v) ? v : 0;
        }
        return true;
    }

    threemf::Handle m_handler;
};

std::uint32_t materialOf(const Properties& properties, ThreeMfMaterials& materials)
{
    switch (properties.type) {
    case NMR::MODELPROPERTYTYPE_BASEMATERIALS:
        return materials.ofBase(properties.first, properties.second);
    case NMR::MODELPROPERTYTYPE_COLOR:
        return materials.ofColours(properties.first != 0);
    case NMR::MODELPROPERTYTYPE_TEXCOORD2D:
        return materials.ofTexture(properties.first);
    default:
        return materials.neutral();
    }
}

/// All usable triangles as they stand, and which of the object's each one is.
MeshData readTriangles(void** object, std::vector<std::uint32_t>& numbers, std::uint64_t& dropped)
{
    DWORD vertexCount = threemf::value<DWORD>(0, NMR::lib3mf_meshobject_getvertexcount, object);
    DWORD triangleCount = threemf::value<DWORD>(0, NMR::lib3mf_meshobject_gettrianglecount, object);
    std::vector<NMR::MODELMESHVERTEX> vertices(vertexCount);
    std::vector<NMR::MODELMESHTRIANGLE> triangles(triangleCount);
    MeshData mesh;
    if (vertexCount == 0 || triangleCount == 0 ||
        NMR::lib3mf_meshobject_getvertices(object, vertices.data(), vertexCount, &vertexCount) != 0 ||
        NMR::lib3mf_meshobject_gettriangleindices(object, triangles.data(), triangleCount, &triangleCount) != 0)
        return mesh;

    mesh.positions.reserve(vertices.size() * 3);
    for (const NMR::MODELMESHVERTEX& vertex : vertices)
        mesh.positions.insert(mesh.positions.end(), std::begin(vertex.m_fPosition), std::end(vertex.m_fPosition));
    const auto usable = [&](DWORD index) {
        return index < vertices.size() &&
               std::all_of(std::begin(vertices[index].m_fPosition), std::end(vertices[index].m_fPosition),
                           [](float value) { return std::isfinite(value); });
    };
    mesh.indices.reserve(triangles.size() * 3);
    for (std::uint32_t i = 0; i < triangles.size(); ++i) {
        const auto& corners = triangles[i].m_nIndices;
        if (!std::all_of(std::begin(corners), std::end(corners), usable)) {
            ++dropped;
            continue;
        }
        numbers.push_back(i);
        mesh.indices.insert(mesh.indices.end(), std::begin(corners), std::end(corners));
    }
    return mesh;
}

void appendTriangle(const MeshData& whole, std::size_t triangle, const Properties& properties, MeshData& part)
{
    const auto copy = [triangle](const std::vector<float>& from, std::vector<float>& to) {
        const auto begin = from.begin() + static_cast<std::ptrdiff_t>(triangle * 9);
        to.insert(to.end(), begin, begin + 9);
    };
    copy(whole.positions, part.positions);
    copy(whole.normals, part.normals);
    for (int corner = 0; corner < 3; ++corner) {
        if (properties.type == NMR::MODELPROPERTYTYPE_COLOR)
            part.colours.insert(part.colours.end(), std::begin(properties.colours[corner]),
                                std::end(properties.colours[corner]));
        else if (properties.type == NMR::MODELPROPERTYTYPE_TEXCOORD2D)
            part.texcoords.insert(part.texcoords.end(), std::begin(properties.texcoords[corner]),
                                  std::end(properties.texcoords[corner]));
        part.indices.push_back(static_cast<std::uint32_t>(part.indices.size()));
    }
}

} // namespace

std::vector<MeshData> readThreeMfMesh(void** object, ThreeMfMaterials& materials, std::uint64_t& dropped)
{
    std::vector<std::uint32_t> numbers;
    MeshData whole = readTriangles(object, numbers, dropped);
    if (whole.indices.empty())
        return {};
    // Of all triangles together, so that a smooth surface of several colours stays smooth.
    generateNormals(whole);

    using Key = std::tuple<NMR::eModelPropertyType, std::uint32_t, std::uint32_t>;
    std::map<Key, std::size_t> known;
    std::vector<MeshData> parts;
    const PropertyReader reader(object);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const Properties properties = reader.at(numbers[i]);
        const auto [at, isNew] =
            known.try_emplace({properties.type, properties.first, properties.second}, parts.size());
        if (isNew)
            parts.emplace_back().material = materialOf(properties, materials);
        appendTriangle(whole, i, properties, parts[at->second]);
    }
    for (MeshData& part : parts)
        joinIdenticalVertices(part);
    return parts;
}

} // namespace ov3d::renderer
