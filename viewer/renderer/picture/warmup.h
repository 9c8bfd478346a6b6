#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/import/modeldata.h"

namespace ov3d::renderer {

/// What shaders are made for: the rest of a material is numbers to them.
enum class Surface
{
    plain,
    textured,
    coloured, ///< a colour at each vertex
    mapped,   ///< textured, with maps of bumps, roughness and occlusion
    glass,    ///< which a setting makes of everything
};

/// The commonest first: a request that comes meanwhile ends the warming up.
inline constexpr Surface kSurfaces[] = {Surface::plain, Surface::textured, Surface::mapped, Surface::coloured,
                                        Surface::glass};

/// A model that nobody sees: drawing it makes the driver translate the shaders that the first real one will need, which
/// takes ten times as long as drawing that one does.
ModelData warmUpModel(Surface surface);

/// The settings under which the model must be drawn.
protocol::RenderSettings warmUpSettings(Surface surface);

} // namespace ov3d::renderer
