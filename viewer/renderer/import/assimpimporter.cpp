#include "viewer/renderer/import/assimpimporter.h"

#include "src/render/viewcontext.h"
#include "viewer/renderer/import/filebytes.h"
#include "viewer/renderer/import/filechecks.h"
#include "viewer/renderer/import/gltfcheck.h"
#include "viewer/renderer/import/importwords.h"
#include "viewer/renderer/import/materialreader.h"
#include "viewer/renderer/import/objcheck.h"
#include "viewer/renderer/import/sandboxedfiles.h"
#include "viewer/renderer/import/scenechecks.h"
#include "viewer/renderer/import/sceneflattening.h"

#include <algorithm>
#include <assimp/BaseImporter.h>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <new>
#include <set>

namespace ov3d::renderer {
namespace {

const char* const kNoMemory = "needs more memory than allowed";

/// Shares of the whole import, in percent.
constexpr int kReadShare = 60;
constexpr int kPrepareShare = 70;

class ProgressReport : public Assimp::ProgressHandler
{
public:
    ProgressReport(const std::function<void(int)>& report, int from, int to)
        : m_report(report)
        , m_from(from)
        , m_to(to)
    {
    }

    bool Update(float share) override
    {
        if (share >= 0.0f && share <= 1.0f)
            m_report(m_from + static_cast<int>(static_cast<float>(m_to - m_from) * share));
        return true;
    }

private:
    const std::function<void(int)>& m_report;
    int m_from;
    int m_to;
};

const char* suffixOf(std::int32_t format)
{
    switch (format) {
    case kFormatFbx:
        return "fbx";
    case kFormatObj:
        return "obj";
    case kFormatGltf:
        return "gltf";
    case kFormatStl:
        return "stl";
    case kFormatGlb:
        return "glb";
    default:
        return nullptr;
    }
}

std::string stemOf(const std::string& path)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.rfind('.'));
}

/// Leaves Assimp nothing but the importers of one suffix, so that no content can choose another one.
void keepOnly(Assimp::Importer& importer, const std::string& suffix)
{
    for (std::size_t i = importer.GetImporterCount(); i > 0; --i) {
        Assimp::BaseImporter* candidate = importer.GetImporter(i - 1);
        std::set<std::string> suffixes;
        candidate->GetExtensionList(suffixes);
        if (suffixes.count(suffix) == 0) {
            importer.UnregisterLoader(candidate);
            delete candidate;
        }
    }
}

bool readAxis(const aiMetadata& metadata, const char* axisKey, const char* signKey, int& axis, int& sign)
{
    return metadata.Get(axisKey, axis) && metadata.Get(signKey, sign) && axis >= 0 && axis <= 2 &&
           (sign == 1 || sign == -1);
}

/// FBX files say which of their axes point right, up and forward.
Matrix axesFromMetadata(const aiScene& scene)
{
    Matrix axes;
    int right = 0, up = 1, front = 2, rightSign = 1, upSign = 1, frontSign = 1;
    if (scene.mMetaData == nullptr || !readAxis(*scene.mMetaData, "CoordAxis", "CoordAxisSign", right, rightSign) ||
        !readAxis(*scene.mMetaData, "UpAxis", "UpAxisSign", up, upSign) ||
        !readAxis(*scene.mMetaData, "FrontAxis", "FrontAxisSign", front, frontSign) || right == up || up == front ||
        front == right)
        return axes;
    for (auto& row : axes.m)
        std::fill(std::begin(row), std::end(row), 0.0);
    axes.m[0][right] = rightSign;
    axes.m[1][up] = upSign;
    axes.m[2][front] = frontSign;
    // A mirrored world is nobody's wish: up and front hold, the right follows.
    if (axes.determinant() < 0)
        axes.m[0][right] = -axes.m[0][right];
    return axes;
}

Matrix toYUp(const aiScene& scene, std::int32_t format)
{
    Matrix axes;
    if (format == kFormatFbx)
        return axesFromMetadata(scene);
    if (format == kFormatStl) {
        axes.m[1][1] = axes.m[2][2] = 0;
        axes.m[1][2] = 1;
        axes.m[2][1] = -1;
    }
    return axes;
}

void configure(Assimp::Importer& importer)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_ANIMATIONS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_CAMERAS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_LIGHTS, false);
}

/// Reads, repairs and prepares. @return the scene, owned by the importer, or nothing with a reason.
const aiScene* readScene(Assimp::Importer& importer, const std::string& name, std::int32_t format,
                         std::vector<std::string>& notes, std::string& message)
{
    const aiScene* scene = importer.ReadFile(name, 0);
    if (scene == nullptr) {
        message = importer.GetErrorString();
        return nullptr;
    }
    // Assimp offers no other way to mend a scene before it works on it.
    // Of an FBX's shapes Assimp does not say how far they are set; nearly always they are not.
    const bool shapesAtWeights = format == kFormatGltf || format == kFormatGlb;
    for (std::string& note : repairScene(const_cast<aiScene&>(*scene), shapesAtWeights))
        notes.push_back(std::move(note));
    scene = importer.ApplyPostProcessing(aiProcess_Triangulate | aiProcess_SortByPType);
    if (scene == nullptr)
        message = importer.GetErrorString();
    return scene;
}

/// Checks the inside of a glTF, and hides what Assimp had better not see.
///
/// @param format becomes another one when Assimp had better take the file for that.
/// @return why not, or an empty text.
std::string prepareGltf(std::int32_t& format, FileBytes& bytes, const SideFiles& sideFiles,
                        std::vector<std::string>& notes)
{
    const GltfParts parts = gltfParts(format, bytes.data(), bytes.size());
    const GltfCheck check = checkGltf(parts.json, parts.binary, sideFiles);
    if (!check.reason.empty())
        return check.reason;
    notes.insert(notes.end(), check.notes.begin(), check.notes.end());
    if (format == kFormatGlb && check.first_buffer_is_elsewhere) {
        // Assimp takes the first buffer of a GLB for its binary part, whatever address it gives.
        std::string text = check.json.empty() ? std::string(parts.json) : check.json;
        if (check.json.empty())
            for (const std::string_view name : check.hidden)
                text[static_cast<std::size_t>(name.data() - parts.json.data())] = '-';
        format = kFormatGltf;
        return bytes.assign(text) ? "" : kNoMemory;
    }
    if (!check.json.empty()) {
        const bool assigned = bytes.assign(format == kFormatGltf ? check.json : makeGlb({check.json, parts.binary}));
        return assigned ? "" : kNoMemory;
    }
    const char* begin = reinterpret_cast<const char*>(bytes.data());
    for (const std::string_view name : check.hidden)
        if (!bytes.overwrite(static_cast<std::size_t>(name.data() - begin), '-'))
            return kNoMemory;
    return {};
}

/// Notes what Assimp passes over in an OBJ, and hides all lines of material libraries but the first, since Assimp gives
/// the mesh that stands before such a line the first material of the library.
///
/// @return all libraries, where there are more than Assimp's reader would find.
std::vector<std::string> prepareObj(FileBytes& bytes, const SideFiles& sideFiles, std::vector<std::string>& notes)
{
    const ObjCheck check = checkObj(bytes.data(), bytes.size());
    notes.insert(notes.end(), check.notes.begin(), check.notes.end());
    const auto exists = [&sideFiles](const std::string& name) { return sideFiles.find(name).has_value(); };
    std::vector<std::string> libraries;
    std::set<std::string> known;
    for (const ObjCheck::Libraries& line : check.libraries) {
        for (std::string& name : libraryNames(line.names, exists))
            if (known.size() < kMaxObjLibraryLines && known.insert(name).second)
                libraries.push_back(std::move(name));
        if (line.at != check.libraries.front().at && !bytes.overwrite(line.at, '#'))
            throw std::bad_alloc();
    }
    for (const std::size_t at : check.repeats)
        if (!bytes.overwrite(at, '#'))
            throw std::bad_alloc();
    const bool foundAnyway = libraries.size() == 1 && libraries.front() == check.libraries.front().names;
    return foundAnyway ? std::vector<std::string>() : libraries;
}

/// Assimp takes the first bytes of any STL for a mark of how its text is encoded, and binary ones for text to convert.
/// @return whether the system let us.
bool hideByteOrderMark(FileBytes& bytes)
{
    const std::uint8_t first = bytes.data()[0];
    return (first != 0 && first < 0xEF) || bytes.overwrite(0, ' ');
}

ImportResult failed(const std::string& reason)
{
    ImportResult result;
    result.reason = reason;
    return result;
}

/// Why a model has no faces: those that it had were left out, or there were none.
std::string nothingLeft(const std::vector<std::string>& notes)
{
    const auto at = std::find_if(notes.rbegin(), notes.rend(),
                                 [](const std::string& note) { return note.find("left out") != std::string::npos; });
    return "holds nothing that can be drawn" + (at == notes.rend() ? std::string() : " (" + *at + ")");
}

} // namespace

ImportResult AssimpImporter::read(const ImportRequest& request)
{
    std::int32_t format = request.model_format;
    if (suffixOf(format) == nullptr)
        return failed("is of no format that can be read");
    std::string reason;
    FileBytes bytes;
    if (!bytes.open(request.path, reason))
        return failed(reason);
    const FileCheck check = checkFile(request.model_format, bytes.data(), bytes.size());
    if (!check.reason.empty())
        return failed(check.reason);
    bytes.truncate(check.usable_bytes);
    if (format == kFormatStl && !isStlText(bytes.data(), bytes.size()) && !hideByteOrderMark(bytes))
        return failed(kNoMemory);

    SideFiles sideFiles(request.path);
    ImportResult result;
    if (format == kFormatGltf || format == kFormatGlb)
        result.reason = prepareGltf(format, bytes, sideFiles, result.model.notes);
    if (!result.reason.empty())
        return result;
    const char* suffix = suffixOf(format);
    Assimp::Importer importer;
    keepOnly(importer, suffix);
    configure(importer);
    auto* files = new SandboxedFiles(bytes, sideFiles, stemOf(request.path), suffix);
    if (format == kFormatObj)
        files->setLibraries(prepareObj(bytes, sideFiles, result.model.notes));
    const std::string name = files->modelName();
    importer.SetIOHandler(files);
    importer.SetProgressHandler(new ProgressReport(request.progress, 0, kReadShare));

    std::string message;
    const aiScene* scene = readScene(importer, name, format, result.model.notes, message);
    if (scene == nullptr)
        return failed(plainReason(message, format, name, sideFiles.missing()));
    request.progress(kPrepareShare);

    MaterialReader materials(*scene, request, sideFiles, result.model);
    flattenScene(*scene, toYUp(*scene, format), format == kFormatStl, materials, result.model,
                 [&request](int percent) { request.progress(kPrepareShare + (100 - kPrepareShare) * percent / 100); });
    if (result.model.meshes.empty())
        return failed(nothingLeft(result.model.notes));
    result.model.files = sideFiles.files();
    result.model.missing = sideFiles.missing();
    if (sideFiles.unnamedMissing() > 0)
        result.model.notes.push_back("and " + std::to_string(sideFiles.unnamedMissing()) + " more files are missing");
    result.ok = true;
    return result;
}

} // namespace ov3d::renderer
