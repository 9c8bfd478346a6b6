#include "viewer/renderer/environment/environmentimage.h"

#include "viewer/renderer/import/filebytes.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string_view>

namespace ov3d::renderer {
namespace {

/// Mean luminance, over the sphere, that a file is brought to: that of the studio.
constexpr double kMeanLuminance = 0.45;

/// Brightest component that is kept, in units of the mean: a sun in the picture is for the eye, the sun light for
/// shading.
constexpr float kBrightest = 60.0f;

constexpr std::size_t kMaxHeaderBytes = 16384;

/// Widths that the run-length form can have.
constexpr std::int64_t kMinRunWidth = 8;
constexpr std::int64_t kMaxRunWidth = 32767;

class Reader
{
public:
    Reader(const std::uint8_t* bytes, std::size_t size)
        : m_bytes(bytes)
        , m_size(size)
    {
    }

    /// The next line without its end. @return false when there is none.
    bool line(std::string_view& text)
    {
        const std::size_t limit = std::min(m_size, kMaxHeaderBytes);
        for (std::size_t end = m_at; end < limit; ++end)
            if (m_bytes[end] == '\n') {
                text = {reinterpret_cast<const char*>(m_bytes) + m_at, end - m_at};
                m_at = end + 1;
                return true;
            }
        return false;
    }

    bool take(std::uint8_t* to, std::size_t count)
    {
        if (m_size - m_at < count)
            return false;
        std::memcpy(to, m_bytes + m_at, count);
        m_at += count;
        return true;
    }

    [[nodiscard]] const std::uint8_t* peek(std::size_t count) const
    {
        return m_size - m_at < count ? nullptr : m_bytes + m_at;
    }

    void skip(std::size_t count) { m_at += count; }

private:
    const std::uint8_t* m_bytes;
    std::size_t m_size;
    std::size_t m_at = 0;
};

bool parseNumber(std::string_view& text, std::int64_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool parseSize(std::string_view text, std::int64_t& width, std::int64_t& height)
{
    if (!text.starts_with("-Y "))
        return false;
    text.remove_prefix(3);
    if (!parseNumber(text, height) || !text.starts_with(" +X "))
        return false;
    text.remove_prefix(4);
    return parseNumber(text, width);
}

bool readHeader(Reader& reader, std::int64_t& width, std::int64_t& height, std::string& reason)
{
    std::string_view text;
    if (!reader.line(text) || !text.starts_with("#?")) {
        reason = "is no Radiance picture";
        return false;
    }
    bool isRgbe = true;
    while (reader.line(text) && !text.empty())
        if (text.starts_with("FORMAT="))
            isRgbe = text == "FORMAT=32-bit_rle_rgbe";
    if (!isRgbe) {
        reason = "is no picture of red, green and blue";
        return false;
    }
    if (!reader.line(text) || !parseSize(text, width, height)) {
        reason = "has rows or columns in an order that is not supported";
        return false;
    }
    if (width < 2 || height < 2 || width > kMaxEnvironmentSide || height > kMaxEnvironmentSide ||
        width * height > kMaxEnvironmentPixels) {
        reason = "has an impossible size";
        return false;
    }
    return true;
}

/// One of the four planes of a run-length row.
bool readPlane(Reader& reader, std::uint8_t* row, std::size_t width)
{
    for (std::size_t x = 0; x < width;) {
        std::uint8_t code = 0;
        if (!reader.take(&code, 1))
            return false;
        const bool isRun = code > 128;
        const std::size_t count = isRun ? code - 128U : code;
        if (count == 0 || count > width - x)
            return false;
        std::array<std::uint8_t, 128> values{};
        if (!reader.take(values.data(), isRun ? 1 : count))
            return false;
        for (std::size_t i = 0; i < count; ++i)
            row[(x + i) * 4] = values[isRun ? 0 : i];
        x += count;
    }
    return true;
}

/// Pixels one by one; the oldest form repeats the pixel before when a pixel is 1, 1, 1, count.
bool readPlainRow(Reader& reader, std::vector<std::uint8_t>& row)
{
    unsigned shift = 0;
    for (std::size_t at = 0; at < row.size();) {
        std::array<std::uint8_t, 4> pixel{};
        if (!reader.take(pixel.data(), 4))
            return false;
        if (pixel[0] != 1 || pixel[1] != 1 || pixel[2] != 1) {
            std::memcpy(row.data() + at, pixel.data(), 4);
            at += 4;
            shift = 0;
            continue;
        }
        const std::size_t count = shift < 24 ? std::size_t{pixel[3]} << shift : 0;
        if (at == 0 || count > (row.size() - at) / 4)
            return false;
        for (std::size_t i = 0; i < count; ++i, at += 4)
            std::memcpy(row.data() + at, row.data() + at - 4, 4);
        shift += 8;
    }
    return true;
}

bool readRow(Reader& reader, std::vector<std::uint8_t>& row)
{
    const std::size_t width = row.size() / 4;
    const std::uint8_t* mark = reader.peek(4);
    const bool canRun =
        static_cast<std::int64_t>(width) >= kMinRunWidth && static_cast<std::int64_t>(width) <= kMaxRunWidth;
    if (!canRun || mark == nullptr || mark[0] != 2 || mark[1] != 2 || mark[2] >= 128)
        return readPlainRow(reader, row);
    if (std::size_t{mark[2]} * 256 + mark[3] != width)
        return false;
    reader.skip(4);
    for (std::size_t plane = 0; plane < 4; ++plane)
        if (!readPlane(reader, row.data() + plane, width))
            return false;
    return true;
}

Light lightOf(const std::uint8_t* rgbe)
{
    if (rgbe[3] == 0)
        return {};
    const float scale = std::ldexp(1.0f, std::min(int{rgbe[3]} - (128 + 8), 40));
    return {static_cast<float>(rgbe[0]) * scale, static_cast<float>(rgbe[1]) * scale,
            static_cast<float>(rgbe[2]) * scale};
}

/// Adds up rows and columns of the file until a pixel of the image is full.
class Reduction
{
public:
    Reduction(EnvironmentImage& image, int step)
        : m_image(image)
        , m_step(step)
    {
    }

    void addRow(std::int64_t y, const std::vector<std::uint8_t>& row)
    {
        const auto target = static_cast<std::size_t>(y / m_step);
        if (target >= static_cast<std::size_t>(m_image.height))
            return; // the rest of a division
        const float share = 1.0f / static_cast<float>(m_step * m_step);
        Light* pixels = m_image.pixels.data() + target * static_cast<std::size_t>(m_image.width);
        const auto used = static_cast<std::size_t>(m_image.width) * static_cast<std::size_t>(m_step);
        for (std::size_t x = 0; x < used; ++x) {
            Light& pixel = pixels[x / static_cast<std::size_t>(m_step)];
            pixel = pixel + lightOf(row.data() + x * 4) * share;
        }
    }

private:
    EnvironmentImage& m_image;
    int m_step;
};

/// @return false when the picture is black.
bool normalise(EnvironmentImage& image)
{
    double sum = 0;
    double weights = 0;
    for (int y = 0; y < image.height; ++y) {
        const double weight = std::sin(std::numbers::pi * (y + 0.5) / image.height);
        for (int x = 0; x < image.width; ++x)
            sum += weight * double{luminance(image.pixels[static_cast<std::size_t>(y * image.width + x)])};
        weights += weight * image.width;
    }
    const double gain = kMeanLuminance / (sum / weights);
    if (!std::isfinite(gain))
        return false;
    for (Light& pixel : image.pixels) {
        pixel = pixel * static_cast<float>(gain);
        pixel = {std::min(pixel.red, kBrightest), std::min(pixel.green, kBrightest), std::min(pixel.blue, kBrightest)};
    }
    return true;
}

} // namespace

Light EnvironmentImage::at(Direction from) const
{
    constexpr float pi = std::numbers::pi_v<float>;
    const float u = 0.5f + std::atan2(from.x, -from.z) / (2 * pi);
    const float v = std::acos(std::clamp(from.y, -1.0f, 1.0f)) / pi;
    const float x = u * static_cast<float>(width) - 0.5f;
    const float y = std::clamp(v * static_cast<float>(height) - 0.5f, 0.0f, static_cast<float>(height - 1));
    const int left = static_cast<int>(std::floor(x));
    const int upper = static_cast<int>(y);
    const int lower = std::min(upper + 1, height - 1);
    const auto pixel = [this](int column, int row) {
        const int wrapped = ((column % width) + width) % width;
        return pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(wrapped)];
    };
    const float right = x - static_cast<float>(left);
    return mix(mix(pixel(left, upper), pixel(left + 1, upper), right),
               mix(pixel(left, lower), pixel(left + 1, lower), right), y - static_cast<float>(upper));
}

bool readRadiance(const std::uint8_t* bytes, std::size_t size, EnvironmentImage& image, std::string& reason)
{
    Reader reader(bytes, size);
    std::int64_t width = 0;
    std::int64_t height = 0;
    if (!readHeader(reader, width, height, reason))
        return false;
    int step = 1;
    while (width / step > kMaxKeptEnvironmentWidth)
        ++step;
    image.width = static_cast<int>(width / step);
    image.height = static_cast<int>(height / step);
    if (image.height < 1) {
        reason = "has an impossible size";
        return false;
    }
    image.pixels.assign(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height), {});

    Reduction reduction(image, step);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * 4);
    for (std::int64_t y = 0; y < height; ++y) {
        if (!readRow(reader, row)) {
            reason = "ends in the middle of its data";
            return false;
        }
        reduction.addRow(y, row);
    }
    if (!normalise(image)) {
        reason = "holds no light";
        return false;
    }
    return true;
}

bool readRadianceFile(const std::string& path, EnvironmentImage& image, std::string& reason)
{
    FileBytes file;
    return file.open(path, reason) && readRadiance(file.data(), file.size(), image, reason);
}

} // namespace ov3d::renderer
