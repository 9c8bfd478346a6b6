#include "apps/document/itemstate.h"

#include "apps/document/itementries.h"
#include "apps/document/itemsettings.h"
#include "host/framework/framework.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr QLatin1String kOtherParamsKey("other_params");
/// The last file of a save, which holds the view.
constexpr QLatin1String kViewSuffix(".opt");

bool holdsWholeState(const QJsonArray& entries, const QString& workingFolder)
{
    constexpr qint64 kViewBytes = 384;
    const QStringList files = entryFiles(entries);
    const auto view =
        std::find_if(files.begin(), files.end(), [](const QString& file) { return file.endsWith(kViewSuffix); });
    return view != files.end() && QFileInfo(workingFolder + QLatin1Char('/') + *view).size() == kViewBytes;
}

/// An item that has been copied carries its model's path among its named values: a path of this machine.
QJsonObject withoutModelPath(QJsonObject text)
{
    QJsonObject values = text.value(kOtherParamsKey).toObject();
    values.remove(QStringLiteral("model_path"));
    text.insert(kOtherParamsKey, values);
    return text;
}

} // namespace

bool saveItemState(CBaseObject& item, const QString& workingFolder, OvDocumentItem& record, QString& error)
{
    // Without a model an item would write its files into the root of the file system.
    if (record.model.isEmpty())
        return true;
    const QString name = QFileInfo(record.model).fileName();
    QJsonObject text;
    item.saveJson(text);
    const QJsonArray entries = itemEntries(text);
    if (!holdsWholeState(entries, workingFolder)) {
        error = QStringLiteral("%1: its view cannot be written into the working folder %2").arg(name, workingFolder);
        return false;
    }
    record.entries = withoutModelPath(withItemEntries(text, entries));
    if (const auto settings = readSettings(item))
        record.parameters = settingsToKeep(record.parameters, *settings);
    return true;
}

QString environmentKey()
{
    return QStringLiteral("environment");
}

} // namespace ov3d::apps
