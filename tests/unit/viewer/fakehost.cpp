#include "tests/unit/viewer/fakehost.h"

#include "src/render/handshake.h"
#include "tests/support/testbase.h"
#include "viewer/protocol/messages.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"
#include "viewer/session/registry.h"
#include "viewer/session/rendererpool.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

#include <algorithm>
#include <cstring>

using ov3d::session::Registry;

namespace {

std::mutex g_mutex;
std::vector<int> g_progress;
QStringList g_events;
int g_lastRun = 0;

void recordProgress(int percent)
{
    const std::lock_guard lock(g_mutex);
    g_progress.push_back(percent);
}

void recordEvent(const char* json)
{
    const std::lock_guard lock(g_mutex);
    g_events << QString::fromUtf8(json);
}

constexpr std::size_t kGuardBytes = 4096;
constexpr unsigned char kGuard = 0xC3;

} // namespace

FakeHost::FakeHost(const QString& modelPath, int width, int height)
    : m_context(std::make_unique<ViewContext>())
    , m_ended(std::make_shared<std::atomic<bool>>(true))
{
    std::memset(static_cast<void*>(m_context.get()), 0, sizeof(ViewContext));
    m_context->width = width;
    m_context->height = height;
    m_context->model_format = kFormatGlb;
    m_context->result = -1;
    setModelPath(modelPath);
    if (width > 0 && height > 0) {
        m_buffer.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 8);
        m_buffer.resize(m_buffer.size() + kGuardBytes, kGuard);
    }
}

FakeHost::~FakeHost()
{
    stop();
    for (std::thread& thread : m_threads)
        thread.join();
}

void FakeHost::setModelPath(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    std::memset(m_context->model_path, 0, sizeof m_context->model_path);
    std::memcpy(m_context->model_path, bytes.constData(),
                std::min<std::size_t>(sizeof m_context->model_path, static_cast<std::size_t>(bytes.size())));
}

void FakeHost::start()
{
    start(recordProgress);
}

void FakeHost::start(ProgressCallback callback)
{
    ViewContext& c = *m_context;
    c.op = kOperationStart;
    {
        const std::lock_guard lock(g_mutex);
        c.object_id = ++g_lastRun;
        g_progress.clear();
    }
    c.frame_buffer = m_buffer.empty() ? nullptr : m_buffer.data();
    storeRelease(c.frame_width, kNoFrame);
    c.view_settings = &view;
    c.display_settings = &display;
    c.material_settings = &material;
    c.lighting_settings = &lighting;
    c.camera_settings = &camera;
    storeRelease(c.first_draw, std::uint8_t{0});
    c.progress_callback = callback;
    const auto before = Registry::instance().find(&c);
    m_ended = std::make_shared<std::atomic<bool>>(false);
    m_threads.emplace_back([&c, ended = m_ended] {
        const char* arguments[] = {"./"};
        ov3dViewer(1, arguments, &c);
        ended->store(true);
    });
    TestBase::waitFor([&] {
        const auto now = Registry::instance().find(&c);
        return m_ended->load() || (now && now != before);
    });
}

void FakeHost::call(int op)
{
    m_context->op = op;
    ov3dViewer(0, nullptr, m_context.get());
}

void FakeHost::mouse(int type, int x, int y, int button)
{
    ViewContext& c = *m_context;
    c.mouse_type = type;
    c.mouse_x = x;
    c.mouse_y = y;
    c.mouse_modifiers = 0;
    c.mouse_buttons = 1;
    c.mouse_button = button;
    c.mouse_count = 1;
    c.wheel_dx = 0;
    c.wheel_dy = type == kMouseWheel ? 2.0f : 0.0f;
    call(kOperationInput);
}

void FakeHost::resize(int width, int height)
{
    storeRelease(m_context->width, width);
    storeRelease(m_context->height, height);
}

int FakeHost::command(int code, const QByteArray& text)
{
    std::memset(m_context->command_text, 0, sizeof m_context->command_text);
    std::memcpy(m_context->command_text, text.constData(),
                std::min(sizeof m_context->command_text, static_cast<std::size_t>(text.size())));
    storeRelease(m_context->result, -1);
    call(code);
    return loadAcquire(m_context->result);
}

int FakeHost::waitForResult(int timeoutMs)
{
    TestBase::waitFor([this] { return loadAcquire(m_context->result) != -1; }, timeoutMs);
    return loadAcquire(m_context->result);
}

void FakeHost::stop()
{
    call(kOperationStop);
}

bool FakeHost::isFirstDrawDone() const
{
    return loadAcquire(m_context->first_draw) != 0;
}

bool FakeHost::waitForFirstDraw(int timeoutMs)
{
    return TestBase::waitFor([this] { return isFirstDrawDone(); }, timeoutMs);
}

bool FakeHost::hasFrame() const
{
    return loadAcquire(m_context->frame_width) != kNoFrame;
}

bool FakeHost::waitForFrame(int timeoutMs)
{
    return TestBase::waitFor([this] { return hasFrame(); }, timeoutMs);
}

TakenFrame FakeHost::take(int timeoutMs)
{
    TakenFrame frame;
    if (!waitForFrame(timeoutMs))
        return frame;
    frame.width = loadAcquire(m_context->frame_width);
    frame.height = m_context->frame_height;
    if (frame.width > 0)
        frame.pixels = QByteArray(reinterpret_cast<const char*>(m_buffer.data()),
                                  static_cast<int>(ov3d::protocol::rowBytes(frame.width)) * frame.height);
    storeRelease(m_context->frame_width, kNoFrame);
    return frame;
}

std::vector<TakenFrame> FakeHost::takeAll(int timeoutMs)
{
    std::vector<TakenFrame> frames;
    TestBase::waitFor(
        [&] {
            if (hasFrame())
                frames.push_back(take());
            return !hasFrame() && ov3dViewerPending() == 0;
        },
        timeoutMs);
    return frames;
}

TakenFrame FakeHost::startAndSettle()
{
    start();
    if (!waitForFirstDraw())
        return {};
    const std::vector<TakenFrame> frames = takeAll();
    return frames.empty() ? TakenFrame() : frames.back();
}

bool FakeHost::waitForThread(int timeoutMs)
{
    return TestBase::waitFor([this] { return m_ended->load(); }, timeoutMs);
}

std::vector<int> FakeHost::progress() const
{
    const std::lock_guard lock(g_mutex);
    return g_progress;
}

QByteArray FakeHost::fileList() const
{
    return {m_context->file_list, static_cast<int>(strnlen(m_context->file_list, sizeof m_context->file_list))};
}

bool FakeHost::isBufferIntact() const
{
    return m_buffer.size() < kGuardBytes ||
           std::all_of(m_buffer.end() - kGuardBytes, m_buffer.end(), [](unsigned char byte) { return byte == kGuard; });
}

ViewerFixture::ViewerFixture()
{
    qputenv("OV3D_RENDERER", FAKE_RENDERER);
    {
        const std::lock_guard lock(g_mutex);
        g_events.clear();
    }
    ov3dViewerSetObserver(recordEvent);
}

ViewerFixture::~ViewerFixture()
{
    ov3dViewerSetObserver({});
    ov3d::session::setLimits({});
    ov3d::session::RendererPool::instance().clear();
}

QString ViewerFixture::model(const QString& name, int bytes)
{
    QFile file(m_folder.filePath(name));
    if (file.open(QIODevice::WriteOnly))
        file.write(QByteArray(bytes, 'x'));
    return file.fileName();
}

QString ViewerFixture::path(const QString& name) const
{
    return m_folder.filePath(name);
}

QStringList ViewerFixture::log(const QString& modelPath)
{
    QFile file(modelPath + QStringLiteral(".log"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

int ViewerFixture::count(const QString& modelPath, const QString& lineStart)
{
    int count = 0;
    for (const QString& line : log(modelPath))
        count += line.startsWith(lineStart) ? 1 : 0;
    return count;
}

int ViewerFixture::rendererOf(const QString& modelPath)
{
    int id = 0;
    for (const QString& line : log(modelPath))
        if (line.startsWith(QLatin1String("load pid=")))
            id = line.mid(9).section(QLatin1Char(' '), 0, 0).toInt();
    return id;
}

QStringList ViewerFixture::events() const
{
    const std::lock_guard lock(g_mutex);
    return g_events;
}

int ViewerFixture::eventCount(const QString& name) const
{
    int count = 0;
    for (const QString& event : events())
        count += QJsonDocument::fromJson(event.toUtf8()).object()[QLatin1String("event")].toString() == name ? 1 : 0;
    return count;
}

QString ViewerFixture::reasonOf(const QString& name) const
{
    QString reason;
    for (const QString& event : events()) {
        const QJsonObject object = QJsonDocument::fromJson(event.toUtf8()).object();
        if (object[QLatin1String("event")].toString() == name)
            reason = object[QLatin1String("reason")].toString();
    }
    return reason;
}

QList<int> childProcesses()
{
    QList<int> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
        if (entry.toInt() <= 0 || !stat.open(QIODevice::ReadOnly))
            continue;
        // The name in brackets may hold anything; the parent is the second field after it.
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1 && fields[1].toInt() == getpid())
            children << entry.toInt();
    }
    return children;
}
