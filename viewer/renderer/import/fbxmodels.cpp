#include "viewer/renderer/import/fbxmodels.h"

#include "viewer/renderer/import/gltfcheck.h"

#include <algorithm>

namespace ov3d::renderer {
namespace {

struct Model
{
    std::vector<std::uint32_t> children;
    std::uint32_t parents_left = 0;
    int depth = 1;            ///< of the longest chain that ends here
    std::uint64_t placed = 0; ///< saturates a little above the bound
};

} // namespace

std::size_t FbxModels::indexOf(std::int64_t id) const
{
    const auto at = std::lower_bound(m_ids.begin(), m_ids.end(), id);
    return at != m_ids.end() && *at == id ? static_cast<std::size_t>(at - m_ids.begin()) : m_ids.size();
}

std::string FbxModels::check()
{
    std::sort(m_ids.begin(), m_ids.end());
    m_ids.erase(std::unique(m_ids.begin(), m_ids.end()), m_ids.end());
    std::vector<Model> models(m_ids.size());
    for (const auto& [child, parent] : m_connections) {
        const std::size_t inner = indexOf(child);
        const std::size_t outer = indexOf(parent);
        if (inner == models.size() || outer == models.size())
            continue;
        models[outer].children.push_back(static_cast<std::uint32_t>(inner));
        ++models[inner].parents_left;
    }

    // Parents before children. A model in a circle waits for itself and never gets its turn.
    std::vector<std::uint32_t> ready;
    for (std::uint32_t i = 0; i < models.size(); ++i)
        if (models[i].parents_left == 0) {
            models[i].placed = 1;
            ready.push_back(i);
        }
    std::uint64_t placed = 0;
    for (std::size_t next = 0; next < ready.size(); ++next) {
        const Model& model = models[ready[next]];
        placed += model.placed;
        if (model.depth > kMaxNodeDepth)
            return "nests its models too deeply";
        if (placed > kMaxPlacedFbxModels)
            return "repeats its models too often";
        for (const std::uint32_t index : model.children) {
            Model& child = models[index];
            child.depth = std::max(child.depth, model.depth + 1);
            child.placed = std::min(child.placed + model.placed, kMaxPlacedFbxModels + 1);
            if (--child.parents_left == 0)
                ready.push_back(index);
        }
    }
    return ready.size() == models.size() ? "" : "is damaged: a model contains itself";
}

} // namespace ov3d::renderer
