#include "apps/board/modelcommands.h"

#include "apps/board/settingwords.h"
#include "apps/document/itemsettings.h"
#include "apps/document/livedocument.h"

#include <utility>

namespace ov3d::apps {

namespace {

constexpr int kSettingsCommandId = 3101;

} // namespace

SettingsCommand::SettingsCommand(CBaseObject& item, const QString& key, const QJsonObject& before,
                                 const QJsonObject& after, KeptView viewBefore)
    : m_item(&item)
    , m_key(key)
    , m_before(differingSettings(before, after))
    , m_after(differingSettings(after, before))
    , m_viewBefore(viewBefore)
{
    if (movesCamera(key))
        m_viewAfter = KeptView::of(item);
    setText(QStringLiteral("Change %1").arg(settingTitle(key)));
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
    if (next->m_item != m_item || next->m_key != m_key || next->m_after.keys() != m_after.keys())
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

EnvironmentCommand::EnvironmentCommand(LiveDocument& document, CBaseObject& item, const QString& before,
                                       const QString& after)
    : m_document(document)
    , m_item(&item)
    , m_before(before)
    , m_after(after)
{
    setText(QStringLiteral("Change the environment picture"));
}

void EnvironmentCommand::undo()
{
    apply(m_before);
}

void EnvironmentCommand::redo()
{
    if (std::exchange(m_redoArmed, true))
        apply(m_after);
}

void EnvironmentCommand::apply(const QString& file)
{
    if (m_item && !m_document.returnToEnvironment(*m_item, file).isEmpty())
        setObsolete(true);
}

QJsonObject differingSettings(const QJsonObject& record, const QJsonObject& other)
{
    // The viewer tells the camera's place in these whenever it likes.
    const QLatin1String reported("camera_values");
    QJsonObject differing;
    for (auto setting = record.begin(); setting != record.end(); ++setting) {
        if (setting.key() != reported && setting.value() != other.value(setting.key()))
            differing.insert(setting.key(), setting.value());
    }
    return differing;
}

bool movesCamera(const QString& key)
{
    return key.startsWith(QLatin1String("camera_")) || key == QLatin1String("view_type") ||
           key == QLatin1String("reset_camera") || key.startsWith(QLatin1String("sun_"));
}

} // namespace ov3d::apps
