#include "host/framework/document.h"

#include "host/framework/page.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QMutexLocker>
#include <QSet>

#include <algorithm>

namespace {

constexpr QLatin1String kKeyKey("key");
constexpr QLatin1String kGroupKey("group");
constexpr QLatin1String kDirectoryKey("directory");
constexpr QLatin1String kFileKey("file");
constexpr QLatin1String kStoredKey("stored");
constexpr QLatin1String kSavesKey("3D_OBJECT_KEY");
constexpr QLatin1String kResources("resources");

/// No file system takes longer paths. What is longer is no path: a model's text may hold its data where a file's name
/// is expected, megabytes of it.
constexpr int kMaxPathLength = 4096;

bool isGroupName(const QString& name)
{
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

// One folder name that stays where it is put. Empty stands for no folder of its own.
QString folderName(const QString& name)
{
    if (name == QLatin1String(".") || name == QLatin1String(".."))
        return QStringLiteral("_");
    QString safe = name;
    return safe.replace(QLatin1Char('/'), QLatin1Char('_')).remove(QChar(0));
}

bool isInside(const QString& path, const QString& folder)
{
    return path.startsWith(folder + QLatin1Char('/'));
}

QJsonObject entryFor(const QString& key, const QString& group, const QString& directory, const QString& file,
                     bool stored)
{
    return {{kKeyKey, key}, {kGroupKey, group}, {kDirectoryKey, directory}, {kFileKey, file}, {kStoredKey, stored}};
}

// An item knows its preview picture by the name of the folder that it lies in.
bool isPreviewOfAnotherFolder(const QString& source, const QString& directory)
{
    const QFileInfo file(source);
    return !directory.isEmpty() && file.fileName() == directory + QLatin1String("_3dpreview.png") &&
           file.absoluteDir().dirName() != directory;
}

} // namespace

COvDocument::COvDocument(const QString& root)
    : m_root(QDir(root).absolutePath())
{
}

COvDocument::~COvDocument()
{
    // Commands may hold items that have been taken off a page; they go before the pages do.
    m_undoStack.clear();
    m_pages.clear();
}

QString COvDocument::root() const
{
    return m_root;
}

QUndoStack* COvDocument::undoStack()
{
    return &m_undoStack;
}

COvPage* COvDocument::addPage(const QSizeF& size)
{
    m_pages.push_back(std::make_unique<COvPage>(this, size));
    return m_pages.back().get();
}

int COvDocument::pageCount() const
{
    return static_cast<int>(m_pages.size());
}

COvPage* COvDocument::page(int index) const
{
    return index >= 0 && index < pageCount() ? m_pages[static_cast<std::size_t>(index)].get() : nullptr;
}

void COvDocument::removePage(int index)
{
    if (index < 0 || index >= pageCount())
        return;
    m_undoStack.clear();
    m_pages.erase(m_pages.begin() + index);
}

QString COvDocument::lastError() const
{
    const QMutexLocker lock(&m_filesMutex);
    return m_lastError;
}

void COvDocument::transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName)
{
    const QMutexLocker lock(&m_filesMutex);
    m_lastError.clear();
    if (store)
        storeFile(entries, path, key, dirName);
    else
        restoreFile(entries, path, dirName);
}

QString COvDocument::makeFolder()
{
    const QMutexLocker lock(&m_filesMutex);
    const QString number = takeNumber();
    return number.isEmpty() ? QString() : folderOf(number, QString());
}

QJsonObject COvDocument::entryOf(const QString& path, const QString& key) const
{
    Place place;
    if (!placeOf(path, place))
        return {};
    return entryFor(key, place.group, place.directory, place.file, QFileInfo(path).isFile());
}

QString COvDocument::fileOfEntry(const QJsonValue& entry)
{
    const QJsonObject object = entry.toObject();
    const QString group = object.value(kGroupKey).toString();
    const QString directory = object.value(kDirectoryKey).toString();
    const QString file = object.value(kFileKey).toString();
    if (!isGroupName(group) || folderName(directory) != directory || file.isEmpty() || file.contains(QChar(0)))
        return {};
    const QString folder =
        kResources + QLatin1Char('/') + group + (directory.isEmpty() ? QString() : QLatin1Char('/') + directory);
    const QString path = QDir::cleanPath(folder + QLatin1Char('/') + file);
    return isInside(path, folder) ? path : QString();
}

void COvDocument::keepNewestSave(QJsonObject& savedItem)
{
    const QJsonArray saves = savedItem.value(kSavesKey).toArray();
    if (saves.size() < 2)
        return;
    QJsonArray newest;
    newest.append(saves.last());
    savedItem.insert(kSavesKey, newest);
}

int COvDocument::removeUnusedFolders(const QStringList& used)
{
    const QMutexLocker lock(&m_filesMutex);
    const QDir resources(m_root + QLatin1Char('/') + kResources);
    QSet<QString> keep;
    for (const QString& path : used) {
        Place place;
        if (placeOf(QDir(m_root).absoluteFilePath(path), place))
            keep.insert(place.group);
    }
    int removed = 0;
    for (const QString& name : resources.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!isGroupName(name) || keep.contains(name))
            continue;
        const QString folder = resources.filePath(name);
        removed += QDir(folder).removeRecursively() ? 1 : 0;
        for (auto it = m_sourceFolders.begin(); it != m_sourceFolders.end();)
            it = it.key() == folder || isInside(it.key(), folder) ? m_sourceFolders.erase(it) : std::next(it);
    }
    return removed;
}

QString COvDocument::folderOf(const QString& group, const QString& dirName) const
{
    const QString folder = m_root + QLatin1Char('/') + kResources + QLatin1Char('/') + group;
    return dirName.isEmpty() ? folder : folder + QLatin1Char('/') + dirName;
}

// Where a path inside a numbered folder lies, whether or not there is such a file; also one that goes through a link to
// the document's folder, which hosts make where the path would be too long for the viewer.
bool COvDocument::placeOf(const QString& path, Place& place) const
{
    const QString resources = m_root + QLatin1Char('/') + kResources;
    QString source = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    QString base = resources;
    if (!isInside(source, base)) {
        const QFileInfo file(source);
        base = QDir(resources).canonicalPath();
        source = QFileInfo(file.absolutePath()).canonicalFilePath() + QLatin1Char('/') + file.fileName();
        if (base.isEmpty() || !isInside(source, base))
            return false;
    }
    QStringList parts = source.mid(base.size() + 1).split(QLatin1Char('/'));
    if (parts.size() < 2 || !isGroupName(parts.first()))
        return false;
    place.group = parts.takeFirst();
    place.directory = parts.size() > 1 ? parts.takeFirst() : QString();
    place.file = parts.join(QLatin1Char('/'));
    return true;
}

// The number of the save that `entries` belongs to. The caller's array is the only thing that tells one item's save
// from another's, so an empty one takes a new number, and its folder with it.
QString COvDocument::groupOf(const QJsonArray& entries)
{
    const QString known = entries.isEmpty() ? QString() : entries.last().toObject().value(kGroupKey).toString();
    if (isGroupName(known))
        return known;
    const QString number = takeNumber();
    return number.isEmpty() ? QStringLiteral("0") : number;
}

/// @return empty when no folder can be made.
QString COvDocument::takeNumber()
{
    QDir resources(m_root + QLatin1Char('/') + kResources);
    if (!resources.mkpath(QStringLiteral(".")))
        return {};
    for (int number = 1;; ++number) {
        const QString name = QString::number(number);
        if (resources.exists(name))
            continue;
        return resources.mkdir(name) ? name : QString();
    }
}

void COvDocument::storeFile(QJsonArray& entries, const QString& path, const QString& key, const QString& dirName)
{
    const QString directory = folderName(dirName);
    const bool isTooLong = path.size() > kMaxPathLength;
    const QString source = isTooLong ? QString() : QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (isTooLong || path.isEmpty() || path.endsWith(QLatin1Char('/')) || QFileInfo(source).isDir()) {
        m_lastError =
            isTooLong ? tr("\"%1...\" is longer than any path").arg(path.left(80)) : tr("\"%1\" is no file").arg(path);
        entries.append(entryFor(key, groupOf(entries), directory, QString(), false));
        return;
    }
    Place place;
    if (!placeOf(source, place) || isPreviewOfAnotherFolder(source, directory)) {
        storeCopy(entries, source, key, directory);
        return;
    }
    const bool exists = QFileInfo(source).isFile();
    if (!exists)
        m_lastError = tr("there is no file \"%1\"").arg(source);
    const QString folder = folderOf(place.group, directory);
    if (!m_sourceFolders.contains(folder))
        m_sourceFolders.insert(folder, QFileInfo(source).absolutePath());
    entries.append(entryFor(key, place.group, place.directory, place.file, exists));
}

void COvDocument::storeCopy(QJsonArray& entries, const QString& source, const QString& key, const QString& directory)
{
    const QString group = groupOf(entries);
    const QString folder = folderOf(group, directory);
    auto base = m_sourceFolders.find(folder);
    if (base == m_sourceFolders.end())
        base = m_sourceFolders.insert(folder, QFileInfo(source).absolutePath());
    QString file = QDir(*base).relativeFilePath(source);
    const bool outside = file.startsWith(QLatin1String("../")) || QDir::isAbsolutePath(file);
    if (outside)
        file = QFileInfo(source).fileName();
    // A file from outside the model's folder never takes the place of one from inside.
    const bool stored = copyFile(source, folder + QLatin1Char('/') + file, !outside);
    entries.append(entryFor(key, group, directory, file, stored));
}

bool COvDocument::copyFile(const QString& source, const QString& target, bool replace)
{
    if (!QFileInfo(source).isFile()) {
        m_lastError = tr("there is no file \"%1\"").arg(source);
        return false;
    }
    if (QFileInfo(target).absoluteFilePath() == source)
        return true;
    if (QFileInfo::exists(target)) {
        if (!replace)
            return true;
        QFile::remove(target);
    }
    QFile file(source);
    if (!QDir().mkpath(QFileInfo(target).absolutePath()) || !file.copy(target)) {
        m_lastError = tr("cannot copy \"%1\" to \"%2\": %3").arg(source, target, file.errorString());
        return false;
    }
    // A read-only original would make a copy that the next save cannot replace.
    QFile::setPermissions(target, QFile::permissions(target) | QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

void COvDocument::restoreFile(const QJsonArray& entries, QString& path, QString& dirName)
{
    const QJsonObject entry = entries.isEmpty() ? QJsonObject() : entries.first().toObject();
    const QString file = fileOfEntry(entry);
    if (file.isEmpty()) {
        m_lastError = tr("the entry names no file of this document");
        return;
    }
    const QString restored = m_root + QLatin1Char('/') + file;
    const QString real = QFileInfo(restored).canonicalFilePath();
    if (!real.isEmpty() && !isInside(real, QDir(m_root).canonicalPath())) {
        m_lastError = tr("the entry leads out of the document: \"%1\"").arg(file);
        return;
    }
    if (real.isEmpty())
        m_lastError = tr("the document lacks the file \"%1\"").arg(restored);
    path = restored;
    dirName = entry.value(kDirectoryKey).toString();
}
