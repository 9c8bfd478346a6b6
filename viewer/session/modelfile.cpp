#include "viewer/session/modelfile.h"

#include "src/render/viewcontext.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace ov3d::session {

std::string faultOfFile(const std::string& path, std::uint64_t& size)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        return errno == EACCES ? "may not be read" : "does not exist";
    if (!S_ISREG(info.st_mode))
        return "is not a file";
    if (access(path.c_str(), R_OK) != 0)
        return "may not be read";
    size = static_cast<std::uint64_t>(info.st_size);
    return size == 0 ? "is empty" : "";
}

std::int32_t formatOfPath(const std::string& path)
{
    std::string suffix = path.substr(path.rfind('.') + 1);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return formatOfSuffix(suffix);
}

std::int32_t formatOfSuffix(const std::string& suffix)
{
    constexpr const char* kSuffixes[] = {"fbx", "obj", "gltf", "stl", "glb", "3mf"}; // in the order of ModelFormat
    const auto found = std::find(std::begin(kSuffixes), std::end(kSuffixes), suffix);
    return found == std::end(kSuffixes) ? kFormatNone : static_cast<std::int32_t>(found - std::begin(kSuffixes));
}

std::string fileName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string toAbsolute(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

bool looksLikeRadiancePicture(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return false;
    struct stat info = {};
    char start[2] = {};
    const bool isPicture = fstat(file, &info) == 0 && S_ISREG(info.st_mode) &&
                           read(file, start, sizeof start) == static_cast<ssize_t>(sizeof start) &&
                           std::memcmp(start, "#?", sizeof start) == 0;
    close(file);
    return isPicture;
}

} // namespace ov3d::session
