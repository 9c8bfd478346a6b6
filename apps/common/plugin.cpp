#include "apps/common/plugin.h"

#include "host/framework/framework.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

namespace ov3d::apps {

namespace {

template <typename Pointer> bool resolve(void* library, const char* symbol, Pointer& target)
{
    target = reinterpret_cast<Pointer>(::dlsym(library, symbol));
    return target != nullptr;
}

} // namespace

QString Plugin::defaultPath()
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString installed = folder + QStringLiteral("/" OV3D_LIBRARIES_FROM_PROGRAMS "/libov3dobject.so.1");
    return QFile::exists(installed) ? installed : folder + QStringLiteral("/../lib/libov3dobject.so.1");
}

bool Plugin::load(const QString& path)
{
    void* library = ::dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!library || !resolve(library, "_Z23createObject_ov3dobjectiib", m_create) ||
        !resolve(library, "_Z12SetRunHandlePFviPPKcPvE", m_setRunHandle) ||
        !resolve(library, "g_progress", m_progress)) {
        m_error = QStringLiteral("the 3D plug-in cannot be loaded: %1").arg(QString::fromLocal8Bit(::dlerror()));
        return false;
    }
    return true;
}

void Plugin::setViewer(void (*viewer)(int, const char**, void*)) const
{
    m_setRunHandle(viewer);
}

CBaseObject* Plugin::createItem() const
{
    // CBaseObject is the item's first base, so the item's address is also that of its CBaseObject.
    return static_cast<CBaseObject*>(m_create(0, 0, false));
}

int Plugin::progress() const
{
    return __atomic_load_n(m_progress, __ATOMIC_RELAXED);
}

} // namespace ov3d::apps
