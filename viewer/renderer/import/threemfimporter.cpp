#include "viewer/renderer/import/threemfimporter.h"

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/filebytes.h"
#include "viewer/renderer/import/importwords.h"
#include "viewer/renderer/import/modelassembly.h"
#include "viewer/renderer/import/threemfcheck.h"
#include "viewer/renderer/import/threemfhandles.h"
#include "viewer/renderer/import/threemfmaterials.h"
#include "viewer/renderer/import/threemfmesh.h"
#include "viewer/renderer/import/threemfpackage.h"

#include <map>
#include <new>
#include <vector>

namespace ov3d::renderer {
namespace {

using threemf::Handle;

/// Shares of the whole import, in percent.
constexpr int kCheckShare = 15;
constexpr int kReadShare = 65;

bool reportProgress(int percent, NMR::ProgressIdentifier, void* user)
{
    const auto& request = *static_cast<const ImportRequest*>(user);
    if (percent >= 0 && percent <= 100)
        request.progress(kCheckShare + (kReadShare - kCheckShare) * percent / 100);
    return true;
}

/// The world of 3MF has +Z upwards.
Matrix zUpToYUp()
{
    Matrix axes;
    axes.m[1][1] = axes.m[2][2] = 0;
    axes.m[1][2] = 1;
    axes.m[2][1] = -1;
    return axes;
}

/// Puts the objects of a model at their places.
class Placer
{
public:
    /// @param meshObjects how many objects of the model have meshes.
    Placer(ThreeMfMaterials& materials, std::size_t meshObjects, const std::function<void(int)>& progress)
        : m_materials(materials)
        , m_meshObjects(meshObjects)
        , m_progress(progress)
    {
    }

    /// Stops at the bounds of the check, should the reader see more in a file than the check did.
    void place(void** object, const Matrix& place, int depth = 0)
    {
        if (!mayPlace(depth))
            return;
        if (threemf::value<BOOL>(0, NMR::lib3mf_object_ismeshobject, object)) {
            placeMesh(object, place);
            return;
        }
        const auto count = threemf::value<DWORD>(0, NMR::lib3mf_componentsobject_getcomponentcount, object);
        for (DWORD i = 0; i < count && m_reason.empty(); ++i) {
            const Handle component = threemf::get(NMR::lib3mf_componentsobject_getcomponent, object, i);
            const Handle inner =
                component ? threemf::get(NMR::lib3mf_component_getobjectresource, component.get()) : Handle();
            NMR::MODELTRANSFORM transform = {};
            if (!inner)
                continue;
            const bool moved = threemf::value<BOOL>(0, NMR::lib3mf_component_hastransform, component.get()) &&
                               NMR::lib3mf_component_gettransform(component.get(), &transform) == 0;
            this->place(inner.get(), moved ? place * threemf::toMatrix(transform) : place, depth + 1);
        }
    }

    /// Why no more may be placed; usually empty.
    [[nodiscard]] const std::string& reason() const { return m_reason; }

    void finish(ModelData& model)
    {
        if (m_dropped > 0)
            model.notes.push_back(std::to_string(m_dropped) + (m_dropped == 1 ? " face" : " faces") +
                                  " with positions that do not exist or are no numbers left out");
        assembleModel(m_meshes, m_instances, model);
    }

private:
    bool mayPlace(int depth)
    {
        if (depth > kMaxComponentDepth)
            m_reason = kNestsTooDeeply;
        else if (++m_placed > kMaxPlacedObjects)
            m_reason = kRepeatsTooOften;
        return m_reason.empty();
    }

    void placeMesh(void** object, const Matrix& place)
    {
        const auto [at, isNew] = m_known.try_emplace(threemf::resourceId(object));
        if (isNew) {
            at->second.first = m_meshes.size();
            for (MeshData& mesh : readThreeMfMesh(object, m_materials, m_dropped))
                m_meshes.push_back(std::move(mesh));
            at->second.second = m_meshes.size();
            m_progress(kReadShare + static_cast<int>((100 - kReadShare) * m_known.size() / (m_meshObjects + 1)));
        }
        if (!place.isFinite())
            return;
        for (std::size_t mesh = at->second.first; mesh < at->second.second; ++mesh) {
            m_triangles += m_meshes[mesh].indices.size() / 3;
            m_instances.push_back({mesh, place});
        }
        if (m_triangles > kMaxPlacedTriangles)
            m_reason = kRepeatsTooOften;
    }

    ThreeMfMaterials& m_materials;
    std::size_t m_meshObjects;
    const std::function<void(int)>& m_progress;
    std::map<std::uint32_t, std::pair<std::size_t, std::size_t>> m_known; ///< range of meshes by resource
    std::vector<MeshData> m_meshes;
    std::vector<MeshInstance> m_instances;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_placed = 0;
    std::uint64_t m_triangles = 0;
    std::string m_reason;
};

std::size_t countMeshObjects(void** model)
{
    const Handle objects = threemf::get(NMR::lib3mf_model_getmeshobjects, model);
    std::size_t count = 0;
    BOOL more = 0;
    while (objects && NMR::lib3mf_resourceiterator_movenext(objects.get(), &more) == 0 && more)
        ++count;
    return count;
}

void placeBuild(void** model, Placer& placer)
{
    const Handle items = threemf::get(NMR::lib3mf_model_getbuilditems, model);
    BOOL more = 0;
    while (items && placer.reason().empty() && NMR::lib3mf_builditemiterator_movenext(items.get(), &more) == 0 &&
           more) {
        const Handle item = threemf::get(NMR::lib3mf_builditemiterator_getcurrent, items.get());
        const Handle object = item ? threemf::get(NMR::lib3mf_builditem_getobjectresource, item.get()) : Handle();
        NMR::MODELTRANSFORM transform = {};
        if (!object)
            continue;
        const bool moved = threemf::value<BOOL>(0, NMR::lib3mf_builditem_hasobjecttransform, item.get()) &&
                           NMR::lib3mf_builditem_getobjecttransform(item.get(), &transform) == 0;
        placer.place(object.get(), moved ? zUpToYUp() * threemf::toMatrix(transform) : zUpToYUp());
    }
}

std::string readingError(void** reader, const std::string& path)
{
    DWORD code = 0;
    LPCSTR message = nullptr;
    NMR::lib3mf_getlasterror(reader, &code, &message);
    return plainReason(message != nullptr ? message : "", kFormat3mf, path, {});
}

} // namespace

ImportResult ThreeMfImporter::read(const ImportRequest& request)
{
    ImportResult result;
    FileBytes bytes;
    if (!bytes.open(request.path, result.reason))
        return result;
    ZipPackage package;
    ThreeMfCheck check = checkThreeMf(bytes.data(), bytes.size(), package);
    if (!check.reason.empty()) {
        result.reason = check.reason;
        return result;
    }
    result.model.notes = std::move(check.notes);
    request.progress(kCheckShare);

    const Handle model = threemf::get(NMR::lib3mf_createmodel);
    const Handle reader = model ? threemf::get(NMR::lib3mf_model_queryreader, model.get(), "3mf") : Handle();
    if (!reader)
        throw std::bad_alloc();
    NMR::lib3mf_reader_setprogresscallback(reader.get(), &reportProgress, const_cast<ImportRequest*>(&request));
    std::vector<BYTE> models = modelsAlone(package, check.models, check.relations);
    if (NMR::lib3mf_reader_readfrombuffer(reader.get(), models.data(), models.size()) != 0) {
        result.reason = readingError(reader.get(), request.path);
        return result;
    }
    request.progress(kReadShare);

    ThreeMfMaterials materials(model.get(), package, request, result.model);
    Placer placer(materials, countMeshObjects(model.get()), request.progress);
    placeBuild(model.get(), placer);
    if (!placer.reason().empty()) {
        result.reason = placer.reason();
        return result;
    }
    placer.finish(result.model);
    result.ok = !result.model.meshes.empty();
    if (!result.ok)
        result.reason = "holds nothing that can be drawn";
    return result;
}

} // namespace ov3d::renderer
