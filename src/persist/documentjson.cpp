#include "src/persist/documentjson.h"

#include "src/import/modelloading.h"
#include "src/log/log.h"
#include "src/persist/previewpicture.h"
#include "src/persist/settingsfile.h"
#include "src/plugin/boundary.h"
#include "src/plugin/ov3dobject.h"
#include "src/render/drawbyopengl.h"
#include "src/render/viewlock.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <QTextStream>

#include <array>
#include <cstring>
#include <fstream>
#include <optional>

namespace {

const QString kEntryKey = QStringLiteral("3D_OBJECT_KEY");
constexpr int kScannedObjLines = 10;
constexpr int kMaterialNameBegin = 7; ///< behind "mtllib " and any other seven characters
/// Characters of a line. A longer one names no file, and nothing is looked for behind it.
constexpr qint64 kLongestObjLine = 1 << 20;

/// Bytes of the view context in a scene-status file: the scene status and what follows it up to the file list.
constexpr std::size_t kStatusFileBytes = offsetof(ViewContext, file_list) - offsetof(ViewContext, scene_status);
static_assert(kStatusFileBytes == 384);
/// Bytes taken back from it: the trailing padding is written but not restored.
constexpr std::size_t kStatusRestoredBytes = offsetof(ViewContext, pad770) - offsetof(ViewContext, scene_status);
static_assert(kStatusRestoredBytes == 378);

char* statusBytes(ViewContext& context)
{
    return reinterpret_cast<char*>(&context) + offsetof(ViewContext, scene_status);
}

/// Hands files to the host's document and collects their entries.
class ResourceStore
{
public:
    ResourceStore(IOvDocument* document, QString& dirName)
        : m_document(document)
        , m_dirName(dirName)
    {
    }

    void store(QString path)
    {
        if (m_document)
            m_document->transferResourceFile(m_entries, path, kEntryKey, true, m_dirName);
    }

    [[nodiscard]] const QJsonArray& entries() const { return m_entries; }

private:
    IOvDocument* m_document;
    QString& m_dirName;
    QJsonArray m_entries;
};

/// The files beside a model, as saving names them.
struct SideFiles
{
    QString folder; ///< the model's
    const QVector<QString>& names;
    const QVector<QString>& folders;

    void storeAll(ResourceStore& resources, bool fallBackToFolder) const
    {
        for (int i = 0; i < names.size(); ++i) {
            QString path = folder + QLatin1Char('/') + folders[i] + names[i];
            if (fallBackToFolder && !QFileInfo::exists(path))
                path = folder + QLatin1Char('/') + names[i];
            resources.store(path);
        }
    }
};

/// @return the name of an OBJ file's material library, empty when its first lines name none, or nothing when the file
///     cannot be read.
std::optional<QString> materialLibraryName(const QString& objPath)
{
    QFile file(objPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    QTextStream stream(&file);
    for (int line = 0; line < kScannedObjLines && !stream.atEnd(); ++line) {
        const QString text = stream.readLine(kLongestObjLine);
        if (text.size() == kLongestObjLine)
            break;
        if (text.contains(QLatin1String(".mtl")))
            return text.mid(kMaterialNameBegin);
    }
    return QString();
}

bool isAnyOf(const QString& suffix, std::initializer_list<const char*> spellings)
{
    for (const char* spelling : spellings) {
        if (suffix == QLatin1String(spelling))
            return true;
    }
    return false;
}

/// Stores the model and its side files by the rules of its format. The suffixes differ from those that loading knows:
/// GLB, GLTF and 3MF models are left out, which documents rely on.
/// @return false when an OBJ model cannot be read.
bool storeModel(COv3DObject& item, ResourceStore& resources, const QFileInfo& model)
{
    const QString suffix = model.suffix();
    const QString folder = model.absolutePath();
    const SideFiles sideFiles{folder, item.m_textureFiles, item.m_textureDirs};
    if (isAnyOf(suffix, {"obj", "OBJ"})) {
        item.m_dirName = item.getDirName(model.baseName());
        resources.store(item.m_modelPath);
        const std::optional<QString> library = materialLibraryName(item.m_modelPath);
        if (!library)
            return false;
        if (!library->isEmpty())
            resources.store(folder + QLatin1Char('/') + *library);
        sideFiles.storeAll(resources, true);
    } else if (isAnyOf(suffix, {"fbx", "FBX"})) {
        item.m_dirName = item.getDirName(model.baseName());
        resources.store(item.m_modelPath);
        sideFiles.storeAll(resources, false);
    } else if (suffix == QLatin1String("gltf")) {
        item.m_dirName = item.getDirName(QDir(folder).dirName());
        resources.store(item.m_modelPath);
        resources.store(folder + QLatin1Char('/') + getBinFileName(item.m_modelPath));
        sideFiles.storeAll(resources, true);
    } else if (isAnyOf(suffix, {"stl", "STL", "glb"})) {
        item.m_dirName = item.getDirName(model.baseName());
        resources.store(item.m_modelPath);
    }
    return true;
}

void writeSettingsText(const QString& path, const QString& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    QTextStream(&file) << text;
}

} // namespace

QString json2qstring(QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson().constData());
}

bool COv3DObject::saveJson(QJsonObject& object)
{
    return withoutException("Saving a 3D object", [&] {
        CBaseObject::saveJson(object);
        getBelongDoc();
        saveEntries(object);
        return true;
    });
}

/// Adds the entries of this save to the object, or nothing when the save cannot be finished.
void COv3DObject::saveEntries(QJsonObject& object)
{
    const QFileInfo model(m_modelPath);
    ResourceStore resources(m_belongDoc, m_dirName);
    if (!storeModel(*this, resources, model))
        return;
    test("[obj save dir is] " + m_dirName.toStdString() + "\n");

    const QString stem = model.absolutePath() + QLatin1Char('/') + m_dirName;
    // The entries are made whether or not the files could be written.
    const QString previewPath = stem + QLatin1String("_3dpreview.png");
    frameImage().save(previewPath);
    resources.store(previewPath);

    const QString settingsPath = stem + QLatin1String("_view.json");
    writeSettingsText(settingsPath, buildViewCommand());
    resources.store(settingsPath);

    const QString statusPath = stem + QLatin1String(".opt");
    if (!writeSceneStatus(statusPath))
        return;
    resources.store(statusPath);

    QJsonArray saves = object.value(kEntryKey).toArray();
    saves.append(resources.entries());
    object.insert(kEntryKey, saves);
}

/// @return false when the file cannot be created; the view mutex then stays locked, which hosts rely on.
bool COv3DObject::writeSceneStatus(const QString& path)
{
    ViewLock lock(*this);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qDebug() << "Failed to open file for writing";
        lock.strand();
        return false;
    }
    m_context.status_saved = 1;
    file.write(statusBytes(m_context), kStatusFileBytes);
    file.close();
    lock.recover();
    return true;
}

bool COv3DObject::loadJson(QJsonObject& object)
{
    return withoutException("Restoring a 3D object", [&] {
        CBaseObject::loadJson(object);
        getBelongDoc();
        restoreEntries(object);
        setLoadedFlag(true);
        updateAfterObjRectChanged(this, true);
        loadFromFile(m_modelPath);
        return true;
    });
}

void COv3DObject::restoreEntries(const QJsonObject& object)
{
    // value(), since the index operator would put the key into the caller's object. Only the first save is read.
    QJsonArray entries = object.value(kEntryKey).toArray().first().toArray();
    QString path;
    while (!entries.isEmpty()) {
        QString scratch;
        if (m_belongDoc)
            m_belongDoc->transferResourceFile(entries, path, kEntryKey, false, scratch);
        if (!entries.isEmpty())
            entries.removeFirst();
        // A file that takes more memory than there is leaves the item without it, not without its model.
        withoutException("Restoring a file of a 3D object", [&] {
            restoreEntry(path);
            return true;
        });
    }
}

void COv3DObject::restoreEntry(const QString& path)
{
    const QFileInfo file(path);
    const QString suffix = file.suffix();
    if (isAnyOf(suffix, {"obj", "fbx", "OBJ", "FBX", "gltf", "stl", "STL", "glb", "GLB", "3MF", "3mf"}))
        m_modelPath = path;
    if (suffix == QLatin1String("json")) {
        if (readSettingsFile(path, m_viewSettings, m_displaySettings, m_materialSettings, m_lightingSettings,
                             m_cameraSettings))
            m_viewSettingsLoaded = true;
    }
    if (file.fileName() == file.absoluteDir().dirName() + QLatin1String("_3dpreview.png")) {
        const QImage preview = readPreview(path);
        const QMutexLocker lock(m_drawThread ? &m_drawThread->m_mutex : nullptr);
        m_image = preview;
    }
    if (suffix == QLatin1String("opt"))
        readSceneStatus(path);
}

/// Takes over the last complete record of the file; a shorter rest, or no file, changes nothing.
void COv3DObject::readSceneStatus(const QString& path)
{
    std::ifstream file(path.toUtf8().constData(), std::ios::binary | std::ios::ate);
    constexpr std::streamoff recordBytes = kStatusFileBytes;
    // The records before it need not be read: a file of holes can hold more of them than anybody can wait for.
    const std::streamoff records = static_cast<std::streamoff>(file.tellg()) / recordBytes;
    std::array<char, kStatusFileBytes> record{};
    if (records > 0 && file.seekg((records - 1) * recordBytes) && file.read(record.data(), record.size()))
        std::memcpy(statusBytes(m_context), record.data(), kStatusRestoredBytes);
}
