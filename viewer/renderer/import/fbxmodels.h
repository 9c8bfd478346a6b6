#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ov3d::renderer {

/// Most models that an FBX may place, each place counted.
inline constexpr std::uint64_t kMaxPlacedFbxModels = 1'000'000;

/// Which models of an FBX stand in which. Readers follow these connections with their own calls, so circles and long
/// chains must not reach them.
class FbxModels
{
public:
    void addModel(std::int64_t id) { m_ids.push_back(id); }

    /// Connections of other objects than models may be added too; they do not count.
    void addConnection(std::int64_t child, std::int64_t parent) { m_connections.emplace_back(child, parent); }

    /// Call once. @return what is wrong, or an empty text. Without recursion; throws std::bad_alloc.
    std::string check();

private:
    [[nodiscard]] std::size_t indexOf(std::int64_t id) const;

    std::vector<std::int64_t> m_ids;
    std::vector<std::pair<std::int64_t, std::int64_t>> m_connections;
};

} // namespace ov3d::renderer
