#include "viewer/renderer/import/gltfaccessors.h"

#include "viewer/renderer/import/filechecks.h"
#include "viewer/renderer/import/gltfcheck.h"
#include "viewer/renderer/import/littleendian.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace ov3d::renderer {
namespace {

constexpr std::uint64_t kNone = ~std::uint64_t{0};
/// Larger offsets and sizes are nobody's, and sums of smaller ones never overflow.
constexpr std::uint64_t kMaxBytes = std::uint64_t{1} << 40;

const char* const kBeyond = "has a part that reaches beyond its end";

constexpr std::array<std::pair<std::string_view, unsigned>, 7> kTypes = {
    {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT2", 4}, {"MAT3", 9}, {"MAT4", 16}}};

unsigned componentsOf(const std::string& type)
{
    for (const auto& [name, components] : kTypes)
        if (name == type)
            return components;
    return 0;
}

unsigned componentBytes(std::uint64_t type)
{
    switch (type) {
    case 5120:
    case 5121:
        return 1;
    case 5122:
    case 5123:
        return 2;
    case 5125:
    case GltfAccessors::kFloat:
        return 4;
    default:
        return 0;
    }
}

/// A number of any kind.
float numberAt(const std::uint8_t* at, unsigned type)
{
    switch (type) {
    case 5120:
        return static_cast<float>(static_cast<std::int8_t>(*at));
    case 5121:
        return static_cast<float>(*at);
    case 5122:
        return static_cast<float>(static_cast<std::int16_t>(littleEndian16(at)));
    case 5123:
        return static_cast<float>(littleEndian16(at));
    case GltfAccessors::kFloat:
        return std::bit_cast<float>(littleEndian32(at));
    default:
        return static_cast<float>(littleEndian32(at));
    }
}

/// What stands for 1 in normalised numbers.
float largestOf(unsigned type)
{
    switch (type) {
    case 5120:
        return 127.0f;
    case 5121:
        return 255.0f;
    case 5122:
        return 32767.0f;
    case 5123:
        return 65535.0f;
    default:
        return 1.0f;
    }
}

/// How many bytes a base64 text holds.
std::uint64_t decodedBytes(std::string_view text)
{
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    return text.size() * 3 / 4;
}

/// A member that may be absent, which means 0. @return kNone for anything that is no fitting number.
std::uint64_t optionalNumber(JsonValue value)
{
    const std::uint64_t number = value ? value.index(kNone) : 0;
    return number <= kMaxBytes ? number : kNone;
}

} // namespace

GltfAccessors::GltfAccessors(JsonValue root, std::string_view binary, const SideFiles& sideFiles)
    : m_root(root)
    , m_binary(binary)
    , m_buffers(root["buffers"], binary, sideFiles)
    , m_budget(kMaxCheckedElements)
{
}

std::string GltfAccessors::read()
{
    std::vector<std::uint64_t> buffers;
    if (std::string reason = readBuffers(buffers); !reason.empty())
        return reason;
    for (JsonValue json = m_root["bufferViews"].first(); json; json = json.next())
        readView(json, buffers);
    for (JsonValue json = m_root["accessors"].first(); json; json = json.next())
        m_accessors.push_back(readAccessor(json));
    return {};
}

std::string GltfAccessors::readBuffers(std::vector<std::uint64_t>& sizes) const
{
    for (JsonValue json = m_root["buffers"].first(); json; json = json.next()) {
        std::uint64_t bytes = optionalNumber(json["byteLength"]);
        if (bytes == kNone)
            return "gives a wrong size for a buffer";
        // Readers take all of a data address, whatever its stated size.
        if (const std::string_view data = json["uri"].rawText(); data.substr(0, 5) == "data:")
            bytes = decodedBytes(data.substr(std::min(data.find(','), data.size() - 1) + 1));
        else if (const auto size = json["uri"] ? m_buffers.fileBytes(json["uri"]) : std::nullopt; size && *size < bytes)
            return "needs the file " + json["uri"].text() + ", which " +
                   (*size == 0 ? std::string("is empty") : endsEarly(*size, bytes));
        if (sizes.empty() && !json["uri"] && !m_binary.empty() && bytes > m_binary.size())
            return endsEarly(m_binary.size(), bytes);
        sizes.push_back(bytes);
    }
    return {};
}

void GltfAccessors::readView(JsonValue json, const std::vector<std::uint64_t>& buffers)
{
    View view;
    view.buffer = json["buffer"].index(kNone);
    view.offset = optionalNumber(json["byteOffset"]);
    view.bytes = optionalNumber(json["byteLength"]);
    view.stride = optionalNumber(json["byteStride"]);
    if (view.buffer >= buffers.size() || view.offset == kNone || view.bytes == kNone || view.stride == kNone)
        view.fault = "is damaged: a view of its data is not valid";
    else if (view.offset + view.bytes > buffers[view.buffer])
        view.fault = kBeyond;
    m_views.push_back(view);
}

GltfAccessors::Accessor GltfAccessors::readAccessor(JsonValue json)
{
    Accessor accessor;
    accessor.count = json["count"].index(kNone);
    accessor.component_type = static_cast<unsigned>(json["componentType"].index(0) & 0xFFFFU);
    accessor.components = componentsOf(json["type"].text());
    const JsonValue view = json["bufferView"];
    const JsonValue sparse = json["sparse"];
    accessor.has_view = static_cast<bool>(view);
    accessor.is_sparse = static_cast<bool>(sparse);
    accessor.is_normalized = json["normalized"].isTrue();
    if (accessor.count == kNone || accessor.components == 0 || componentBytes(accessor.component_type) == 0)
        accessor.fault = "is damaged: a list of numbers is of no valid kind";
    else if (accessor.count > kMaxAccessorElements)
        accessor.fault = kTooManyElements;
    if (accessor.fault.empty() && accessor.has_view) {
        accessor.view = view.index(kNone);
        accessor.offset = optionalNumber(json["byteOffset"]);
        accessor.fault = checkRange(accessor);
    }
    if (accessor.fault.empty() && sparse)
        accessor.fault = checkSparse(sparse, accessor);
    return accessor;
}

std::string GltfAccessors::checkRange(const Accessor& accessor) const
{
    if (accessor.view >= m_views.size() || accessor.offset == kNone)
        return "is damaged: a list of numbers names a view that does not exist";
    const View& view = m_views[accessor.view];
    if (!view.fault.empty())
        return view.fault;
    const std::uint64_t element = std::uint64_t{accessor.components} * componentBytes(accessor.component_type);
    const std::uint64_t stride = view.stride != 0 ? view.stride : element;
    // Readers multiply in 32 or 64 bits as they please: nothing honest comes near.
    if (stride > 65536)
        return "is damaged: a view of its data is not valid";
    if (accessor.count > 0 && accessor.offset + (accessor.count - 1) * stride + element > view.bytes)
        return kBeyond;
    return {};
}

std::string GltfAccessors::checkSparse(JsonValue sparse, const Accessor& accessor)
{
    const std::uint64_t count = sparse["count"].index(kNone);
    const JsonValue indices = sparse["indices"];
    const JsonValue values = sparse["values"];
    Accessor places;
    places.count = count;
    places.component_type = static_cast<unsigned>(indices["componentType"].index(0) & 0xFFFFU);
    places.components = 1;
    places.view = indices["bufferView"].index(kNone);
    places.offset = optionalNumber(indices["byteOffset"]);
    places.has_view = true;
    Accessor substitutes = accessor;
    substitutes.count = count;
    substitutes.view = values["bufferView"].index(kNone);
    substitutes.offset = optionalNumber(values["byteOffset"]);
    const unsigned type = places.component_type;
    if (count == kNone || count > accessor.count || (type != 5121 && type != 5123 && type != 5125))
        return "is damaged: a sparse list of numbers is not valid";
    std::string reason = checkRange(places);
    if (reason.empty())
        reason = checkRange(substitutes);
    if (reason.empty() && count > 0 && findLargest(places) >= accessor.count)
        reason = "is damaged: a sparse list of numbers changes elements that do not exist";
    return reason;
}

const GltfAccessors::Accessor* GltfAccessors::at(JsonValue index) const
{
    const std::uint64_t number = index.index(kNone);
    return number < m_accessors.size() ? &m_accessors[number] : nullptr;
}

std::string GltfAccessors::faultOfView(JsonValue index) const
{
    const std::uint64_t number = index.index(kNone);
    return number < m_views.size() ? m_views[number].fault : "is damaged: it names a view that does not exist";
}

std::string_view GltfAccessors::bytesOf(const Accessor& accessor)
{
    const View& view = m_views[accessor.view];
    const std::string_view buffer = m_buffers.at(view.buffer);
    if (view.offset > buffer.size() || accessor.offset > buffer.size() - view.offset)
        return {};
    return buffer.substr(view.offset + accessor.offset);
}

template <typename Use> void GltfAccessors::forEachNumber(const Accessor& accessor, Use use)
{
    const std::string_view bytes = bytesOf(accessor);
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const unsigned width = componentBytes(accessor.component_type);
    const std::uint64_t element = std::uint64_t{accessor.components} * width;
    const std::uint64_t stride = m_views[accessor.view].stride != 0 ? m_views[accessor.view].stride : element;
    for (std::uint64_t i = 0; i < accessor.count && i * stride + element <= bytes.size(); ++i)
        for (unsigned k = 0; k < accessor.components; ++k)
            use(static_cast<std::size_t>(i * accessor.components + k), data + i * stride + k * width);
}

std::uint64_t GltfAccessors::largest(JsonValue index)
{
    const auto [known, isNew] = m_largest.try_emplace(index.index(kNone), 0);
    if (isNew)
        known->second = findLargest(*at(index));
    return known->second;
}

std::uint64_t GltfAccessors::findLargest(const Accessor& accessor)
{
    if (!accessor.has_view || !accessor.fault.empty())
        return 0;
    m_budget -= std::min(m_budget, accessor.count);
    if (m_budget == 0)
        return 0;
    const unsigned width = componentBytes(accessor.component_type);
    std::uint64_t result = 0;
    forEachNumber(accessor, [&](std::size_t, const std::uint8_t* at) {
        const std::uint64_t value = width == 1 ? *at : width == 2 ? littleEndian16(at) : littleEndian32(at);
        result = std::max(result, value);
    });
    return result;
}

std::vector<float> GltfAccessors::floats(const Accessor& accessor)
{
    std::vector<float> numbers(accessor.count * accessor.components);
    const float divisor = accessor.is_normalized ? largestOf(accessor.component_type) : 1.0f;
    forEachNumber(accessor, [&](std::size_t place, const std::uint8_t* at) {
        const float value = numberAt(at, accessor.component_type) / divisor;
        numbers[place] = accessor.is_normalized ? std::max(value, -1.0f) : value;
    });
    return numbers;
}

} // namespace ov3d::renderer
