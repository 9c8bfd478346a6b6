#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ov3d::renderer {

/// Which objects of a 3MF contain which, and how often that places them in the end. Neither cycles nor long chains cost
/// stack.
class ComponentGraph
{
public:
    using Name = std::pair<std::string, std::uint32_t>; ///< a part of the package and an id in it

    void addObject(const Name& name);

    /// Of the object that was added last.
    void addComponent(const Name& name);

    /// An object that the file wants to be shown.
    void addPlacement(const Name& name);

    /// @return a reason to refuse the file (a cycle, too deep, too many), or an empty text. Names that nobody added
    /// count as empty objects.
    [[nodiscard]] std::string check() const;

private:
    struct Object
    {
        std::vector<std::uint32_t> components;
    };

    std::uint32_t indexOf(const Name& name);

    std::map<Name, std::uint32_t> m_indices;
    std::vector<Object> m_objects;
    std::vector<std::uint32_t> m_placements;
    std::uint32_t m_last = 0;
};

} // namespace ov3d::renderer
