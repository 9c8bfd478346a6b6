#include "src/plugin/boundary.h"
#include "src/plugin/ov3dobject.h"

#include <QDataStream>
#include <QVariant>

namespace {

const QString kModelPathParameter = QStringLiteral("model_path");

} // namespace

/// The stream carries what the host's base writes, the model's path among its named parameters, and nothing else.
bool COv3DObject::save(QDataStream& stream)
{
    return withoutException("Writing a 3D object", [&] {
        setOtherParams(kModelPathParameter, QVariant(m_modelPath));
        CBaseObject::save(stream);
        // Once more, as hosts that count these calls expect.
        if (!m_modelPath.isEmpty())
            setOtherParams(kModelPathParameter, QVariant(m_modelPath));
        return true;
    });
}

bool COv3DObject::load(QDataStream& stream)
{
    return withoutException("Reading a 3D object", [&] {
        CBaseObject::load(stream);
        m_modelPath = getOtherParams(kModelPathParameter).toString();
        getBelongDoc();
        setLoadedFlag(true);
        updateAfterObjRectChanged(this, true);
        loadFromFile(m_modelPath);
        return true;
    });
}
