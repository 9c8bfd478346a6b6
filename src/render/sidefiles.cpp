#include "src/render/sidefiles.h"

#include <QStringList>

void appendSideFiles(const char* text, std::size_t size, QVector<QString>& names, QVector<QString>& folders)
{
    const int length = static_cast<int>(qstrnlen(text, static_cast<uint>(size)));
    QStringList entries = QString::fromUtf8(text, length).split(QLatin1Char('@'));
    // Before the backslashes are replaced: "a\b.png" and "a/b.png" are two entries.
    entries.removeDuplicates();
    for (QString entry : qAsConst(entries)) {
        if (entry.isEmpty())
            continue;
        entry.replace(QLatin1Char('\\'), QLatin1Char('/'));
        const int nameBegin = entry.lastIndexOf(QLatin1Char('/')) + 1;
        names.append(entry.mid(nameBegin));
        folders.append(entry.left(nameBegin));
    }
}
