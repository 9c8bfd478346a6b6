#pragma once

#include "host/framework/framework.h"

#include <QJsonObject>
#include <QPointer>
#include <QString>

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

/// Changes settings of an item, and the view with them where they act on it. Changes of one key in a row are one step.
class SettingsCommand : public CWbUndoCmd
{
public:
    /// To be pushed after `changes` have been made.
    /// @param before  values of the same keys, and the view, as they were.
    SettingsCommand(CBaseObject& item, const QJsonObject& before, const QJsonObject& changes, KeptView viewBefore);

    void undo() override;
    void redo() override;
    [[nodiscard]] int id() const override;
    bool mergeWith(const QUndoCommand* other) override;

private:
    void apply(const QJsonObject& settings, const KeptView& view);

    QPointer<CBaseObject> m_item;
    QJsonObject m_before;
    QJsonObject m_after;
    KeptView m_viewBefore;
    KeptView m_viewAfter;
    bool m_redoArmed = false;
};

/// A change of view that a viewer command made.
class ViewCommand : public CWbUndoCmd
{
public:
    /// To be pushed after the view has changed.
    ViewCommand(CBaseObject& item, KeptView before, const QString& text);

    void undo() override;
    void redo() override;

private:
    QPointer<CBaseObject> m_item;
    KeptView m_before;
    KeptView m_after;
    bool m_redoArmed = false;
};

/// Whether a setting moves the camera.
bool movesCamera(const QString& key);

} // namespace ov3d::apps
