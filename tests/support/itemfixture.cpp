#include "tests/support/itemfixture.h"

#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>

void FrameworkStub::setPath(const QString& path)
{
    const QMutexLocker lock(&m_mutex);
    m_path = path;
}

int FrameworkStub::pathQueries() const
{
    const QMutexLocker lock(&m_mutex);
    return m_queries;
}

QString FrameworkStub::getPath(int kind)
{
    const QMutexLocker lock(&m_mutex);
    ++m_queries;
    return kind == 0 ? m_path : QString();
}

ItemFixture::ItemFixture()
    : m_previousFolder(QDir::currentPath())
{
    if (!m_folder.isValid() || !QDir(m_folder.path()).mkdir(QStringLiteral("resources")) ||
        !QDir::setCurrent(m_folder.path()))
        qFatal("no working folder for a test");
    resetGlobals();
    framework.setPath(folder());
    framework.currentDocument = &document;
    SetFramework(&framework);
    SetRunHandle(&ScriptedViewer::run);
}

ItemFixture::~ItemFixture()
{
    CUndoRedo::GetInstance()->stack()->clear();
    while (!m_items.isEmpty())
        release(m_items.last());
    resetGlobals();
    SetFramework(nullptr);
    QDir::setCurrent(m_previousFolder);
}

COv3DObject* ItemFixture::createItem()
{
    auto* item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
    m_items.append(item);
    return item;
}

void ItemFixture::release(COv3DObject* item)
{
    m_items.removeOne(item);
    item->m_loadTimer.invalidate();
    // Nothing tells the viewer of the end of an item that never became ready.
    if (loadAcquire(item->m_viewerReady) == 0)
        viewer.abandon(&item->m_context);
    item->Release();
}

void ItemFixture::forget(COv3DObject* item)
{
    m_items.removeOne(item);
}

void ItemFixture::makeReady(COv3DObject* item)
{
    CDrawByOpenGL& thread = *item->m_drawThread;
    thread.m_viewSettings = item->m_viewSettings;
    thread.m_displaySettings = item->m_displaySettings;
    thread.m_materialSettings = item->m_materialSettings;
    thread.m_lightingSettings = item->m_lightingSettings;
    item->m_context.view_settings = &thread.m_viewSettings;
    item->m_context.display_settings = &thread.m_displaySettings;
    item->m_context.material_settings = &thread.m_materialSettings;
    item->m_context.lighting_settings = &thread.m_lightingSettings;
    item->m_context.camera_settings = item->cameraBlock();
    storeRelease(thread.m_firstFrame, true);
    storeRelease(item->m_viewerReady, 1);
    item->m_isLoaded = true;
}

bool ItemFixture::load(COv3DObject* item)
{
    const bool loaded = item->loadFromFile(writeFile(QStringLiteral("model.stl")));
    deliverPosted();
    return loaded;
}

void ItemFixture::deliverPosted()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

QString ItemFixture::folder() const
{
    return m_folder.path() + QLatin1Char('/');
}

QString ItemFixture::writeFile(const QString& name, const QByteArray& content)
{
    const QString path = folder() + name;
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QStringList ItemFixture::logEntries() const
{
    QFile file(folder() + QStringLiteral("ov3dlog.txt"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression head(
        QStringLiteral("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\[OVOBJECT\\]  "));
    return QString::fromUtf8(file.readAll()).split(head, Qt::SkipEmptyParts);
}

void ItemFixture::clearLog()
{
    QFile::remove(folder() + QStringLiteral("ov3dlog.txt"));
}

void ItemFixture::resetGlobals()
{
    g_run_view = nullptr;
    g_begin_render = nullptr;
    g_end_render = nullptr;
    g_image_render = nullptr;
    g_match = nullptr;
    g_run = nullptr;
    cntx = 0;
    g_app_path.clear();
    g_app_path_log.clear();
    g_dir_map.clear();
    g_dirNum = 0;
    storeRelease(g_progress, 0);
    storeRelease(g_object_id, 0);
    whell_call = 0;
    m_pyramidUpdate = true;
    CUndoRedo::GetInstance()->stack()->clear();
}
