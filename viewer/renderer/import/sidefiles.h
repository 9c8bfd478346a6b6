#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ov3d::renderer {

/// Most files that are called missing by their names.
inline constexpr std::size_t kMaxNamedMissing = 1000;

/// Finds the files that a model names, inside the model's folder and nowhere else, and keeps account of them.
///
/// Names are taken as the model gives them: backslashes read as slashes, percent escapes undone. A name that is
/// missing, absolute or climbs out of the folder is looked for by its base name beside the model and in the
/// sub-folders. The folder itself may be reached through a symbolic link; links inside it that lead out of it are
/// refused.
class SideFiles
{
public:
    explicit SideFiles(const std::string& modelPath);

    struct Found
    {
        std::string relative; ///< to the model's folder, "/" between
        std::string absolute; ///< free of symbolic links, inside the folder
    };

    /// Looks without taking account. Nothing is opened but folders.
    [[nodiscard]] std::optional<Found> find(const std::string& name) const;

    /// Looks, and notes the name as needed: under `files` or under `missing`, once each, in order of use.
    std::optional<Found> require(const std::string& name);

    [[nodiscard]] const std::vector<std::string>& files() const { return m_files; }
    /// At most kMaxNamedMissing.
    [[nodiscard]] const std::vector<std::string>& missing() const { return m_missing; }
    /// How many more are missing.
    [[nodiscard]] std::size_t unnamedMissing() const { return m_knownMissing.size() - m_missing.size(); }

private:
    struct Entry
    {
        std::string relative;
        std::string absolute;
    };

    [[nodiscard]] std::optional<Found> at(const std::string& relative) const;
    [[nodiscard]] std::optional<Found> byBaseName(const std::string& name) const;
    [[nodiscard]] bool isInside(const std::string& canonical) const;
    void buildIndex() const;

    std::string m_folder;    ///< canonical, no slash at the end
    bool m_isUsable = false; ///< whether the folder can be found
    std::vector<std::string> m_files;
    std::vector<std::string> m_missing;
    std::set<std::string> m_knownFiles, m_knownMissing;

    // Made at the first search, since most models need none.
    mutable bool m_indexed = false;
    mutable std::map<std::string, Entry> m_byName;      ///< first one found, nearest folder first
    mutable std::map<std::string, Entry> m_byLowerName; ///< the same without regard to the case of ASCII letters
};

} // namespace ov3d::renderer
