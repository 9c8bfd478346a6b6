#pragma once

#include <QString>

class CBaseObject;

namespace ov3d::apps {

/// Sends a command to the item's viewer and waits for its answer (docs/viewer-contract.md lists the codes). GUI thread.
///
/// Never sent are: commands to a locked item or to one without a picture, which nobody would answer for a minute, and
/// texts that would reach the viewer without their terminating zero.
/// @param refusal  what to return when the viewer refuses it.
/// @return an empty text, or why the command was not carried out.
QString sendViewerCommand(CBaseObject& item, int code, const QString& text,
                          const QString& refusal = QStringLiteral("the viewer refused the command"));

} // namespace ov3d::apps
