#include "apps/document/itementries.h"

#include "host/framework/framework.h"

namespace ov3d::apps {

QString itemEntriesKey()
{
    return QStringLiteral("3D_OBJECT_KEY");
}

QJsonArray itemEntries(const QJsonObject& text)
{
    return text.value(itemEntriesKey()).toArray().first().toArray();
}

QJsonObject withItemEntries(QJsonObject text, const QJsonArray& entries)
{
    // append(), since braces around one array could copy it instead of nesting it.
    QJsonArray saves;
    saves.append(entries);
    text.insert(itemEntriesKey(), saves);
    return text;
}

QJsonObject readableText(const COvDocument& document, const QJsonObject& text, const QString& model)
{
    QJsonArray entries = itemEntries(text);
    if (model.isEmpty() || entryFiles(entries).contains(model))
        return withItemEntries(text, entries);
    entries.prepend(document.entryOf(document.root() + QLatin1Char('/') + model, itemEntriesKey()));
    return withItemEntries(text, entries);
}

QStringList entryFiles(const QJsonArray& entries)
{
    QStringList files;
    for (const QJsonValue& entry : entries) {
        const QString path = COvDocument::fileOfEntry(entry);
        if (!path.isEmpty() && !files.contains(path))
            files << path;
    }
    return files;
}

} // namespace ov3d::apps
