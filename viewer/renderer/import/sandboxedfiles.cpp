#include "viewer/renderer/import/sandboxedfiles.h"

#include "viewer/renderer/import/objcheck.h"

#include <algorithm>
#include <assimp/IOStream.hpp>
#include <cstring>
#include <set>
#include <utility>

namespace ov3d::renderer {
namespace {

/// No real folder: what begins with it was put together by Assimp, everything else stands in the model.
const std::string kModelFolder = "/ov3d-model/";

/// Reads from mapped bytes that it may own.
class BytesStream : public Assimp::IOStream
{
public:
    BytesStream(const FileBytes& borrowed, bool isText)
        : m_bytes(borrowed)
    {
        skipByteOrderMark(isText);
    }

    BytesStream(FileBytes&& owned, bool isText)
        : m_owned(std::move(owned))
        , m_bytes(m_owned)
    {
        skipByteOrderMark(isText);
    }

    size_t Read(void* buffer, size_t size, size_t count) override
    {
        if (size == 0)
            return 0;
        const std::size_t items = std::min(count, (FileSize() - m_at) / size);
        std::memcpy(buffer, m_bytes.data() + m_begin + m_at, items * size);
        m_at += items * size;
        return items;
    }

    size_t Write(const void*, size_t, size_t) override { return 0; }

    aiReturn Seek(size_t offset, aiOrigin origin) override
    {
        const std::size_t base = origin == aiOrigin_SET ? 0 : origin == aiOrigin_CUR ? m_at : FileSize();
        const std::size_t target = base + offset;
        if (target > FileSize())
            return aiReturn_FAILURE;
        m_at = target;
        return aiReturn_SUCCESS;
    }

    [[nodiscard]] size_t Tell() const override { return m_at; }
    [[nodiscard]] size_t FileSize() const override { return m_bytes.size() - m_begin; }
    void Flush() override {}

private:
    /// Readers take the mark for part of the first word.
    void skipByteOrderMark(bool isText)
    {
        if (isText && m_bytes.size() > 3 && std::memcmp(m_bytes.data(), "\xEF\xBB\xBF", 3) == 0)
            m_begin = 3;
    }

    FileBytes m_owned;
    const FileBytes& m_bytes;
    std::size_t m_begin = 0;
    std::size_t m_at = 0;
};

} // namespace

SandboxedFiles::SandboxedFiles(const FileBytes& model, SideFiles& sideFiles, const std::string& stem,
                               const std::string& suffix)
    : m_model(model)
    , m_sideFiles(sideFiles)
    , m_modelName(kModelFolder + stem + "." + suffix)
    , m_isObj(suffix == "obj")
    , m_isText(m_isObj || suffix == "gltf")
    , m_fallbackLibrary(m_isObj ? stem + ".mtl" : std::string())
{
}

std::string SandboxedFiles::asTheModelNamesIt(const std::string& name) const
{
    return name.compare(0, kModelFolder.size(), kModelFolder) == 0 ? name.substr(kModelFolder.size()) : name;
}

bool SandboxedFiles::Exists(const char* name) const
{
    return name == m_modelName || m_sideFiles.find(asTheModelNamesIt(name)).has_value();
}

Assimp::IOStream* SandboxedFiles::Open(const char* name, const char* mode)
{
    if (std::strchr(mode, 'r') == nullptr)
        return nullptr;
    if (name == m_modelName)
        return new BytesStream(m_model, m_isText);

    if (!m_libraries.empty())
        return openLibraries(std::exchange(m_libraries, {}));
    const std::string named = asTheModelNamesIt(name);
    // A guess of Assimp's is not the model's wish: it counts only when it is there.
    if (named == m_fallbackLibrary && !m_sideFiles.missing().empty() && !m_sideFiles.find(named))
        return nullptr;
    const auto found = m_sideFiles.require(named);
    FileBytes bytes;
    std::string reason;
    if (!found || !bytes.open(found->absolute, reason))
        return nullptr;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (std::string mended = m_isObj ? withFullOptions(text) : std::string(); !mended.empty() && !bytes.assign(mended))
        return nullptr;
    return new BytesStream(std::move(bytes), m_isObj);
}

Assimp::IOStream* SandboxedFiles::openLibraries(const std::vector<std::string>& names)
{
    std::string text;
    std::set<std::string> opened;
    for (const std::string& name : names) {
        const auto found = m_sideFiles.require(name);
        FileBytes bytes;
        std::string reason;
        if (found && opened.insert(found->absolute).second && bytes.open(found->absolute, reason))
            text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size()).append("\n");
    }
    if (std::string mended = withFullOptions(text); !mended.empty())
        text = std::move(mended);
    FileBytes together;
    if (text.empty() || !together.assign(text))
        return nullptr;
    return new BytesStream(std::move(together), m_isObj);
}

void SandboxedFiles::Close(Assimp::IOStream* stream)
{
    delete stream;
}

bool SandboxedFiles::ComparePaths(const char* one, const char* second) const
{
    return std::strcmp(one, second) == 0;
}

} // namespace ov3d::renderer
