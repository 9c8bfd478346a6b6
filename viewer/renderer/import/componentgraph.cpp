#include "viewer/renderer/import/componentgraph.h"

#include "viewer/renderer/import/threemfcheck.h"

#include <algorithm>

namespace ov3d::renderer {
namespace {

enum class Mark : std::uint8_t
{
    untouched,
    open,
    done,
};

/// What is known of an object once everything in it has been seen.
struct Summary
{
    Mark mark = Mark::untouched;
    int depth = 0;
    std::uint64_t placed = 0; ///< saturates a little above the bound
};

struct Visit
{
    std::uint32_t object;
    std::size_t next = 0;
};

} // namespace

std::uint32_t ComponentGraph::indexOf(const Name& name)
{
    const auto [at, isNew] = m_indices.try_emplace(name, static_cast<std::uint32_t>(m_objects.size()));
    if (isNew)
        m_objects.emplace_back();
    return at->second;
}

void ComponentGraph::addObject(const Name& name)
{
    m_last = indexOf(name);
}

void ComponentGraph::addComponent(const Name& name)
{
    const std::uint32_t index = indexOf(name);
    if (m_last < m_objects.size())
        m_objects[m_last].components.push_back(index);
}

void ComponentGraph::addPlacement(const Name& name)
{
    m_placements.push_back(indexOf(name));
}

std::string ComponentGraph::check() const
{
    if (m_objects.size() > kMaxThreeMfObjects || m_placements.size() > kMaxPlacedObjects)
        return "holds more objects than allowed";
    std::vector<Summary> summaries(m_objects.size());
    std::vector<Visit> stack;
    // All of them, not only those that are placed: readers follow them all.
    for (std::uint32_t root = 0; root < m_objects.size(); ++root) {
        if (summaries[root].mark == Mark::untouched)
            stack.push_back({root});
        while (!stack.empty()) {
            Visit& visit = stack.back();
            Summary& own = summaries[visit.object];
            own.mark = Mark::open;
            const auto& components = m_objects[visit.object].components;
            if (visit.next < components.size()) {
                const std::uint32_t component = components[visit.next++];
                if (summaries[component].mark == Mark::open)
                    return "contains an object that contains itself";
                if (summaries[component].mark == Mark::untouched)
                    stack.push_back({component});
                continue;
            }
            own.placed = 1;
            for (const std::uint32_t component : components) {
                own.depth = std::max(own.depth, summaries[component].depth + 1);
                own.placed = std::min(own.placed + summaries[component].placed, kMaxPlacedObjects + 1);
            }
            own.mark = Mark::done;
            if (own.depth > kMaxComponentDepth)
                return kNestsTooDeeply;
            if (own.placed > kMaxPlacedObjects)
                return kRepeatsTooOften;
            stack.pop_back();
        }
    }
    std::uint64_t placed = 0;
    for (const std::uint32_t placement : m_placements)
        placed += summaries[placement].placed;
    return placed > kMaxPlacedObjects ? kRepeatsTooOften : "";
}

} // namespace ov3d::renderer
