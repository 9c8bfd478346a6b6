#include "apps/document/itemrecord.h"

#include "host/framework/framework.h"

#include <QVariant>

#include <memory>

Q_DECLARE_METATYPE(std::shared_ptr<OvDocumentItem>)

namespace ov3d::apps {

namespace {

constexpr const char* kRecordProperty = "ov3dDocumentItem";

} // namespace

OvDocumentItem itemRecord(const CBaseObject& item)
{
    const auto record = item.property(kRecordProperty).value<std::shared_ptr<OvDocumentItem>>();
    return record ? *record : OvDocumentItem();
}

void setItemRecord(CBaseObject& item, const OvDocumentItem& record)
{
    item.setProperty(kRecordProperty, QVariant::fromValue(std::make_shared<OvDocumentItem>(record)));
}

} // namespace ov3d::apps
