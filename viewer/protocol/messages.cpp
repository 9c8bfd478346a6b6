#include "viewer/protocol/messages.h"

#include "viewer/protocol/decoder.h"
#include "viewer/protocol/encoder.h"

#include <cmath>
#include <utility>

namespace ov3d::protocol {

namespace {

// One list of fields serves both directions, so that they cannot drift apart. `Codec` is an Encoder or a Decoder.

template <typename Codec, typename... Fields> void each(Codec& codec, Fields&... fields)
{
    if constexpr (std::is_same_v<Codec, Encoder>)
        (codec.put(fields), ...);
    else
        (codec.get(fields), ...);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, LoadRequest>
{
    each(codec, m.path, m.model_format, m.without_textures, m.list_only, m.max_frame_bytes);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, RenderSettings>
{
    each(codec, m.enable_sky, m.enable_axis, m.enable_ground, m.bg_color, m.light_profile, m.material_type_a,
         m.material_type_b, m.material_color, m.point_size, m.raw_mode, m.wireframe, m.hdr_map, m.hdr_map_type,
         m.sun_follow, m.ibl_intensity, m.sun_intensity, m.sun_dir, m.sun_color, m.ibl_enabled, m.use_default_ibl,
         m.sun_enabled, m.hdr_path);
}

void quality(Encoder& codec, const Quality& value)
{
    codec.put(static_cast<std::uint32_t>(value));
}

void quality(Decoder& codec, Quality& value)
{
    std::uint32_t number = 0;
    codec.get(number);
    if (number > static_cast<std::uint32_t>(Quality::final))
        codec.fail();
    else
        value = static_cast<Quality>(number);
}

void status(Encoder& codec, const OV3DOBJECT::SceneStatus& value)
{
    codec.append(&value, sizeof value);
}

void status(Decoder& codec, OV3DOBJECT::SceneStatus& value)
{
    codec.copy(&value, sizeof value);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, RenderRequest>
{
    each(codec, m.serial, m.width, m.height, m.tile.left, m.tile.top, m.tile.whole_width, m.tile.whole_height);
    quality(codec, m.quality);
    status(codec, m.status);
    fields(codec, m.settings);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, Ready>
{
    each(codec, m.graphics);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, Progress>
{
    each(codec, m.percent);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, Loaded>
{
    each(codec, m.centre, m.radius, m.box_min, m.box_max, m.triangles, m.materials, m.textures, m.files, m.missing,
         m.notes);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, Rendered>
{
    each(codec, m.serial, m.width, m.height, m.note);
}

template <typename Codec, typename Message>
void fields(Codec& codec, Message& m) requires std::is_same_v<std::remove_const_t<Message>, Failed>
{
    each(codec, m.reason);
}

// The kind of a message is its place in the variant; requests and answers travel in opposite directions only.

template <typename Variant> std::vector<std::uint8_t> encodeVariant(const Variant& message)
{
    Encoder encoder;
    encoder.put(static_cast<std::uint32_t>(message.index()));
    std::visit([&encoder](const auto& alternative) { fields(encoder, alternative); }, message);
    return encoder.take();
}

template <typename Variant, std::size_t... Index>
bool decodeAlternative(Decoder& decoder, std::uint32_t kind, Variant& out, std::index_sequence<Index...>)
{
    const auto tryOne = [&]<std::size_t I>() {
        if (kind != I)
            return false;
        fields(decoder, out.template emplace<I>());
        return decoder.isComplete();
    };
    return (tryOne.template operator()<Index>() || ...);
}

template <typename Variant> bool decodeVariant(const std::uint8_t* bytes, std::size_t size, Variant& out)
{
    if (size > kMaxMessageBytes)
        return false;
    Decoder decoder(bytes, size);
    std::uint32_t kind = std::variant_size_v<Variant>;
    decoder.get(kind);
    return decodeAlternative(decoder, kind, out, std::make_index_sequence<std::variant_size_v<Variant>>());
}

} // namespace

bool isFinite(const Loaded& loaded)
{
    const auto all = [](const double(&values)[3]) {
        return std::isfinite(values[0]) && std::isfinite(values[1]) && std::isfinite(values[2]);
    };
    return all(loaded.centre) && all(loaded.box_min) && all(loaded.box_max) && std::isfinite(loaded.radius) &&
           loaded.radius >= 0;
}

std::vector<std::uint8_t> encode(const Request& request)
{
    return encodeVariant(request);
}

std::vector<std::uint8_t> encode(const Answer& answer)
{
    return encodeVariant(answer);
}

bool decode(const std::uint8_t* bytes, std::size_t size, Request& out)
{
    return decodeVariant(bytes, size, out);
}

bool decode(const std::uint8_t* bytes, std::size_t size, Answer& out)
{
    return decodeVariant(bytes, size, out);
}

} // namespace ov3d::protocol
