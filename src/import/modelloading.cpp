#include "src/import/modelloading.h"

#include "src/import/modelvalidation.h"
#include "src/log/log.h"
#include "src/plugin/boundary.h"
#include "src/plugin/numbers.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr int kProgressEnded = 100;
constexpr unsigned long kLoadPauseMs = 100;
constexpr unsigned long kFirstFramePollMs = 30;

bool isSuffix(const QString& suffix, const char* lower, const char* upper)
{
    return suffix == QLatin1String(lower) || suffix == QLatin1String(upper);
}

/// Decides the format by the suffix, in its two listed spellings, and checks the content where a check exists. The
/// format is set whatever the check says.
bool checkModelFile(const QString& path, std::int32_t& format)
{
    const QString suffix = QFileInfo(path).suffix();
    const std::string localPath = path.toLocal8Bit().toStdString();
    bool valid = false;
    if (isSuffix(suffix, "fbx", "FBX")) {
        valid = isValidFBXFile(localPath);
        format = kFormatFbx;
    }
    if (isSuffix(suffix, "obj", "OBJ")) {
        valid = isValidOBJFile(localPath);
        format = kFormatObj;
    }
    if (isSuffix(suffix, "gltf", "GLTF")) {
        valid = isValidGLTFFile(path);
        format = kFormatGltf;
    }
    if (isSuffix(suffix, "stl", "STL")) {
        valid = true;
        format = kFormatStl;
    }
    if (isSuffix(suffix, "glb", "GLB")) {
        valid = true;
        format = kFormatGlb;
    }
    if (isSuffix(suffix, "3mf", "3MF")) {
        valid = true;
        format = kFormat3mf;
    }
    return valid;
}

/// Copies as many bytes as the path has characters, or 512 when its encoded form is longer than that. A path with
/// multi-byte characters is thus cut short; that is what the interface gives viewers.
void copyApplicationPath(const QString& path, ViewContext& context)
{
    const QByteArray encoded = path.toLocal8Bit();
    constexpr int capacity = sizeof context.app_path;
    const int length = encoded.size() > capacity ? capacity : std::min({path.size(), encoded.size(), capacity});
    std::memset(context.app_path, 0, sizeof context.app_path);
    std::memcpy(context.app_path, encoded.constData(), static_cast<std::size_t>(length));
    test("path copy to open3d  " + encoded.toStdString() + "\n");
}

/// @return a null document when the content is no JSON, or larger than the memory that is left.
QJsonDocument readJson(QFile& file)
try {
    return QJsonDocument::fromJson(file.readAll());
} catch (const std::bad_alloc&) {
    return QJsonDocument();
}

bool refuseLoad(const std::string& reason)
{
    test(reason);
    storeRelease(g_progress, kProgressEnded);
    return false;
}

} // namespace

bool COv3DObject::loadFromFile(const QString& path)
{
    const bool isLoaded = withoutException("Loading a 3D model", [&] { return loadModel(path); });
    // However a load has ended, nobody waits for more of it.
    if (!isLoaded)
        storeRelease(g_progress, kProgressEnded);
    return isLoaded;
}

bool COv3DObject::loadModel(const QString& path)
{
    if (!QDir(QStringLiteral("./resources")).exists())
        return refuseLoad("resource dir missing !\n");
    if (!checkModelFile(path, m_context.model_format))
        // The previous model's path, on purpose: reloads pass the item's own path, and the entry then names the file.
        return refuseLoad(m_modelPath.toStdString() + "not a valid file \n");

    QThread::msleep(kLoadPauseMs);
    m_modelPath = path;
    test(path.toStdString() + " begin load file \n");

    // Read after the log entry, which asks the host for the path when it is the first.
    const QString appPath = applicationPath();
    if (!appPath.isEmpty())
        copyApplicationPath(appPath, m_context);

    if (!path.isEmpty()) {
        m_drawThread->m_modelPath = path;
        m_drawThread->startRunning();
        const QSizeF size = getSize();
        m_drawThread->startDraw(truncatedToInt(size.width()), truncatedToInt(size.height()));
    }
    while (!loadAcquire(m_drawThread->m_firstFrame))
        QThread::msleep(kFirstFramePollMs);

    storeRelease(m_isLoaded, true);
    test("load file  sucess\n");
    storeRelease(g_progress, kProgressEnded);
    m_loadTimer.start();
    return true;
}

QString COv3DObject::getDirName(QString name)
{
    if (!m_dirName.isEmpty())
        return m_dirName;
    if (!g_dir_map.contains(name)) {
        g_dir_map.insert(name, 1);
        return name;
    }
    // The longer name is not recorded, so it may collide with a model of that very name; documents rely on the names.
    return name + QString::number(g_dirNum++);
}

QString getBinFileName(const QString& gltfPath)
{
    QFile file(gltfPath);
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning() << "Unable to open the GLTF file:" << gltfPath;
        return QString();
    }
    const QJsonDocument document = readJson(file);
    if (!document.isObject()) {
        qWarning() << "Invalid JSON format in the GLTF file.";
        return QString();
    }
    const QJsonArray buffers = document.object().value(QLatin1String("buffers")).toArray();
    return buffers.isEmpty() ? QString() : buffers.first().toObject().value(QLatin1String("uri")).toString();
}
