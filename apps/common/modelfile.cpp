#include "apps/common/modelfile.h"

#include "src/import/modelvalidation.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <array>

namespace ov3d::apps {

namespace {

struct Format
{
    const char* suffix;
    const char* description;
};

constexpr std::array kFormats = {
    Format{"fbx", "FBX"}, Format{"obj", "Wavefront OBJ"}, Format{"gltf", "glTF 2.0"},
    Format{"stl", "STL"}, Format{"glb", "binary glTF"},   Format{"3mf", "3MF"},
};

/// The plug-in takes a suffix in all lower-case or all upper-case letters, never mixed.
const Format* formatOf(const QString& suffix)
{
    for (const Format& format : kFormats) {
        const QString lower = QString::fromLatin1(format.suffix);
        if (suffix == lower || suffix == lower.toUpper())
            return &format;
    }
    return nullptr;
}

QString suffixReason(const QString& suffix)
{
    if (suffix.isEmpty())
        return QStringLiteral("the name has no suffix (fbx, obj, gltf, stl, glb and 3mf are known)");
    return QStringLiteral(
               "the suffix \"%1\" is none of fbx, obj, gltf, stl, glb, 3mf, all in small or all in capital letters")
        .arg(suffix);
}

QString gltfReason(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    QJsonParseError error{};
    QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        return QStringLiteral("is not valid JSON: %1 at byte %2").arg(error.errorString()).arg(error.offset);
    return QStringLiteral("its asset version does not begin with 2.0");
}

QString refusalReason(const QString& path, const QString& format)
{
    const std::string local = path.toLocal8Bit().toStdString();
    if (format == QLatin1String("fbx") && !isValidFBXFile(local))
        return QStringLiteral("does not begin with the signature of a binary FBX file");
    if (format == QLatin1String("obj") && !isValidOBJFile(local))
        return QStringLiteral("none of its first 30 lines holds a vertex or a face");
    if (format == QLatin1String("gltf") && !isValidGLTFFile(path))
        return gltfReason(path);
    return {};
}

} // namespace

QString whyUnreadable(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir())
        return QStringLiteral("is a folder");
    // Opening a pipe would wait for its other end.
    if (info.exists() && !info.isFile())
        return QStringLiteral("is not a regular file");
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}

ModelFileReport examineModelFile(const QString& path)
{
    ModelFileReport report;
    const QString suffix = QFileInfo(path).suffix();
    if (const Format* format = formatOf(suffix)) {
        report.format = QString::fromLatin1(format->suffix);
        report.description = QString::fromLatin1(format->description);
    }
    report.reason = whyUnreadable(path);
    if (!report.reason.isEmpty())
        return report;
    report.reason = report.format.isEmpty() ? suffixReason(suffix) : refusalReason(path, report.format);
    report.verdict = report.reason.isEmpty() ? ModelFileReport::Verdict::accepted : ModelFileReport::Verdict::refused;
    return report;
}

} // namespace ov3d::apps
