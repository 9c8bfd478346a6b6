#include "apps/document/environmentpicture.h"

#include "apps/common/modelfile.h"
#include "apps/document/viewercommand.h"
#include "viewer/session/commands.h"

#include <QFile>

namespace ov3d::apps {

namespace {

/// Above the largest picture that the viewer shows, 16384 x 8192 pixels of four bytes, by some room for its header.
constexpr qint64 kMostBytes = (512LL << 20) + (1LL << 20);
constexpr const char* kSignatures[] = {"#?RADIANCE", "#?RGBE"};

QString noPicture(const QString& name)
{
    return QStringLiteral("%1: is no Radiance picture").arg(name);
}

} // namespace

QString whyNoEnvironment(const QString& path)
{
    if (const QString reason = whyUnreadable(path); !reason.isEmpty())
        return QStringLiteral("%1: %2").arg(path, reason);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    if (file.size() > kMostBytes)
        return QStringLiteral("%1: has more than %2 MB").arg(path).arg(kMostBytes >> 20);
    constexpr qint64 kLongestSignature = 10;
    const QByteArray start = file.read(kLongestSignature);
    for (const char* signature : kSignatures) {
        if (start.startsWith(signature))
            return {};
    }
    return noPicture(path);
}

QString sendEnvironment(CBaseObject& item, const QString& path, const QString& shownName)
{
    return sendViewerCommand(item, kCommandSetEnvironment, path, noPicture(shownName));
}

} // namespace ov3d::apps
