#pragma once

#include "viewer/renderer/import/matrix.h"

#include <Model/COM/NMR_DLLInterfaces.h>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

/// Thin wrappers of lib3mf's plain C interface: who owns what, and texts as strings.
namespace ov3d::renderer::threemf {

struct Release
{
    void operator()(void** instance) const { NMR::lib3mf_release(instance); }
};

/// Any object of lib3mf's.
using Handle = std::unique_ptr<void*, Release>;

/// Calls a function of lib3mf's that hands out an object in its last argument. @return nothing when it fails.
template <typename Function, typename... Arguments> Handle get(Function function, Arguments... arguments)
{
    void** instance = nullptr;
    return function(arguments..., &instance) == 0 ? Handle(instance) : Handle();
}

/// Calls a function that writes a number or a structure into its last argument. @return `fallback` when it fails.
template <typename Value, typename Function, typename... Arguments>
Value value(Value fallback, Function function, Arguments... arguments)
{
    Value result = fallback;
    return function(arguments..., &result) == 0 ? result : fallback;
}

/// Calls a function that fills a buffer with a text.
template <typename Function, typename... Arguments> std::string text(Function function, Arguments... arguments)
{
    ULONG needed = 0;
    if (function(arguments..., nullptr, 0, &needed) != 0 || needed == 0 || needed > 4096)
        return {};
    std::string buffer(needed + 1, '\0');
    if (function(arguments..., buffer.data(), needed + 1, &needed) != 0)
        return {};
    buffer.resize(buffer.find('\0'));
    return buffer;
}

inline std::uint32_t resourceId(void** resource)
{
    return value<DWORD>(0, NMR::lib3mf_resource_getresourceid, resource);
}

/// A transform that holds something else than finite numbers counts as none.
inline Matrix toMatrix(const NMR::MODELTRANSFORM& transform)
{
    Matrix matrix;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            matrix.m[row][column] = double{transform.m_fFields[row][column]};
    return matrix.isFinite() ? matrix : Matrix{};
}

} // namespace ov3d::renderer::threemf
