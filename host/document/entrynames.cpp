#include "host/document/entrynames.h"

#include "host/document/limits.h"

#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace ov3d::document {

namespace {

// Neither "%", which escapes, nor "\" and ":", which are separators elsewhere.
const QByteArray kPlainCharacters = QByteArrayLiteral("/ !#$&'()+,;=@[]^{}");
constexpr int kShownCharacters = 80;

} // namespace

bool isPlainRelativePath(const QString& path)
{
    if (path.isEmpty() || path.contains(QChar(0)) || path.toUtf8().size() > kMaxPathBytes)
        return false;
    const QStringList parts = path.split(QLatin1Char('/'));
    for (const QString& part : parts) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String("..") ||
            part.toUtf8().size() > kMaxNameBytes)
            return false;
    }
    return true;
}

bool isResourcePath(const QString& path)
{
    return path.startsWith(QLatin1String("resources/")) && isPlainRelativePath(path);
}

QByteArray entryNameOf(const QString& path)
{
    return QUrl::toPercentEncoding(path, kPlainCharacters);
}

QString readEntryName(const QByteArray& name, QString& path)
{
    if (name.isEmpty())
        return QStringLiteral("it has an entry without a name");
    if (name.startsWith('/'))
        return QStringLiteral("its entry \"%1\" has an absolute name").arg(shownName(name));
    if (name.contains('\\'))
        return QStringLiteral("its entry \"%1\" has a backslash in its name").arg(shownName(name));
    const QList<QByteArray> parts = name.split('/');
    if (parts.contains(QByteArrayLiteral("..")))
        return QStringLiteral("its entry \"%1\" leads out of the document").arg(shownName(name));
    path = QUrl::fromPercentEncoding(name);
    // Only what saving writes is read: two spellings of one name would make two entries of one file.
    if (entryNameOf(path) != name || !isPlainRelativePath(path))
        return QStringLiteral("its entry \"%1\" has a name that no document has").arg(shownName(name));
    return {};
}

QString shownName(const QByteArray& name)
{
    QString text = QString::fromUtf8(name.constData(), std::min(name.size(), kShownCharacters));
    for (QChar& character : text) {
        if (!character.isPrint())
            character = QLatin1Char('?');
    }
    return name.size() > kShownCharacters ? text + QLatin1String("...") : text;
}

} // namespace ov3d::document
