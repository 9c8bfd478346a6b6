#include "viewer/renderer/scene/materialshader.h"

#include "viewer/renderer/environment/exposure.h"

#include <algorithm>
#include <string>
#include <vtkActor.h>
#include <vtkShaderProperty.h>
#include <vtkUniforms.h>

namespace ov3d::renderer {
namespace {

/// Formulas in place of what takes several times as long on a software driver: a polynomial for sRGB's power, its error
/// below half a step of 255, and a known fit for the share of the environment that a surface reflects, which VTK looks
/// up in a texture.
constexpr const char* kColourFunctions = R"(
vec2 reflectance(float NdV, float roughness)
{
  vec4 r = roughness * vec4(-1.0, -0.0275, -0.572, 0.022) + vec4(1.0, 0.0425, 1.04, -0.04);
  float a = min(r.x * r.x, exp2(-9.28 * NdV)) * r.x + r.y;
  return vec2(-1.04, 1.04) * a + r.zw;
}
vec3 linearOf(vec3 displayed)
{
  return displayed * (displayed * (displayed * 0.305306011 + 0.682171111) + 0.012522878);
}
)";

/// Where a map is read: the mesh's texture coordinates, or those moved by two uniforms.
std::string coordinates(const TextureMap& map, const std::string& name, vtkUniforms& uniforms)
{
    const TextureMap still;
    const bool moved = !std::equal(&map.m[0][0], &map.m[0][0] + 6, &still.m[0][0]);
    if (!moved)
        return "tcoordVCVSOutput";
    for (int row = 0; row < 2; ++row)
        uniforms.SetUniform3f((name + "Row" + std::to_string(row)).c_str(), map.m[row]);
    const std::string place = "vec3(tcoordVCVSOutput, 1.0)";
    return "vec2(dot(" + name + "Row0, " + place + "), dot(" + name + "Row1, " + place + "))";
}

/// Bends the normal by a map of directions. The axes along which the texture runs follow from how its coordinates
/// change over the picture, so that mirrored halves and meshes without tangents come out right.
std::string normalMapping(const std::string& at)
{
    return "  vec2 bumpAt = " + at + R"(;
  vec3 placeX = dFdx(vertexVC.xyz);
  vec3 placeY = dFdy(vertexVC.xyz);
  vec2 bumpX = dFdx(bumpAt);
  vec2 bumpY = dFdy(bumpAt);
  vec3 sideX = cross(placeY, normalVCVSOutput);
  vec3 sideY = cross(normalVCVSOutput, placeX);
  vec3 alongU = sideX * bumpX.x + sideY * bumpY.x;
  vec3 alongV = sideX * bumpX.y + sideY * bumpY.y;
  float longest = max(max(dot(alongU, alongU), dot(alongV, alongV)), 1e-30);
  vec3 bump = texture(normalTex, bumpAt).xyz * 2.0 - 1.0;
  bump.xy *= bumpScale * inversesqrt(longest);
  normalVCVSOutput = normalize(alongU * bump.x + alongV * bump.y + normalVCVSOutput * max(bump.z, 0.05));
)";
}

/// Speckles from three sides, so that no texture coordinates are needed.
constexpr const char* kGrain = R"(
  vec3 grainSide = cross(dFdx(placeVSOutput), dFdy(placeVSOutput));
  vec3 grainShare = grainSide * grainSide + 1e-20;
  grainShare = grainShare / (grainShare.x + grainShare.y + grainShare.z);
  vec3 grainAt = placeVSOutput * 2.2;
  diffuseColor *= texture(grainTex, grainAt.yz).rgb * grainShare.x + texture(grainTex, grainAt.zx).rgb * grainShare.y +
    texture(grainTex, grainAt.xy).rgb * grainShare.z;
)";

/// Adds something that a vertex hands to the fragments, under its name in the vertex shader.
void addVarying(vtkShaderProperty& shader, const std::string& declarations, const std::string& type,
                const std::string& stem, const std::string& value)
{
    const std::string dec = "//VTK::Light::Dec";
    const std::string impl = "//VTK::Light::Impl";
    const std::string out = stem + "VSOutput";
    // VTK puts a shader for wide lines in between where the driver has none, and renames what the fragments read.
    const std::string between = stem + "GSOutput";
    shader.AddVertexShaderReplacement(dec, true, declarations + "out " + type + " " + out + ";\n" + dec + "\n", false);
    shader.AddVertexShaderReplacement(impl, true, "  " + out + " = " + value + ";\n" + impl + "\n", false);
    shader.AddGeometryShaderReplacement(
        dec, true, "in " + type + " " + out + "[];\nout " + type + " " + between + ";\n" + dec + "\n", false);
    shader.AddGeometryShaderReplacement(impl, true, "  " + between + " = " + out + "[i];\n" + impl + "\n", false);
}

std::string cutOutCode(const SurfaceShader& surface)
{
    const std::string opacity = surface.file_opacity ? "opacity" : "fileOpacity";
    const std::string alpha = surface.base_texture ? "texture(baseTex, tcoordVCVSOutput).a * " + opacity : opacity;
    return "  if (" + alpha + " < alphaCutoff) { discard; }\n";
}

std::string flatCode(const SurfaceShader& surface)
{
    std::string code = "  vec4 shown = vec4(diffuseColor, opacity);\n";
    if (surface.colour_from_base)
        code += "  shown *= texture(baseTex, tcoordVCVSOutput);\n";
    if (surface.round_points) {
        code += "  vec2 fromCentre = gl_PointCoord * 2.0 - 1.0;\n"
                "  float reach = dot(fromCentre, fromCentre);\n"
                "  if (reach > 1.0) { discard; }\n";
        if (surface.shaded_points)
            code += "  shown.rgb *= 1.0 - 0.4 * reach * reach;\n";
    }
    return code + "  gl_FragData[0] = shown;\n";
}

constexpr const char* kNormalsCode = R"(
  vec3 facing = normalize(facingVSOutput);
  if (gl_FrontFacing == false) { facing = -facing; }
  gl_FragData[0] = vec4(facing * 0.5 + 0.5, opacity);
)";

/// The model fills the unit sphere, so that nearness runs from -1 to 1.
constexpr const char* kDepthCode = R"(
  gl_FragData[0] = vec4(vec3(0.08 + 0.87 * clamp(0.5 + 0.5 * nearnessVSOutput, 0.0, 1.0)), opacity);
)";

void replaceGenerated(vtkShaderProperty& shader, const std::string& generated, const std::string& ours)
{
    shader.AddFragmentShaderReplacement(generated, false, ours, true);
}

/// What is different from VTK's own: textures hold values as displayed, alpha counts, maps have transforms, occlusion
/// has its own texture, a surface can glow without one.
void correctGenerated(vtkShaderProperty& shader, const SurfaceShader& surface, const MaterialData& material)
{
    vtkUniforms& uniforms = *shader.GetFragmentCustomUniforms();
    if (surface.base_texture)
        replaceGenerated(shader, "vec3 albedo = diffuseColor;",
                         surface.colour_from_base ? "vec4 base = texture(baseTex, tcoordVCVSOutput);\n"
                                                    "  vec3 albedo = linearOf(base.rgb) * diffuseColor;\n"
                                                    "  opacity *= base.a;"
                                                  : "vec3 albedo = diffuseColor;");
    replaceGenerated(shader, "texture(materialTex, tcoordVCVSOutput)",
                     "texture(materialTex, " + coordinates(material.roughness_map, "roughness", uniforms) + ")");
    const std::string occlusion =
        surface.occlusion_texture
            ? "texture(occlusionTex, " + coordinates(material.occlusion_map, "occlusion", uniforms) + ").r"
            : "1.0";
    for (const char* generated : {"float ao = material.r;", "float ao = 1.0;"})
        replaceGenerated(shader, generated, "float ao = " + occlusion + ";");
    const std::string glow =
        surface.emissive_texture
            ? " * linearOf(texture(glowTex, " + coordinates(material.emissive_map, "glow", uniforms) + ").rgb)"
            : "";
    replaceGenerated(shader, "vec3 emissiveColor = vec3(0.0);",
                     "vec3 emissiveColor = emissiveFactorUniform" + glow + ";");
    replaceGenerated(shader, "texture(brdfTex, vec2(NdV, roughness)).rg", "reflectance(NdV, roughness)");
    replaceGenerated(shader, "texture(brdfTex, vec2(coatNdV, coatRoughness)).rg",
                     "reflectance(coatNdV, coatRoughness)");
    replaceGenerated(shader, "pow(1.0 - HdL, 5.0)",
                     "((1.0 - HdL) * (1.0 - HdL) * (1.0 - HdL) * (1.0 - HdL) * (1.0 - HdL))");
    // VTK weights what lacquer reflects of the surroundings by its share twice, and lets all light through it.
    replaceGenerated(shader, "(coatF0 * coatBrdf.r + coatBrdf.g) * Fc;",
                     "(coatF0 * coatBrdf.r + coatBrdf.g) * coatStrength;");
    replaceGenerated(shader, "  color *= coatColorFactor;", "  color *= coatColorFactor * (1.0 - Fc);");
    std::string finish = kDisplayShader;
    if (surface.glassy)
        finish = "  float edge = 1.0 - NdV;\n"
                 "  float shine = max(max(color.r, color.g), color.b) - 1.0;\n"
                 "  opacity = mix(opacity, 1.0, clamp(max(edge * edge * edge * edge * edge, shine), 0.0, 1.0));\n" +
                 finish;
    // The name must be this one, to the blank: by it others see that the surface has been seen to.
    replaceGenerated(shader, "  color = pow(color, vec3(1.0/2.2));\n", finish);
}

std::string litCode(const SurfaceShader& surface, const MaterialData& material, vtkUniforms& uniforms)
{
    std::string code;
    if (surface.normal_texture) {
        uniforms.SetUniformf("bumpScale", material.normal_scale);
        code += normalMapping(coordinates(material.normal_map, "normal", uniforms));
    }
    if (surface.vertex_colours)
        code += "  diffuseColor = linearOf(diffuseColor);\n";
    if (surface.grain)
        code += kGrain;
    return code;
}

} // namespace

void setUpShader(vtkActor& actor, const SurfaceShader& surface, const MaterialData& material)
{
    vtkShaderProperty& shader = *actor.GetShaderProperty();
    shader.ClearAllShaderReplacements();
    vtkUniforms& uniforms = *shader.GetFragmentCustomUniforms();
    uniforms.RemoveAllUniforms();

    // Not by OpenGL's own offset, which the software driver forgets where two triangles make an upright rectangle.
    if (surface.behind)
        shader.AddVertexShaderReplacement("//VTK::PositionVC::Impl", true,
                                          "//VTK::PositionVC::Impl\n  gl_Position.z += 2e-6 * gl_Position.w;\n", false);
    std::string declarations = kColourFunctions;
    std::string code;
    if (surface.grain && surface.shading == Shading::lit) {
        addVarying(shader, "", "vec3", "place", "vertexMC.xyz");
        declarations += "in vec3 placeVSOutput;\n";
    }
    if (surface.shading == Shading::normals) {
        addVarying(shader, "in vec3 normalMC;\nuniform mat3 normalMatrix;\n", "vec3", "facing",
                   "normalMatrix * normalMC");
        declarations += "in vec3 facingVSOutput;\n";
    }
    if (surface.shading == Shading::depth) {
        addVarying(shader, "uniform mat4 MCVCMatrix;\n", "float", "nearness",
                   "(MCVCMatrix * vertexMC).z - MCVCMatrix[3].z");
        declarations += "in float nearnessVSOutput;\n";
    }
    if (surface.cut_out) {
        uniforms.SetUniformf("alphaCutoff", material.alpha_cutoff);
        if (!surface.file_opacity)
            uniforms.SetUniformf("fileOpacity", material.base_colour[3]);
    }

    switch (surface.shading) {
    case Shading::lit:
        code = litCode(surface, material, uniforms);
        break;
    case Shading::flat:
        code = flatCode(surface);
        break;
    case Shading::normals:
        code = kNormalsCode;
        break;
    case Shading::depth:
        code = kDepthCode;
        break;
    }
    // After anything that looks at neighbouring fragments, which must all be there.
    if (surface.cut_out)
        code += cutOutCode(surface);
    if (surface.shading == Shading::lit) {
        code += "//VTK::Light::Impl\n";
        correctGenerated(shader, surface, material);
    }
    shader.AddFragmentShaderReplacement("//VTK::Coincident::Dec", true, declarations + "//VTK::Coincident::Dec\n",
                                        false);
    shader.AddFragmentShaderReplacement("//VTK::Light::Impl", true, code, false);
    // VTK's own textures, which would be multiplied here once more, stay out.
    shader.AddFragmentShaderReplacement("//VTK::TCoord::Impl", true, surface.blend ? "" : "  gl_FragData[0].a = 1.0;\n",
                                        false);
}

} // namespace ov3d::renderer
