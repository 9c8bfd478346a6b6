#include "host/framework/localize.h"

CLocalize::CLocalize()
{
    setText(QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"), QStringLiteral("Change 3D view"));
}

CLocalize::~CLocalize() = default;

void CLocalize::setText(const QString& id, const QString& text)
{
    m_texts.insert(id, text);
}

QString CLocalize::text(const QString& id) const
{
    return m_texts.value(id, id);
}
