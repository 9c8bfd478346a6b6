#pragma once

#include "host/framework/frameworkexport.h"

#include <QString>

/// Base of the parameter records that the editor and its items exchange as JSON text. A plain value; one thread at a
/// time.
class OV_FRAMEWORK_EXPORT CEffectLayerParams
{
public:
    CEffectLayerParams();
    CEffectLayerParams(const CEffectLayerParams&);
    CEffectLayerParams& operator=(const CEffectLayerParams&);
    virtual ~CEffectLayerParams();

    /// The record's JSON object as compact text. docs/host-contract.md lists the keys.
    [[nodiscard]] static QString toJson(const CEffectLayerParams& params);

    /// Reads what toJson wrote. A key that is absent, or whose value has another type, keeps the record's value.
    /// @return false, with the record unchanged, when the text is no JSON object or names another kind of record.
    static bool fromJson(const QString& text, CEffectLayerParams& params);

protected:
    QString m_id; ///< kind of the record
};
