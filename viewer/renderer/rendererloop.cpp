#include "viewer/renderer/rendererloop.h"

#include "viewer/renderer/import/importer.h"

#include <chrono>
#include <exception>
#include <new>
#include <poll.h>
#include <unistd.h>

namespace ov3d::renderer {
namespace {

/// Of a load, the part before the scene is made.
constexpr int kImportShare = 80;
constexpr int kScenePercent = 95;

/// Bytes of a Loaded that its lists may fill; the rest of a message is plenty for everything else.
constexpr std::size_t kMaxListBytes = protocol::kMaxMessageBytes - 4096;
constexpr std::size_t kEntryOverheadBytes = 8;

protocol::Failed failed(const std::string& reason)
{
    return protocol::Failed{reason};
}

/// Copies names as long as there is room; a name is copied whole or not at all.
std::vector<std::string> fitting(const std::vector<std::string>& names, std::size_t& room)
{
    std::vector<std::string> copied;
    for (const std::string& name : names) {
        if (name.size() + kEntryOverheadBytes > room)
            break;
        room -= name.size() + kEntryOverheadBytes;
        copied.push_back(name);
    }
    return copied;
}

void store(Vec3 from, double (&to)[3])
{
    to[0] = from.x;
    to[1] = from.y;
    to[2] = from.z;
}

protocol::Loaded loadedFrom(const ModelData& model)
{
    protocol::Loaded loaded;
    store(model.frame.origin, loaded.centre);
    loaded.radius = model.radius;
    store(model.box_min, loaded.box_min);
    store(model.box_max, loaded.box_max);
    for (const MeshData& mesh : model.meshes)
        if (mesh.primitive == Primitive::triangles)
            loaded.triangles += mesh.indices.size() / 3;
    loaded.materials = static_cast<std::uint32_t>(model.materials.size());
    loaded.textures = static_cast<std::uint32_t>(model.textures.size());
    std::size_t room = kMaxListBytes;
    loaded.files = fitting(model.files, room);
    loaded.missing = fitting(model.missing, room);
    loaded.notes = fitting(model.notes, room);
    return loaded;
}

} // namespace

RendererLoop::RendererLoop(protocol::Channel channel)
    : m_channel(std::move(channel))
{
}

bool RendererLoop::send(const protocol::Answer& answer)
{
    return m_channel.send(protocol::encode(answer));
}

bool RendererLoop::isRequestWaiting() const
{
    pollfd socket{m_channel.descriptor(), POLLIN, 0};
    return ::poll(&socket, 1, 0) != 0;
}

void RendererLoop::warmUp()
{
    for (const Surface surface : kSurfaces)
        if (!isRequestWaiting())
            m_pictures.warmUp(surface);
}

int RendererLoop::run()
{
    if (!m_pictures.start()) {
        send(failed("this machine has no OpenGL that can draw without a window"));
        return 1;
    }
    if (!send(protocol::Ready{m_pictures.driverName()}))
        return 0;
    warmUp();

    std::vector<std::uint8_t> message;
    int attached = -1;
    while (m_channel.receive(message, attached, std::chrono::milliseconds(-1)) == protocol::Channel::Outcome::message) {
        protocol::Request request;
        if (!protocol::decode(message.data(), message.size(), request)) {
            if (attached >= 0)
                ::close(attached);
            return 1;
        }
        if (!serve(request, attached))
            return 0;
        attached = -1;
    }
    return 0;
}

bool RendererLoop::serve(const protocol::Request& request, int attached)
{
    protocol::Answer answer;
    if (attached >= 0 && !std::holds_alternative<protocol::LoadRequest>(request))
        ::close(attached);
    try {
        if (const auto* load = std::get_if<protocol::LoadRequest>(&request))
            answer = this->load(*load, attached);
        else
            answer = render(std::get<protocol::RenderRequest>(request));
    } catch (const std::bad_alloc&) {
        answer = failed("needs more memory than allowed");
    } catch (const std::exception& error) {
        answer = failed(std::string("cannot be shown (") + error.what() + ")");
    } catch (...) {
        answer = failed("cannot be shown");
    }
    return send(answer);
}

protocol::Answer RendererLoop::load(const protocol::LoadRequest& request, int attached)
{
    m_frame = attached >= 0 ? protocol::FrameMemory::map(attached, request.max_frame_bytes) : protocol::FrameMemory();
    m_pictures.clearModel();

    ImportRequest wanted;
    wanted.path = request.path;
    wanted.model_format = request.model_format;
    wanted.without_textures = request.without_textures;
    wanted.list_only = request.list_only;
    wanted.progress = [this](int percent) { send(protocol::Progress{percent * kImportShare / 100}); };
    ImportResult result = importModel(wanted);
    if (!result.ok)
        return failed(result.reason);
    if (request.list_only)
        return loadedFrom(result.model);

    m_pictures.setModel(std::move(result.model));
    send(protocol::Progress{kScenePercent});
    return loadedFrom(m_pictures.model());
}

protocol::Answer RendererLoop::render(const protocol::RenderRequest& request)
{
    std::string reason;
    if (!m_frame.isOpen())
        return failed("there is no memory for the picture");
    if (!m_pictures.draw(request, m_frame.data(), m_frame.size(), reason))
        return failed(reason);
    return protocol::Rendered{request.serial, request.width, request.height, m_pictures.note()};
}

} // namespace ov3d::renderer
