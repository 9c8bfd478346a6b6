#pragma once

#include "host/document/documentcontent.h"

class CBaseObject;

namespace ov3d::apps {

/// What a live document keeps of a page item, attached to the item itself, so that both end together. GUI thread.
///
/// `entries` and `parameters` are those of the last save or load; the item's own state is asked at each save.
OvDocumentItem itemRecord(const CBaseObject& item);
void setItemRecord(CBaseObject& item, const OvDocumentItem& record);

} // namespace ov3d::apps
