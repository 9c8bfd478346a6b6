#pragma once

#include "apps/document/livedocument.h"
#include "host/document/documentcontent.h"

#include <QPointer>

namespace ov3d::apps {

/// An item between its creation and its place on a page.
struct LiveDocument::Arriving
{
    CBaseObject* item = nullptr;
    QPointer<CBaseObject> placeholder; ///< null once its page is gone
    OvDocumentItem record;
    bool isNew = false; ///< an insertion or a paste: when it fails, its files go and so does the placeholder
    Arrival arrival;
};

} // namespace ov3d::apps
