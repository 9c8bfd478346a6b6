#pragma once

#include "host/document/documentcontent.h"

#include <QString>

class CBaseObject;

namespace ov3d::apps {

/// Asks a loaded item for its own text and its record, and puts them into `record`; what others keep there stays. The
/// item writes its preview, settings and view beside its model. GUI thread.
/// @param workingFolder  the document's.
/// @return false with `error` set and `record` unchanged when the item could not write its state.
bool saveItemState(CBaseObject& item, const QString& workingFolder, OvDocumentItem& record, QString& error);

/// The key, in what the host keeps of an item, of the user's environment picture: a path relative to the working
/// folder.
QString environmentKey();

} // namespace ov3d::apps
