#include "viewer/renderer/scene/imagedecoding.h"

#include "viewer/renderer/scene/bitmapformats.h"

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <jpeglib.h>
#include <png.h>

namespace ov3d::renderer {
namespace {

using Bytes = std::vector<std::uint8_t>;

const char* const kBroken = "is damaged";
const char* const kTooLarge = "is too large";

bool beginsWith(const Bytes& bytes, const char* mark, std::size_t size)
{
    return bytes.size() >= size && std::memcmp(bytes.data(), mark, size) == 0;
}

bool endsWithTga(const std::string& name)
{
    if (name.size() < 4)
        return false;
    std::string suffix = name.substr(name.size() - 4);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return suffix == ".tga";
}

bool allocate(DecodedImage& out, std::int64_t width, std::int64_t height, std::string& reason)
{
    if (width <= 0 || height <= 0)
        reason = kBroken;
    else if (width > kMaxImagePixels || height > kMaxImagePixels || width * height > kMaxImagePixels)
        reason = kTooLarge;
    if (!reason.empty())
        return false;
    out.width = static_cast<int>(width);
    out.height = static_cast<int>(height);
    out.rgba.assign(static_cast<std::size_t>(width * height) * 4, 0);
    return true;
}

bool decodePng(const Bytes& bytes, DecodedImage& out, std::string& reason)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) {
        reason = kBroken;
        return false;
    }
    image.format = PNG_FORMAT_RGBA;
    image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
    const bool done = allocate(out, image.width, image.height, reason) &&
                      png_image_finish_read(&image, nullptr, out.rgba.data(), 0, nullptr);
    png_image_free(&image);
    if (!done && reason.empty())
        reason = kBroken;
    return done;
}

struct JpegErrors
{
    jpeg_error_mgr base; // first, since libjpeg hands out its address
    std::jmp_buf back;
};

[[noreturn]] void leaveJpeg(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->back, 1);
}

/// Nothing in here has a destructor: libjpeg jumps over it.
bool readJpegHeader(jpeg_decompress_struct& info, JpegErrors& errors, const Bytes& bytes)
{
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = leaveJpeg;
    errors.base.output_message = [](j_common_ptr) {};
    if (setjmp(errors.back))
        return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, bytes.data(), bytes.size());
    jpeg_read_header(&info, TRUE);
    return true;
}

bool readJpegRows(jpeg_decompress_struct& info, JpegErrors& errors, std::uint8_t* rgba)
{
    if (setjmp(errors.back))
        return false;
    info.out_color_space = JCS_EXT_RGBA;
    info.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = rgba + std::size_t{info.output_scanline} * info.output_width * 4;
        jpeg_read_scanlines(&info, &row, 1);
    }
    return true;
}

bool decodeJpeg(const Bytes& bytes, DecodedImage& out, std::string& reason)
{
    jpeg_decompress_struct info = {};
    JpegErrors errors = {};
    // A picture that ends early is shown as far as it goes: libjpeg fills the rest with grey.
    const bool done = readJpegHeader(info, errors, bytes) &&
                      allocate(out, info.image_width, info.image_height, reason) &&
                      readJpegRows(info, errors, out.rgba.data());
    jpeg_destroy_decompress(&info);
    if (!done && reason.empty())
        reason = kBroken;
    return done;
}

bool decodeBitmap(const Bytes& bytes, bool (*readHeader)(const Bytes&, BitmapHeader&),
                  bool (*readPixels)(const Bytes&, const BitmapHeader&, std::uint8_t*), DecodedImage& out,
                  std::string& reason)
{
    BitmapHeader header;
    if (!readHeader(bytes, header)) {
        reason = "is of a kind that cannot be read";
        return false;
    }
    if (!allocate(out, header.width, header.height, reason))
        return false;
    if (readPixels(bytes, header, out.rgba.data()))
        return true;
    reason = kBroken;
    return false;
}

} // namespace

bool decodeImage(const TextureData& texture, DecodedImage& out, std::string& reason)
{
    reason.clear();
    if (!texture.pixels.empty()) {
        if (!allocate(out, texture.width, texture.height, reason) || out.rgba.size() != texture.pixels.size())
            return false;
        out.rgba = texture.pixels;
        return true;
    }
    const Bytes& bytes = texture.encoded;
    if (beginsWith(bytes, "\x89PNG\r\n\x1a\n", 8))
        return decodePng(bytes, out, reason);
    if (beginsWith(bytes, "\xFF\xD8\xFF", 3))
        return decodeJpeg(bytes, out, reason);
    if (beginsWith(bytes, "BM", 2))
        return decodeBitmap(bytes, readBmpHeader, readBmpPixels, out, reason);
    if (endsWithTga(texture.name))
        return decodeBitmap(bytes, readTgaHeader, readTgaPixels, out, reason);
    reason = "is of a kind that cannot be read";
    return false;
}

} // namespace ov3d::renderer
