#include "tests/unit/renderer/rendererclient.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace protocol = ov3d::protocol;

namespace {

constexpr int kMaxWidth = 1600;
constexpr int kMaxHeight = 1200;
constexpr std::chrono::milliseconds kPatience(60000);
constexpr double kFieldOfView = 0.5; // radians
constexpr int kSocketInChild = 3;

std::int32_t formatOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    const QStringList known{"fbx", "obj", "gltf", "stl", "glb", "3mf"};
    return static_cast<std::int32_t>(known.indexOf(suffix));
}

/// A camera at that azimuth and elevation that has the whole bounding sphere in the picture.
OV3DOBJECT::SceneStatus fittedStatus(const protocol::Loaded& loaded, double azimuth, double elevation, int width,
                                     int height)
{
    const double a = azimuth * M_PI / 180;
    const double e = elevation * M_PI / 180;
    const double narrow = std::min(1.0, double(width) / height);
    const double radius = loaded.radius > 0 ? loaded.radius : 1.0;
    const double distance = radius / std::sin(std::atan(std::tan(kFieldOfView / 2) * narrow));
    const double backward[3] = {std::sin(a) * std::cos(e), std::sin(e), std::cos(a) * std::cos(e)};
    const double right[3] = {std::cos(a), 0, -std::sin(a)};
    const double up[3] = {-std::sin(a) * std::sin(e), std::cos(e), -std::cos(a) * std::sin(e)};

    OV3DOBJECT::SceneStatus status = {};
    for (int i = 0; i < 3; ++i) {
        status.camera_to_world[i] = right[i];
        status.camera_to_world[4 + i] = up[i];
        status.camera_to_world[8 + i] = backward[i];
        status.camera_to_world[12 + i] = loaded.centre[i] + backward[i] * distance;
        status.focal_point[i] = loaded.centre[i];
    }
    status.camera_to_world[15] = 1;
    const double f = 0.5 / std::tan(kFieldOfView / 2);
    status.intrinsics[0] = status.intrinsics[4] = f;
    status.intrinsics[8] = 1;
    status.projection[1] = kFieldOfView;
    status.projection[2] = 2 * distance * std::tan(kFieldOfView / 2);
    status.projection[3] = distance;
    const double third = std::sqrt(1.0 / 3.0);
    status.sun_direction[0] = third;
    status.sun_direction[1] = -third;
    status.sun_direction[2] = -third;
    return status;
}

} // namespace

RendererClient::RendererClient(int memoryMegabytes)
    : m_frame(protocol::FrameMemory::create(protocol::rowBytes(kMaxWidth) * kMaxHeight))
{
    protocol::ChannelPair pair = protocol::makeChannelPair();
    const QByteArray program = qgetenv("OV3D_RENDERER");
    const QByteArray parent = QByteArray::number(static_cast<qlonglong>(::getpid()));
    const QByteArray memory = QByteArray::number(memoryMegabytes);
    m_process = ::fork();
    if (m_process == 0) {
        ::unsetenv("DISPLAY");
        ::unsetenv("WAYLAND_DISPLAY");
        if (memoryMegabytes > 0) {
            ::setenv("OV3D_RENDERER_MEMORY_MB", memory.constData(), 1);
            ::setenv("LP_NUM_THREADS", "2", 1); // each thread of the software driver takes its share
        }
        if (::dup2(pair.there.descriptor(), kSocketInChild) != kSocketInChild)
            ::_exit(127);
        ::execl(program.constData(), program.constData(), "--socket", "3", "--parent", parent.constData(), nullptr);
        ::_exit(127);
    }
    m_channel = std::move(pair.here);
}

RendererClient::~RendererClient()
{
    if (m_process <= 0)
        return;
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

bool RendererClient::receiveAnswer(protocol::Answer& answer)
{
    std::vector<std::uint8_t> message;
    int attached = -1;
    while (m_channel.receive(message, attached, kPatience) == protocol::Channel::Outcome::message) {
        if (!protocol::decode(message.data(), message.size(), answer))
            return false;
        const auto* progress = std::get_if<protocol::Progress>(&answer);
        if (progress == nullptr)
            return true;
        m_progress.append(progress->percent);
    }
    return false;
}

bool RendererClient::waitUntilReady()
{
    protocol::Answer answer;
    if (!receiveAnswer(answer) || !std::holds_alternative<protocol::Ready>(answer))
        return false;
    m_graphics = QString::fromStdString(std::get<protocol::Ready>(answer).graphics);
    return true;
}

void RendererClient::startLoading(const QString& path)
{
    protocol::LoadRequest request;
    request.path = path.toStdString();
    request.model_format = formatOf(path);
    request.max_frame_bytes = m_frame.size();
    m_channel.send(protocol::encode(protocol::Request(request)), m_frame.descriptor());
}

bool RendererClient::load(const QString& path, bool listOnly)
{
    protocol::LoadRequest request;
    request.path = path.toStdString();
    request.model_format = formatOf(path);
    request.list_only = listOnly;
    request.max_frame_bytes = m_frame.size();
    m_failure.clear();
    m_progress.clear();
    protocol::Answer answer;
    if (!m_channel.send(protocol::encode(protocol::Request(request)), m_frame.descriptor()) || !receiveAnswer(answer)) {
        m_failure = "no answer";
        return false;
    }
    if (const auto* failed = std::get_if<protocol::Failed>(&answer))
        m_failure = QString::fromStdString(failed->reason);
    const auto* loaded = std::get_if<protocol::Loaded>(&answer);
    if (loaded)
        m_loaded = *loaded;
    return loaded != nullptr;
}

bool RendererClient::render(int width, int height, protocol::Quality quality, const protocol::RenderSettings& settings)
{
    protocol::RenderRequest request;
    request.serial = 7;
    request.width = width;
    request.height = height;
    request.quality = quality;
    request.settings = settings;
    request.tile = tile;
    const bool isWhole = tile == protocol::Tile{};
    request.status = fittedStatus(m_loaded, azimuth, elevation, isWhole ? width : tile.whole_width,
                                  isWhole ? height : tile.whole_height);
    OV3DOBJECT::SceneStatus& status = request.status;
    status.intrinsics[2] = centreX;
    status.intrinsics[5] = centreY;
    status.projection[0] = parallel ? 1 : 0;
    status.projection[3] *= distance;
    for (int i = 0; i < 3; ++i)
        status.camera_to_world[12 + i] = status.focal_point[i] + status.camera_to_world[8 + i] * status.projection[3];
    m_failure.clear();
    protocol::Answer answer;
    if (!m_channel.send(protocol::encode(protocol::Request(request))) || !receiveAnswer(answer)) {
        m_failure = "no answer";
        return false;
    }
    if (const auto* failed = std::get_if<protocol::Failed>(&answer))
        m_failure = QString::fromStdString(failed->reason);
    const auto* rendered = std::get_if<protocol::Rendered>(&answer);
    return rendered && rendered->serial == 7 && rendered->width == width && rendered->height == height;
}

QImage RendererClient::draw(int width, int height, protocol::Quality quality, const protocol::RenderSettings& settings)
{
    if (!render(width, height, quality, settings))
        return {};
    return QImage(m_frame.data(), width, height, static_cast<int>(protocol::rowBytes(width)), QImage::Format_RGB888)
        .copy();
}

QByteArray RendererClient::drawBytes(int width, int height)
{
    if (!render(width, height, protocol::Quality::final, {}))
        return {};
    return QByteArray(reinterpret_cast<const char*>(m_frame.data()),
                      static_cast<int>(protocol::rowBytes(width)) * height);
}

void RendererClient::closeSocket()
{
    m_channel.close();
}

bool RendererClient::waitUntilEnded(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        if (::waitpid(m_process, nullptr, WNOHANG) == m_process) {
            m_process = -1;
            return true;
        }
        QThread::msleep(5);
    }
    return false;
}
