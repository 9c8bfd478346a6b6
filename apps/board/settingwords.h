#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace ov3d::apps {

/// Settings that stand together in the panel, under one title.
struct SettingGroup
{
    QString title;
    QStringList keys;
};

/// The settings that the panel shows, in its order.
QVector<SettingGroup> panelGroups();

/// How the panel calls a setting under its group's title; empty for one that it does not show.
QString settingLabel(const QString& key);

/// How a setting is called where its group is not to be seen; the key for one that the panel does not show.
QString settingTitle(const QString& key);

/// What a setting does, for people who do not know it yet; empty for one that the panel does not show.
QString settingHint(const QString& key);

/// The names of a selector's values, from 0; empty when the setting is no selector.
QStringList settingChoices(const QString& key);

} // namespace ov3d::apps
