#pragma once

#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/scene/materiallook.h"

class vtkActor;

namespace ov3d::renderer {

/// What the shader of one actor must do. Each combination is a program of its own that the driver translates at its
/// first use, so everything that is a mere number is a uniform instead.
struct SurfaceShader
{
    Shading shading = Shading::lit;
    bool base_texture = false;      ///< "baseTex" is there
    bool colour_from_base = false;  ///< and multiplies the colour; its alpha counts either way
    bool vertex_colours = false;    ///< colours come with the vertices
    bool roughness_texture = false; ///< "materialTex" is there
    bool normal_texture = false;    ///< "normalTex"
    bool occlusion_texture = false; ///< "occlusionTex"
    bool emissive_texture = false;  ///< "glowTex"
    bool grain = false;             ///< "grainTex": the stone's
    bool cut_out = false;           ///< what does not reach the cutoff is not drawn
    bool file_opacity = true;       ///< the cut-out counts the surface's opacity, which is then 1
    bool blend = false;             ///< translucent; otherwise alpha is 1
    bool glassy = false;            ///< translucent all over: highlights and edges hide what is behind
    bool behind = false;            ///< a trace farther away than it is: two shaders may round one place differently
    bool round_points = false;
    bool shaded_points = false; ///< darker towards the rim
};

/// Sets the actor's shader up, on top of what VTK generates for its physically based interpolation. Textures, colours
/// and factors are the property's; this adds the texture transforms and the cut-out's numbers of `material`. Base and
/// emissive textures have names of their own: VTK would have the driver decode them, which a software driver does for
/// each texel that it looks at, before it interpolates.
///
/// The shading ends in kDisplayShader. At least one light, if only a black one, must be there, for without any VTK
/// shades nothing.
void setUpShader(vtkActor& actor, const SurfaceShader& shader, const MaterialData& material);

} // namespace ov3d::renderer
