#pragma once

#include "host/framework/services.h"

#include <QHash>

/// A table of texts. Knows the ids that the library and its plug-ins use, in English.
class OV_FRAMEWORK_EXPORT CLocalize : public ILocalize
{
public:
    CLocalize();
    ~CLocalize() override;

    void setText(const QString& id, const QString& text);
    [[nodiscard]] QString text(const QString& id) const override;

private:
    QHash<QString, QString> m_texts;
};
