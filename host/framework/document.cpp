#include "host/framework/document.h"

#include "host/framework/page.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr QLatin1String kKeyKey("key");
constexpr QLatin1String kGroupKey("group");
constexpr QLatin1String kDirectoryKey("directory");
constexpr QLatin1String kFileKey("file");
constexpr QLatin1String kStoredKey("stored");

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
    return m_lastError;
}

void COvDocument::transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName)
{
    m_lastError.clear();
    if (store)
        storeFile(entries, path, key, dirName);
    else
        restoreFile(entries, path, dirName);
}

QString COvDocument::folderOf(const QString& group, const QString& dirName) const
{
    const QString folder = m_root + QLatin1String("/resources/") + group;
    return dirName.isEmpty() ? folder : folder + QLatin1Char('/') + dirName;
}

// The number of the save that `entries` belongs to. The caller's array is the only thing that tells one item's save
// from another's, so an empty one takes a new number, and its folder with it.
QString COvDocument::groupOf(const QJsonArray& entries)
{
    const QString known = entries.isEmpty() ? QString() : entries.last().toObject().value(kGroupKey).toString();
    if (isGroupName(known))
        return known;
    QDir resources(m_root + QLatin1String("/resources"));
    if (!resources.mkpath(QStringLiteral(".")))
        return QStringLiteral("0");
    for (int number = 1;; ++number) {
        const QString name = QString::number(number);
        if (resources.exists(name))
            continue;
        return resources.mkdir(name) ? name : QStringLiteral("0");
    }
}

void COvDocument::storeFile(QJsonArray& entries, const QString& path, const QString& key, const QString& dirName)
{
    const QString group = groupOf(entries);
    const QString directory = folderName(dirName);
    const QString folder = folderOf(group, directory);
    const QString source = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const bool isFolder = path.isEmpty() || path.endsWith(QLatin1Char('/')) || QFileInfo(source).isDir();

    QString file;
    bool stored = false;
    if (isFolder) {
        m_lastError = tr("\"%1\" is no file").arg(path);
    } else {
        auto base = m_sourceFolders.find(folder);
        if (base == m_sourceFolders.end())
            base = m_sourceFolders.insert(folder, QFileInfo(source).absolutePath());
        file = QDir(*base).relativeFilePath(source);
        const bool outside = file.startsWith(QLatin1String("../")) || QDir::isAbsolutePath(file);
        if (outside)
            file = QFileInfo(source).fileName();
        stored = copyFile(source, folder + QLatin1Char('/') + file, !outside);
    }
    entries.append(QJsonObject{
        {kKeyKey, key}, {kGroupKey, group}, {kDirectoryKey, directory}, {kFileKey, file}, {kStoredKey, stored}});
}

// A file from outside the model's folder never takes the place of one from inside.
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
    const QString group = entry.value(kGroupKey).toString();
    const QString directory = entry.value(kDirectoryKey).toString();
    const QString file = entry.value(kFileKey).toString();
    if (!isGroupName(group) || folderName(directory) != directory || file.isEmpty()) {
        m_lastError = tr("the entry names no file of this document");
        return;
    }
    const QString folder = folderOf(group, directory);
    const QString restored = QDir::cleanPath(folder + QLatin1Char('/') + file);
    const QString real = QFileInfo(restored).canonicalFilePath();
    if (!isInside(restored, folder) || (!real.isEmpty() && !isInside(real, QDir(m_root).canonicalPath()))) {
        m_lastError = tr("the entry leads out of the document: \"%1\"").arg(file);
        return;
    }
    if (real.isEmpty())
        m_lastError = tr("the document lacks the file \"%1\"").arg(restored);
    path = restored;
    dirName = directory;
}
