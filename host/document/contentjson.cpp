#include "host/document/contentjson.h"

#include "host/document/entrynames.h"
#include "host/document/limits.h"
#include "host/framework/document.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace ov3d::document {

namespace {

constexpr QLatin1String kFormatKey("format");
constexpr QLatin1String kVersionKey("version");
constexpr QLatin1String kPagesKey("pages");
constexpr QLatin1String kWidthKey("width");
constexpr QLatin1String kHeightKey("height");
constexpr QLatin1String kItemsKey("items");
constexpr QLatin1String kEntriesKey("entries");
constexpr QLatin1String kParametersKey("parameters");
constexpr QLatin1String kModelKey("model");
constexpr QLatin1String kFilesKey("files");
constexpr QLatin1String kHostKey("host");
constexpr QLatin1String kSavesKey("3D_OBJECT_KEY");
constexpr QLatin1String kStoredKey("stored");
constexpr QLatin1String kFormatName("ov3d-document");

constexpr double kMaxPageLength = 1e6;
constexpr int kNotANumber = -1;

/// Takes one known key out of an object, so that what is left are the unknown ones.
QJsonValue takeKey(QJsonObject& object, QLatin1String key)
{
    return object.take(key);
}

bool isAbsentOr(const QJsonValue& value, QJsonValue::Type type)
{
    return value.isUndefined() || value.type() == type;
}

// Qt's parser would answer the same error for every depth that it refuses, after having read up to there.
bool isTooDeep(const QByteArray& json)
{
    int depth = 0;
    bool inText = false;
    for (int i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
        } else if (c == '"') {
            inText = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxContentDepth)
                return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

QString sizeProblem(const QByteArray& json)
{
    if (json.size() > kMaxContentBytes)
        return QStringLiteral("its document.json is larger than %1 MB").arg(kMaxContentBytes / (1024 * 1024));
    if (isTooDeep(json))
        return QStringLiteral("its document.json is nested deeper than %1 levels").arg(kMaxContentDepth);
    return {};
}

QString filesProblem(const OvDocumentItem& item)
{
    QStringList all = item.files;
    if (!item.model.isEmpty())
        all << item.model;
    for (const QString& file : all) {
        if (!isResourcePath(file))
            return QStringLiteral("names the file \"%1\", which is none of the document's")
                .arg(shownName(file.toUtf8()));
    }
    return {};
}

QJsonObject itemToJson(const OvDocumentItem& item)
{
    QJsonObject json = item.unknown;
    json.insert(kEntriesKey, item.entries);
    json.insert(kParametersKey, item.parameters);
    json.insert(kModelKey, item.model);
    json.insert(kFilesKey, QJsonArray::fromStringList(item.files));
    json.insert(kHostKey, item.host);
    return json;
}

QJsonObject pageToJson(const OvDocumentPage& page)
{
    QJsonObject json = page.unknown;
    QJsonArray items;
    for (const OvDocumentItem& item : page.items)
        items.append(itemToJson(item));
    json.insert(kWidthKey, page.size.width());
    json.insert(kHeightKey, page.size.height());
    json.insert(kItemsKey, items);
    return json;
}

QString itemFromJson(QJsonObject json, OvDocumentItem& item)
{
    const QJsonValue entries = takeKey(json, kEntriesKey);
    const QJsonValue parameters = takeKey(json, kParametersKey);
    const QJsonValue model = takeKey(json, kModelKey);
    const QJsonValue files = takeKey(json, kFilesKey);
    const QJsonValue host = takeKey(json, kHostKey);
    if (!isAbsentOr(entries, QJsonValue::Object) || !isAbsentOr(parameters, QJsonValue::Object) ||
        !isAbsentOr(host, QJsonValue::Object) || !isAbsentOr(model, QJsonValue::String) ||
        !isAbsentOr(files, QJsonValue::Array))
        return QStringLiteral("has a value of the wrong type");
    for (const QJsonValue& file : files.toArray()) {
        if (!file.isString())
            return QStringLiteral("has a file name that is no text");
        item.files << file.toString();
    }
    item.entries = entries.toObject();
    COvDocument::keepNewestSave(item.entries);
    item.parameters = parameters.toObject();
    item.model = model.toString();
    item.host = host.toObject();
    item.unknown = json;
    return filesProblem(item);
}

bool isPageLength(double length)
{
    return std::isfinite(length) && length > 0.0 && length <= kMaxPageLength;
}

QString lengthsProblem(double width, double height)
{
    if (isPageLength(width) && isPageLength(height))
        return {};
    return std::max(width, height) > kMaxPageLength
               ? QStringLiteral("is wider or higher than %1 units").arg(kMaxPageLength, 0, 'f', 0)
               : QStringLiteral("has no size");
}

QString pageFromJson(QJsonObject json, OvDocumentPage& page)
{
    const double width = takeKey(json, kWidthKey).toDouble();
    const double height = takeKey(json, kHeightKey).toDouble();
    const QJsonValue items = takeKey(json, kItemsKey);
    if (const QString problem = lengthsProblem(width, height); !problem.isEmpty())
        return problem;
    if (!isAbsentOr(items, QJsonValue::Array))
        return QStringLiteral("has items that are no list");
    const QJsonArray list = items.toArray();
    for (int i = 0; i < list.size(); ++i) {
        OvDocumentItem item;
        const QString problem =
            list[i].isObject() ? itemFromJson(list[i].toObject(), item) : QStringLiteral("is no object");
        if (!problem.isEmpty())
            return QStringLiteral("item %1 %2").arg(i + 1).arg(problem);
        page.items.append(item);
    }
    page.size = QSizeF(width, height);
    page.unknown = json;
    return {};
}

QString versionProblem(const QJsonValue& format, const QJsonValue& version)
{
    const int number = version.toInt(kNotANumber);
    if (format.toString() != kFormatName || version.isUndefined())
        return QStringLiteral("its document.json does not say that it is a document");
    if (number < 1)
        return QStringLiteral("the version of its format is no whole number from 1");
    if (number > kFormatVersion)
        return QStringLiteral("it was written by a newer program: its format has version %1, and this program knows up "
                              "to version %2")
            .arg(number)
            .arg(kFormatVersion);
    return {};
}

} // namespace

QByteArray contentToJson(const OvDocumentContent& content, QString& problem)
{
    QJsonArray pages;
    for (int i = 0; i < content.pages.size(); ++i) {
        const OvDocumentPage& page = content.pages[i];
        problem = lengthsProblem(page.size.width(), page.size.height());
        for (int j = 0; j < page.items.size() && problem.isEmpty(); ++j) {
            problem = filesProblem(page.items[j]);
            if (!problem.isEmpty())
                problem = QStringLiteral("item %1 %2").arg(j + 1).arg(problem);
        }
        if (!problem.isEmpty()) {
            problem = QStringLiteral("page %1: %2").arg(i + 1).arg(problem);
            return {};
        }
        pages.append(pageToJson(page));
    }
    QJsonObject json = content.unknown;
    json.insert(kFormatKey, kFormatName);
    json.insert(kVersionKey, kFormatVersion);
    json.insert(kPagesKey, pages);
    const QByteArray text = QJsonDocument(json).toJson(QJsonDocument::Indented);
    problem = sizeProblem(text);
    return problem.isEmpty() ? text : QByteArray();
}

QString contentFromJson(const QByteArray& json, OvDocumentContent& content)
{
    QString problem = sizeProblem(json);
    if (!problem.isEmpty())
        return problem;
    QJsonParseError error{};
    const QJsonDocument parsed = QJsonDocument::fromJson(json, &error);
    if (!parsed.isObject())
        return QStringLiteral("its document.json cannot be read: %1 at byte %2")
            .arg(error.error == QJsonParseError::NoError ? QStringLiteral("no object") : error.errorString())
            .arg(error.offset);
    QJsonObject object = parsed.object();
    const QJsonValue format = takeKey(object, kFormatKey);
    problem = versionProblem(format, takeKey(object, kVersionKey));
    if (!problem.isEmpty())
        return problem;
    const QJsonValue pages = takeKey(object, kPagesKey);
    if (!isAbsentOr(pages, QJsonValue::Array))
        return QStringLiteral("its document.json has pages that are no list");
    OvDocumentContent read;
    const QJsonArray list = pages.toArray();
    for (int i = 0; i < list.size(); ++i) {
        OvDocumentPage page;
        problem = list[i].isObject() ? pageFromJson(list[i].toObject(), page) : QStringLiteral("is no object");
        if (!problem.isEmpty())
            return QStringLiteral("its document.json, page %1: %2").arg(i + 1).arg(problem);
        read.pages.append(page);
    }
    read.unknown = object;
    content = read;
    return {};
}

QStringList filesOf(const OvDocumentItem& item, bool present)
{
    QStringList files = item.files;
    if (!item.model.isEmpty())
        files << item.model;
    // Loading reads the first of the saves, and a document keeps no other.
    const QJsonArray save = item.entries.value(kSavesKey).toArray().first().toArray();
    for (const QJsonValue& entry : save) {
        const QString file = COvDocument::fileOfEntry(entry);
        const bool isWanted = !present || entry.toObject().value(kStoredKey).toBool(true);
        if (isResourcePath(file) && isWanted)
            files << file;
    }
    files.removeDuplicates();
    return files;
}

} // namespace ov3d::document
