#include "src/plugin/ov3dobject.h"

#include "src/plugin/numbers.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"

#include <QDebug>
#include <QKeyEvent>
#include <QThread>

#include <limits>

RunViewFunction g_run_view = nullptr;
RenderHook g_begin_render = nullptr;
RenderHook g_end_render = nullptr;
ImageRenderFunction g_image_render = nullptr;
unsigned char* g_3d_handle = nullptr;
void* g_match = nullptr;
void* g_run = nullptr;
int cntx = 0;
QString g_app_path;
QString g_app_path_log;
QMap<QString, int> g_dir_map;
int g_dirNum = 0;
int g_progress = 0;
int g_object_id = 0;
int whell_call = 0;
bool m_pyramidUpdate = true;

namespace {

constexpr int kItemType = QGraphicsItem::UserType + 11600;
constexpr qreal kInitialWidth = 1280.0;
constexpr qreal kInitialHeight = 960.0;
constexpr qint64 kDestructionDelayMs = 6000;
constexpr unsigned long kDestructionStepMs = 10;
constexpr std::size_t kCameraBlockOffset = 264; ///< of the camera block inside the host's parameter record

static_assert(sizeof(CEL3DObjectParams) >= kCameraBlockOffset + sizeof(CameraSettings),
              "the host's parameter record has no room for the camera block");
static_assert(alignof(CEL3DObjectParams) >= alignof(CameraSettings));

void initialiseContext(ViewContext& context)
{
    context.width = truncatedToInt(kInitialWidth);
    context.height = truncatedToInt(kInitialHeight);
    context.status_saved = 1;
    context.model_format = kFormatNone;
    context.result = -1;
}

/// Sleeps in steps until six seconds have passed since the load. An invalid timer counts as long expired; its elapsed()
/// must never be asked, since it answers a huge negative number.
void waitAfterLoad(const QElapsedTimer& loadTimer)
{
    for (;;) {
        const qint64 elapsed = loadTimer.isValid() ? loadTimer.elapsed() : std::numeric_limits<qint64>::max();
        QThread::msleep(kDestructionStepMs);
        if (elapsed > kDestructionDelayMs)
            return;
    }
}

} // namespace

void* createObject_ov3dobject(int, int second, bool third)
{
    return new COv3DObject(second, third, nullptr);
}

void SetRunHandle(void (*run)(int, const char**, void*))
{
    g_run_view = run;
}

int beginRender3DObject()
{
    return g_begin_render ? g_begin_render() : 0;
}

int endRender3DObject()
{
    return g_end_render ? g_end_render() : 0;
}

int getOpenglMatch()
{
    return 0;
}

COv3DObject::COv3DObject(int, bool, QGraphicsItem*)
    : CBaseObject(-1, false, nullptr, nullptr)
{
    initialiseContext(m_context);
    storeRelease(g_progress, 0);

    setFlag(QGraphicsItem::ItemIsMovable, true);
    setFlag(QGraphicsItem::ItemIsSelectable, true);
    setFlag(QGraphicsItem::ItemIsFocusable, false);
    setAcceptHoverEvents(true);

    setObjRect(QRectF(0.0, 0.0, kInitialWidth, kInitialHeight));
    updateAfterObjRectChanged(this, true);

    m_drawThread = new CDrawByOpenGL(this);
    connect(m_drawThread, &CDrawByOpenGL::updateImage, this, &COv3DObject::doUpdateImage);
}

COv3DObject::~COv3DObject()
{
    // Release() has already deleted the thread, yet the wait is for the viewer, which nothing joins.
    if (m_drawThread || m_loadTimer.isValid())
        waitAfterLoad(m_loadTimer);
    if (m_drawThread && loadAcquire(m_drawThread->m_running)) {
        m_drawThread->stopDraw();
        if (!m_drawThread->stopRunning())
            m_drawThread->wait();
    }
    if (m_viewMutexStranded)
        m_viewMutex.unlock();
}

void COv3DObject::Release()
{
    // The pointer is cleared after the deletion: stopping the viewer goes through the item and tests it.
    delete m_drawThread;
    m_drawThread = nullptr;
    delete this;
}

bool COv3DObject::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    qDebug() << "Key Pressed:" << static_cast<QKeyEvent*>(event)->key();
    return true;
}

int COv3DObject::type() const
{
    return kItemType;
}

/// Positions set through this host call are ignored; the object rectangle places the item.
void COv3DObject::setPos(QPointF, bool) {}

void COv3DObject::getBelongDoc()
{
    if (IOvPage* page = GetPage())
        m_belongDoc = page->getDocument();
    if (m_belongDoc)
        return;
    if (IOvFramework* framework = GetFramework())
        m_belongDoc = framework->getCurrentDocument();
}

void COv3DObject::initOpenGL() {}
void COv3DObject::resizeOpenGL() {}
void COv3DObject::paintOpenGL() {}

CameraSettings* COv3DObject::cameraBlock()
{
    return reinterpret_cast<CameraSettings*>(reinterpret_cast<unsigned char*>(&m_params) + kCameraBlockOffset);
}
