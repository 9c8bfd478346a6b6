#pragma once

#include "apps/board/keptviews.h"
#include "host/framework/framework.h"

#include <QJsonObject>
#include <QPointer>
#include <QString>

namespace ov3d::apps {

class LiveDocument;

/// Changes settings of an item, and the view with them where they act on it. Changes of one key in a row are one step.
class SettingsCommand : public CWbUndoCmd
{
public:
    /// To be pushed after the user has changed `key`.
    /// @param before  the whole record as it was, and the view.
    /// @param after   the whole record as it is: one setting can change others with it.
    SettingsCommand(CBaseObject& item, const QString& key, const QJsonObject& before, const QJsonObject& after,
                    KeptView viewBefore);

    void undo() override;
    void redo() override;
    [[nodiscard]] int id() const override;
    bool mergeWith(const QUndoCommand* other) override;

private:
    void apply(const QJsonObject& settings, const KeptView& view);

    QPointer<CBaseObject> m_item;
    QString m_key;
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

/// Gives an item another environment picture, or takes it away. Names are those of LiveDocument::environmentOf().
class EnvironmentCommand : public CWbUndoCmd
{
public:
    /// To be pushed after the picture has changed. @param document  outlives the command.
    EnvironmentCommand(LiveDocument& document, CBaseObject& item, const QString& before, const QString& after);

    void undo() override;
    void redo() override;

private:
    void apply(const QString& file);

    LiveDocument& m_document;
    QPointer<CBaseObject> m_item;
    QString m_before;
    QString m_after;
    bool m_redoArmed = false;
};

/// The settings of `record` that differ from `other`: what brings `record` back.
QJsonObject differingSettings(const QJsonObject& record, const QJsonObject& other);

/// Whether a setting moves the camera.
bool movesCamera(const QString& key);

} // namespace ov3d::apps
