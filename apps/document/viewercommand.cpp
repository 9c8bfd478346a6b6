#include "apps/document/viewercommand.h"

#include "apps/document/itemsettings.h"
#include "host/framework/framework.h"

#include <QDataStream>
#include <QJsonDocument>
#include <QJsonObject>

namespace ov3d::apps {

namespace {

constexpr int kPropertyParams = 101;
constexpr int kFirstCommand = 100; ///< lower codes are the viewer contract's own operations
constexpr int kMaxTextBytes = 255; ///< the record holds 256 with the zero

} // namespace

QString sendViewerCommand(CBaseObject& item, int code, const QString& text, const QString& refusal)
{
    if (code < kFirstCommand)
        return QStringLiteral("%1 is no command").arg(code);
    if (text.toLocal8Bit().size() > kMaxTextBytes)
        return QStringLiteral("the command's text is longer than %1 bytes").arg(kMaxTextBytes);
    if (text.contains(QChar(0)))
        return QStringLiteral("the command's text holds a zero");
    if (item.isLocked())
        return QStringLiteral("the item is locked");
    if (!readSettings(item))
        return QStringLiteral("the item has no picture yet");

    const QJsonObject record{{QStringLiteral("command"), true},
                             {QStringLiteral("command_code"), code},
                             {QStringLiteral("command_text"), text}};
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact));
    }
    QDataStream in(bytes);
    return item.SetSpecialProperty(kPropertyParams, in, false) ? QString() : refusal;
}

} // namespace ov3d::apps
