#pragma once

#include "apps/document/livedocument.h"
#include "host/document/documentcontent.h"

#include <QJsonArray>
#include <QLatin1String>
#include <QPointer>
#include <QRectF>

namespace ov3d::apps {

/// Of a page's scene: the keys of the page that this program does not know.
inline constexpr const char* kPageProperty = "ov3dUnknownKeys";

inline constexpr QLatin1String kLockedKey("locked"); ///< in what the host keeps of an item
inline constexpr QLatin1String kRectKey("obj_rect"); ///< in an item's own text

/// A rectangle as an item's text has it.
QJsonArray arrayOf(const QRectF& frame);

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
