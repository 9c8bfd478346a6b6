#include "viewer/renderer/import/sidefiles.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <deque>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace ov3d::renderer {
namespace {

/// Bounds of the search by base name, for models that lie in somebody's home folder.
constexpr std::size_t kMaxSearchedEntries = 20000;
constexpr int kMaxSearchedDepth = 8;

std::string canonicalPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    return resolved ? std::string(resolved.get()) : std::string();
}

bool isRegularFile(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

std::string withoutPercentEscapes(const std::string& name)
{
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '%' && i + 2 < name.size() && hexValue(name[i + 1]) >= 0 && hexValue(name[i + 2]) >= 0) {
            plain += static_cast<char>(hexValue(name[i + 1]) * 16 + hexValue(name[i + 2]));
            i += 2;
        } else
            plain += name[i];
    }
    return plain;
}

std::string withForwardSlashes(std::string name)
{
    std::replace(name.begin(), name.end(), '\\', '/');
    while (!name.empty() && static_cast<unsigned char>(name.back()) <= ' ')
        name.pop_back();
    const auto start = static_cast<std::size_t>(
        std::find_if(name.begin(), name.end(), [](unsigned char c) { return c > ' '; }) - name.begin());
    return name.substr(start);
}

std::string lowered(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The spellings under which a name is tried: as it stands, then with its percent escapes undone.
std::vector<std::string> spellings(const std::string& name)
{
    std::vector<std::string> all{withForwardSlashes(name)};
    const std::string plain = withForwardSlashes(withoutPercentEscapes(name));
    if (plain != all.front())
        all.push_back(plain);
    std::erase_if(all, [](const std::string& s) { return s.empty() || s.find('\0') != std::string::npos; });
    return all;
}

bool isAbsolute(const std::string& name)
{
    const bool drive = name.size() >= 2 && name[1] == ':';
    return name[0] == '/' || drive || name.find("://") != std::string::npos;
}

/// Folds "." and "..". @return nothing when the name climbs out or names no file.
std::optional<std::string> normalised(const std::string& name)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (begin <= name.size()) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string part = name.substr(begin, end - begin);
        begin = end + 1;
        if (part.empty() || part == ".")
            continue;
        if (part != "..")
            parts.push_back(part);
        else if (parts.empty())
            return std::nullopt;
        else
            parts.pop_back();
    }
    std::string joined;
    for (const std::string& part : parts)
        joined += (joined.empty() ? "" : "/") + part;
    if (joined.empty())
        return std::nullopt;
    return joined;
}

struct Folder
{
    std::string relative; ///< empty or with a slash at its end
    int depth = 0;
};

std::vector<std::pair<std::string, unsigned char>> sortedEntries(const std::string& path)
{
    std::vector<std::pair<std::string, unsigned char>> entries;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), &::closedir);
    if (!folder)
        return entries;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        unsigned char type = entry->d_type;
        struct stat status = {};
        if (type == DT_UNKNOWN && ::lstat((path + "/" + name).c_str(), &status) == 0)
            type = S_ISDIR(status.st_mode)   ? DT_DIR
                   : S_ISREG(status.st_mode) ? DT_REG
                   : S_ISLNK(status.st_mode) ? DT_LNK
                                             : DT_UNKNOWN;
        entries.emplace_back(name, type);
        if (entries.size() >= kMaxSearchedEntries)
            break;
    }
    // The order of a directory is chance; the first of two equal names must not be.
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace

SideFiles::SideFiles(const std::string& modelPath)
{
    const std::size_t slash = modelPath.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : modelPath.substr(0, slash);
    m_folder = canonicalPath(folder);
    m_isUsable = !m_folder.empty();
    if (m_folder == "/")
        m_folder.clear();
}

bool SideFiles::isInside(const std::string& canonical) const
{
    return canonical.size() > m_folder.size() + 1 && canonical.compare(0, m_folder.size(), m_folder) == 0 &&
           canonical[m_folder.size()] == '/';
}

std::optional<SideFiles::Found> SideFiles::at(const std::string& relative) const
{
    const std::string canonical = canonicalPath(m_folder + "/" + relative);
    if (canonical.empty() || !isInside(canonical) || !isRegularFile(canonical))
        return std::nullopt;
    return Found{relative, canonical};
}

void SideFiles::buildIndex() const
{
    m_indexed = true;
    std::deque<Folder> queue{{"", 0}};
    std::size_t seen = 0;
    while (!queue.empty() && seen < kMaxSearchedEntries) {
        const Folder folder = queue.front();
        queue.pop_front();
        for (const auto& [name, type] : sortedEntries(m_folder + "/" + folder.relative)) {
            if (++seen > kMaxSearchedEntries)
                break;
            const std::string relative = folder.relative + name;
            if (type == DT_DIR && folder.depth < kMaxSearchedDepth)
                queue.push_back({relative + "/", folder.depth + 1});
            if (type != DT_REG && type != DT_LNK)
                continue;
            if (const auto found = at(relative)) {
                m_byName.try_emplace(name, Entry{found->relative, found->absolute});
                m_byLowerName.try_emplace(lowered(name), Entry{found->relative, found->absolute});
            }
        }
    }
}

std::optional<SideFiles::Found> SideFiles::byBaseName(const std::string& name) const
{
    if (!m_indexed)
        buildIndex();
    const std::string base = name.substr(name.rfind('/') + 1);
    if (const auto exact = m_byName.find(base); exact != m_byName.end())
        return Found{exact->second.relative, exact->second.absolute};
    if (const auto similar = m_byLowerName.find(lowered(base)); similar != m_byLowerName.end())
        return Found{similar->second.relative, similar->second.absolute};
    return std::nullopt;
}

std::optional<SideFiles::Found> SideFiles::find(const std::string& name) const
{
    if (!m_isUsable)
        return std::nullopt;
    const std::vector<std::string> tried = spellings(name);
    for (const std::string& spelling : tried) {
        if (isAbsolute(spelling))
            continue;
        if (const auto relative = normalised(spelling))
            if (auto found = at(*relative))
                return found;
    }
    for (const std::string& spelling : tried)
        if (auto found = byBaseName(spelling))
            return found;
    return std::nullopt;
}

std::optional<SideFiles::Found> SideFiles::require(const std::string& name)
{
    auto found = find(name);
    if (found && m_knownFiles.insert(found->relative).second)
        m_files.push_back(found->relative);
    if (!found && m_knownMissing.insert(name).second && m_missing.size() < kMaxNamedMissing)
        m_missing.push_back(name);
    return found;
}

} // namespace ov3d::renderer
