#include "apps/common/viewerevents.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <utility>

namespace ov3d::apps {

namespace {

std::optional<ViewerEvent::Kind> kindOf(const QString& name)
{
    if (name == QLatin1String("shown"))
        return ViewerEvent::Kind::shown;
    if (name == QLatin1String("card"))
        return ViewerEvent::Kind::card;
    if (name == QLatin1String("missing"))
        return ViewerEvent::Kind::missing;
    if (name == QLatin1String("restarted"))
        return ViewerEvent::Kind::restarted;
    if (name == QLatin1String("note"))
        return ViewerEvent::Kind::note;
    return {};
}

} // namespace

void ViewerEvents::add(const QByteArray& json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const auto kind = kindOf(object.value(QLatin1String("event")).toString());
    if (!kind)
        return;
    ViewerEvent event;
    event.run = object.value(QLatin1String("run")).toInt();
    event.kind = *kind;
    event.model = object.value(QLatin1String("model")).toString();
    event.reason = object.value(QLatin1String("reason")).toString();
    for (const QJsonValue& file : object.value(QLatin1String("files")).toArray())
        event.files << file.toString();
    for (const QJsonValue& note : object.value(QLatin1String("notes")).toArray())
        event.notes << note.toString();
    const std::lock_guard lock(m_mutex);
    m_events.push_back(event);
}

std::vector<ViewerEvent> ViewerEvents::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_events, {});
}

} // namespace ov3d::apps
