#include "apps/board/modelcommands.h"

#include "apps/document/itemsettings.h"
#include "apps/document/viewercommand.h"
#include "viewer/session/commands.h"

#include <QStringList>

#include <utility>

namespace ov3d::apps {

namespace {

constexpr int kSettingsCommandId = 3101;
constexpr const char* kCountProperty = "ov3dKeptViews";

/// Views kept for undo, of the viewer's limit; the rest is the user's.
constexpr quint64 kViewsForUndo = 48;

/// No name that the user can enter begins like this.
QString nameOf(quint64 number)
{
    return QStringLiteral("\t%1").arg(number % kViewsForUndo);
}

} // namespace

KeptView KeptView::of(CBaseObject& item)
{
    KeptView view;
    const quint64 number = item.property(kCountProperty).toULongLong() + 1;
    if (!sendViewerCommand(item, kCommandKeepView, nameOf(number)).isEmpty())
        return view;
    item.setProperty(kCountProperty, number);
    view.m_number = number;
    return view;
}

bool KeptView::returnTo(CBaseObject& item) const
{
    const quint64 newest = item.property(kCountProperty).toULongLong();
    if (m_number == 0 || newest - m_number >= kViewsForUndo)
        return false;
    return sendViewerCommand(item, kCommandReturnToView, nameOf(m_number)).isEmpty();
}

SettingsCommand::SettingsCommand(CBaseObject& item, const QJsonObject& before, const QJsonObject& changes,
                                 KeptView viewBefore)
    : m_item(&item)
    , m_before(before)
    , m_after(changes)
    , m_viewBefore(viewBefore)
{
    for (const QString& key : changes.keys()) {
        if (movesCamera(key))
            m_viewAfter = KeptView::of(item);
    }
    setText(QStringLiteral("Change %1").arg(changes.keys().join(QStringLiteral(", "))));
}

void SettingsCommand::undo()
{
    apply(m_before, m_viewBefore);
}

void SettingsCommand::redo()
{
    if (std::exchange(m_redoArmed, true))
        apply(m_after, m_viewAfter);
}

void SettingsCommand::apply(const QJsonObject& settings, const KeptView& view)
{
    if (!m_item)
        return;
    changeSettings(*m_item, settings);
    view.returnTo(*m_item);
}

int SettingsCommand::id() const
{
    return kSettingsCommandId;
}

bool SettingsCommand::mergeWith(const QUndoCommand* other)
{
    const auto* next = static_cast<const SettingsCommand*>(other);
    if (next->m_item != m_item || next->m_after.keys() != m_after.keys())
        return false;
    m_after = next->m_after;
    m_viewAfter = next->m_viewAfter;
    return true;
}

ViewCommand::ViewCommand(CBaseObject& item, KeptView before, const QString& text)
    : m_item(&item)
    , m_before(before)
    , m_after(KeptView::of(item))
{
    setText(text);
}

void ViewCommand::undo()
{
    if (m_item && !m_before.returnTo(*m_item))
        setObsolete(true);
}

void ViewCommand::redo()
{
    if (std::exchange(m_redoArmed, true) && m_item && !m_after.returnTo(*m_item))
        setObsolete(true);
}

bool movesCamera(const QString& key)
{
    return key.startsWith(QLatin1String("camera_")) || key == QLatin1String("view_type") ||
           key == QLatin1String("reset_camera") || key.startsWith(QLatin1String("sun_"));
}

} // namespace ov3d::apps
