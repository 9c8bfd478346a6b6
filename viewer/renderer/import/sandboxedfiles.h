#pragma once

#include "viewer/renderer/import/filebytes.h"
#include "viewer/renderer/import/sidefiles.h"

#include <assimp/IOSystem.hpp>
#include <string>
#include <utility>
#include <vector>

namespace ov3d::renderer {

/// The only files that Assimp sees: the model, under a made-up name, and what SideFiles finds for the names in it.
class SandboxedFiles : public Assimp::IOSystem
{
public:
    /// @param model      the model's bytes; outlives this object.
    /// @param stem       the model's own file name without its suffix.
    /// @param suffix     what Assimp is to choose its importer by, without a dot.
    SandboxedFiles(const FileBytes& model, SideFiles& sideFiles, const std::string& stem, const std::string& suffix);

    /// What the model's first material library is to hold: all of these, one behind the other. Before the import.
    void setLibraries(std::vector<std::string> names) { m_libraries = std::move(names); }

    /// The name under which Assimp opens the model.
    [[nodiscard]] const std::string& modelName() const { return m_modelName; }

    bool Exists(const char* name) const override;
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char* name, const char* mode) override;
    void Close(Assimp::IOStream* stream) override;
    bool ComparePaths(const char* one, const char* second) const override;

private:
    [[nodiscard]] std::string asTheModelNamesIt(const std::string& name) const;
    Assimp::IOStream* openLibraries(const std::vector<std::string>& names);

    const FileBytes& m_model;
    SideFiles& m_sideFiles;
    std::string m_modelName;
    bool m_isObj = false;
    bool m_isText = false; ///< of a kind whose reader stumbles over a byte order mark
    std::vector<std::string> m_libraries;
    std::string m_fallbackLibrary; ///< what Assimp's OBJ reader tries after a missing material library
};

} // namespace ov3d::renderer
