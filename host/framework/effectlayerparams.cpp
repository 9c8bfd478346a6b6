#include "host/framework/effectlayerparams.h"

#include "host/framework/object3dparams.h"
#include "host/framework/object3dparamsjson.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr QLatin1String kIdKey("id");

} // namespace

CEffectLayerParams::CEffectLayerParams() = default;
CEffectLayerParams::CEffectLayerParams(const CEffectLayerParams&) = default;
CEffectLayerParams& CEffectLayerParams::operator=(const CEffectLayerParams&) = default;
CEffectLayerParams::~CEffectLayerParams() = default;

QString CEffectLayerParams::toJson(const CEffectLayerParams& params)
{
    QJsonObject object;
    if (!params.m_id.isEmpty())
        object.insert(kIdKey, params.m_id);
    // A virtual function would be the usual way, but this class's virtual slots are fixed.
    if (const auto* object3d = dynamic_cast<const CEL3DObjectParams*>(&params))
        writeFields(*object3d, object);
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

bool CEffectLayerParams::fromJson(const QString& text, CEffectLayerParams& params)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject())
        return false;
    const QJsonObject object = document.object();
    const QJsonValue id = object.value(kIdKey);
    if (id.isString() && id.toString() != params.m_id)
        return false;
    if (auto* object3d = dynamic_cast<CEL3DObjectParams*>(&params))
        readFields(object, *object3d);
    return true;
}
