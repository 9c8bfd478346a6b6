/// libFuzzer's entry for one file format: writes the bytes to a file of its own folder and imports it.

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/importer.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace ov3d::renderer;

constexpr std::string_view kSuffix = OV3D_FUZZ_SUFFIX;

std::int32_t formatOfSuffix()
{
    constexpr std::string_view suffixes[] = {"fbx", "obj", "gltf", "stl", "glb", "3mf"}; // in the order of ModelFormat
    std::int32_t format = kFormatFbx;
    for (const std::string_view suffix : suffixes) {
        if (suffix == kSuffix)
            return format;
        ++format;
    }
    std::abort();
}

/// A folder with nothing else in it, so that no side file is found.
std::string modelPath()
{
    static const std::string path = [] {
        char folder[] = "/tmp/ov3d-fuzz-XXXXXX";
        if (::mkdtemp(folder) == nullptr)
            std::abort();
        return std::string(folder) + "/model." + std::string(kSuffix);
    }();
    return path;
}

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// What the rest of the renderer takes for granted.
void checkModel(const ModelData& model)
{
    require(std::isfinite(model.radius) && !model.meshes.empty());
    for (const MeshData& mesh : model.meshes) {
        const std::size_t vertices = mesh.positions.size() / 3;
        require(mesh.material < model.materials.size() && !mesh.indices.empty());
        require(mesh.normals.empty() || mesh.normals.size() == vertices * 3);
        require(mesh.texcoords.empty() || mesh.texcoords.size() == vertices * 2);
        require(mesh.colours.empty() || mesh.colours.size() == vertices * 4);
        for (const std::uint32_t index : mesh.indices)
            require(index < vertices);
        for (const float value : mesh.positions)
            require(std::isfinite(value));
    }
    for (const MaterialData& material : model.materials)
        require(material.base_texture < static_cast<int>(model.textures.size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::FILE* file = std::fopen(modelPath().c_str(), "wb");
    require(file != nullptr && (size == 0 || std::fwrite(data, 1, size, file) == size));
    std::fclose(file);

    ImportRequest request;
    request.path = modelPath();
    request.model_format = formatOfSuffix();
    const ImportResult result = importModel(request);
    require(result.ok || !result.reason.empty());
    if (result.ok)
        checkModel(result.model);
    return 0;
}
