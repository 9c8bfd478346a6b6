#pragma once

#include <QString>
#include <QStringList>

class CBaseObject;

namespace ov3d::apps {

/// A view of one item that its viewer keeps for undo. GUI thread.
///
/// The viewer keeps a limited number of views, so the oldest are given up; a lost view cannot be returned to.
class KeptView
{
public:
    /// Has the item's viewer keep what it shows now.
    static KeptView of(CBaseObject& item);

    /// @return false when the view has been given up, or the item shows none.
    bool returnTo(CBaseObject& item) const;

private:
    quint64 m_number = 0; ///< 0: none
};

/// How many views of one item the user can keep under names; the rest of the viewer's are for undo.
extern const int kMostNamedViews;

/// Keeps what the item shows now under a name of the user's; an earlier view of that name gives way. GUI thread.
/// @return an empty text, or why it is not kept.
QString keepNamedView(CBaseObject& item, const QString& name);

/// The names of the user's views of an item, the newest last.
QStringList namedViews(const CBaseObject& item);

} // namespace ov3d::apps
