#pragma once

#include "viewer/renderer/import/gltfbuffers.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// The numbers of a glTF, as far as checks need them.
class GltfAccessors
{
public:
    struct Accessor
    {
        std::uint64_t count = 0;
        unsigned component_type = 0; ///< 5120 (signed byte) to 5126 (float)
        unsigned components = 0;     ///< 1 to 16
        std::uint64_t view = 0;
        std::uint64_t offset = 0; ///< in the view
        bool has_view = false;
        bool is_sparse = false;
        bool is_normalized = false; ///< whole numbers stand for 0 to 1, or -1 to 1
        std::string fault;          ///< why nobody may read it; harmless as long as nobody does
    };

    static constexpr unsigned kFloat = 5126;

    GltfAccessors(JsonValue root, std::string_view binary, const SideFiles& sideFiles);

    /// @return why none of it can be read, or an empty text.
    std::string read();

    /// After read(). @return nothing for an index that does not exist.
    [[nodiscard]] const Accessor* at(JsonValue index) const;

    /// After read(). @return why a view cannot be read, or an empty text.
    [[nodiscard]] std::string faultOfView(JsonValue index) const;

    /// Largest whole number in an accessor of unsigned bytes, shorts or words; 0 when its bytes cannot be had. Looks at
    /// each accessor once.
    /// @param index of an accessor that exists.
    std::uint64_t largest(JsonValue index);

    /// Whether accessors that share bytes made largest() look at more of them than any file needs. It gives 0 from then
    /// on.
    [[nodiscard]] bool isExhausted() const { return m_budget == 0; }

    /// All numbers of an accessor with a view; 0 where its bytes cannot be had. Throws std::bad_alloc.
    std::vector<float> floats(const Accessor& accessor);

private:
    struct View
    {
        std::uint64_t buffer = 0;
        std::uint64_t offset = 0;
        std::uint64_t bytes = 0;
        std::uint64_t stride = 0; ///< 0: as wide as an element
        std::string fault;
    };

    std::string readBuffers(std::vector<std::uint64_t>& sizes) const;
    void readView(JsonValue json, const std::vector<std::uint64_t>& buffers);
    Accessor readAccessor(JsonValue json);
    std::uint64_t findLargest(const Accessor& accessor);
    std::string checkSparse(JsonValue sparse, const Accessor& accessor);
    std::string checkRange(const Accessor& accessor) const;
    std::string_view bytesOf(const Accessor& accessor);
    /// Calls use(place, first byte) for each number whose bytes can be had, in order; places count from 0.
    template <typename Use> void forEachNumber(const Accessor& accessor, Use use);

    JsonValue m_root;
    std::string_view m_binary;
    GltfBuffers m_buffers;
    std::vector<View> m_views;
    std::vector<Accessor> m_accessors;
    std::map<std::uint64_t, std::uint64_t> m_largest; ///< by accessor
    std::uint64_t m_budget;                           ///< elements that may still be looked at
};

} // namespace ov3d::renderer
