#pragma once

#include <QString>
#include <QStringList>

namespace ov3d::apps {

/// The settings that the panel shows, in its order.
QStringList panelSettings();

/// How the panel calls a setting; empty for one that it does not show.
QString settingLabel(const QString& key);

/// The names of a selector's values, from 0; empty when the setting is no selector.
QStringList settingChoices(const QString& key);

} // namespace ov3d::apps
