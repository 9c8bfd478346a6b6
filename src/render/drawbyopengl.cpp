#include "src/render/drawbyopengl.h"

#include "src/log/log.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/backgroundkeying.h"
#include "src/render/handshake.h"
#include "src/render/progress.h"
#include "src/render/sidefiles.h"

#include <QMutexLocker>

#include <algorithm>
#include <cstring>
#include <string>
#include <system_error>
#include <thread>

namespace {

constexpr unsigned long kFirstDrawPollMs = 10;
constexpr unsigned long kSettleMs = 300;
constexpr unsigned long kSettleStepMs = 10;
constexpr unsigned long kCollectIntervalMs = 80;
constexpr unsigned long kStopGraceMs = 300;
constexpr unsigned long kTerminationWaitMs = 100;
constexpr int kFrameNotice = 1002;
constexpr int kCameraMatrixSize = 16;

std::string idText(const ViewContext& context)
{
    return std::to_string(context.object_id);
}

int nextObjectId()
{
    return std::atomic_ref<int>(g_object_id).fetch_add(1, std::memory_order_acq_rel) + 1;
}

} // namespace

CDrawByOpenGL::CDrawByOpenGL(COv3DObject* item)
    : m_item(item)
{
}

CDrawByOpenGL::~CDrawByOpenGL()
{
    if (!stopRunning())
        wait();
}

bool CDrawByOpenGL::startRunning()
{
    storeRelease(m_running, true);
    start();
    return true;
}

bool CDrawByOpenGL::startDraw(int width, int height)
{
    const QMutexLocker lock(&m_mutex);
    m_width = width;
    m_height = height;
    storeRelease(m_drawing, true);
    return true;
}

void CDrawByOpenGL::stopDraw()
{
    const QMutexLocker lock(&m_mutex);
    storeRelease(m_drawing, false);
}

bool CDrawByOpenGL::stopRunning()
{
    storeRelease(m_running, false);
    const bool viewerIsTold = m_item && loadAcquire(m_item->m_viewerReady) != 0;
    if (m_item)
        m_item->deliverStop();
    msleep(kStopGraceMs);
    terminate();
    const bool ended = wait(kTerminationWaitMs);
    // A viewer that was told is finished with the context, so its pages may go; the addresses stay valid.
    if (ended && viewerIsTold)
        m_frameBuffer.discardPages();
    return ended;
}

void CDrawByOpenGL::getResultImage(QImage& out)
{
    if (!m_item)
        return;
    const QMutexLocker lock(&m_mutex);
    out = m_resultImage.copy();
    m_item->m_image = m_resultImage.copy();
}

/// terminate() may strike only inside this sleep, where no lock is held and no foreign code runs.
void CDrawByOpenGL::nap(unsigned long milliseconds)
{
    setTerminationEnabled(true);
    msleep(milliseconds);
    setTerminationEnabled(false);
}

void CDrawByOpenGL::run()
{
    setTerminationEnabled(false);

    test("[ovobject context size] " + std::to_string(sizeof(ViewContext)) + "\n");
    test(QStringLiteral("ov3dobject  currentThread:%1")
             .arg(reinterpret_cast<quintptr>(QThread::currentThreadId()))
             .toStdString() +
         "\n");
    prepareContext();
    startViewer();

    if (!waitForFirstDraw())
        return;
    appendSideFiles(m_item->m_context.file_list, sizeof m_item->m_context.file_list, m_item->m_textureFiles,
                    m_item->m_textureDirs);
    if (!settle())
        return;
    storeRelease(m_item->m_viewerReady, 1);
    logCameraMatrix();
    collectFrames();
}

void CDrawByOpenGL::prepareContext()
{
    ViewContext& context = m_item->m_context;
    storeRelease(context.op, std::int32_t{kOperationStart});
    context.object_id = nextObjectId();
    test(idText(context) + "  begin param init\n");

    const QByteArray path = m_modelPath.toLocal8Bit();
    std::memset(context.model_path, 0, sizeof context.model_path);
    std::memcpy(context.model_path, path.constData(),
                std::min(static_cast<std::size_t>(path.size()), sizeof context.model_path));

    m_frameBuffer = FrameBuffer::reserve(context.width, context.height);
    context.frame_buffer = m_frameBuffer.data();
    storeRelease(context.frame_width, kNoFrame);

    context.camera_settings = m_item->cameraBlock();
    std::copy(std::begin(m_item->m_cameraSettings.camera_position), std::end(m_item->m_cameraSettings.camera_position),
              std::begin(context.camera_settings->camera_position));

    copySettings();

    context.view_settings = &m_viewSettings;
    context.display_settings = &m_displaySettings;
    context.material_settings = &m_materialSettings;
    context.lighting_settings = &m_lightingSettings;
    m_item->m_enableSky = m_displaySettings.enable_sky;
    m_item->m_enableAxis = m_displaySettings.enable_axis;
    m_item->m_enableGround = m_displaySettings.enable_ground;
    storeRelease(context.first_draw, std::uint8_t{0});
    // The callback's result is ignored, which costs nothing in this calling convention; the stored address is the
    // function's own, as hosts may compare it.
    context.progress_callback = reinterpret_cast<void (*)(int)>(reinterpret_cast<void*>(&::updateProcess));
    test(idText(context) + "param init end\n");
}

/// Takes over the item's settings, except `light_profile` and `hdr_path`, which keep this thread's own values.
void CDrawByOpenGL::copySettings()
{
    m_viewSettings = m_item->m_viewSettings;
    m_materialSettings = m_item->m_materialSettings;

    const std::int32_t lightProfile = m_displaySettings.light_profile;
    m_displaySettings = m_item->m_displaySettings;
    m_displaySettings.light_profile = lightProfile;

    const std::string hdrPath = m_lightingSettings.hdr_path;
    m_lightingSettings = m_item->m_lightingSettings;
    m_lightingSettings.hdr_path = hdrPath;

    m_item->m_viewSettingsLoaded = false;
    m_materialSettings.material_update = false;
}

void CDrawByOpenGL::startViewer()
{
    try {
        // The argument list lives in the viewer's own thread, which may outlive this one.
        std::thread([viewer = g_run_view, context = &m_item->m_context] {
            const char* arguments[] = {"./", nullptr};
            viewer(1, arguments, context);
        }).detach();
        test(idText(m_item->m_context) + " RunViewer detached \n");
    } catch (const std::system_error&) {
        // No thread to be had: like a viewer that never draws.
    }
}

bool CDrawByOpenGL::waitForFirstDraw()
{
    while (loadAcquire(m_item->m_context.first_draw) == 0) {
        if (!loadAcquire(m_running))
            return false;
        nap(kFirstDrawPollMs);
    }
    return true;
}

bool CDrawByOpenGL::settle()
{
    for (unsigned long slept = 0; slept < kSettleMs; slept += kSettleStepMs) {
        if (!loadAcquire(m_running))
            return false;
        nap(kSettleStepMs);
    }
    return loadAcquire(m_running);
}

void CDrawByOpenGL::logCameraMatrix()
{
    const auto* status = reinterpret_cast<const double*>(&m_item->m_context.scene_status);
    QString text = QStringLiteral("[camera_matrix]  ");
    for (int i = 0; i < kCameraMatrixSize; ++i)
        text += QString::asprintf("%f,", status[i]); // a decimal point in every locale
    test(text.toStdString() + "\n");
}

void CDrawByOpenGL::collectFrames()
{
    while (loadAcquire(m_running)) {
        const bool drawing = loadAcquire(m_drawing);
        if (!m_firstFrame) {
            m_materialSettings.material_update = false;
            m_item->forcedraw();
            test("loop for first_draw sucess \n");
        }
        const int width = loadAcquire(m_item->m_context.frame_width);
        if (drawing && width != kNoFrame)
            takeFrame(width);
        nap(kCollectIntervalMs);
    }
}

void CDrawByOpenGL::takeFrame(int width)
{
    ViewContext& context = m_item->m_context;
    if (!m_firstFrame)
        test(idText(context) + " first_draw sucess \n");

    const bool published = publishFrame(width, context.frame_height);
    if (!published)
        storeRelease(context.frame_width, kNoFrame);
    // Also after a frame that could not be used, so that a load does not wait for ever.
    storeRelease(m_firstFrame, true);
    if (!published)
        return;

    m_item->notifyObjPropertyChanged(kFrameNotice, QString());
    Q_EMIT updateImage();
}

/// @return false when the frame lies outside the buffer or no image could be made of it; nothing has changed then.
bool CDrawByOpenGL::publishFrame(int width, int height)
{
    if (!m_frameBuffer.holds(width, height))
        return false;
    const QImage frame(m_frameBuffer.data(), width, height, QImage::Format_RGB888);
    QImage image = frame.convertToFormat(QImage::Format_ARGB32);
    if (image.isNull())
        return false;

    const QMutexLocker lock(&m_mutex);
    if (!m_item->m_context.display_settings->enable_sky)
        keyOutBackground(image);
    m_resultImage = image;
    if (m_item->m_image.width() == 0)
        m_item->m_image = image;
    storeRelease(m_item->m_context.frame_width, kNoFrame);
    return true;
}
