#pragma once

#include <QHash>
#include <QJsonValue>
#include <QList>
#include <QScrollArea>

#include <functional>

class CBaseObject;
class QLabel;

namespace ov3d::apps {

struct SettingGroup;
struct SettingInfo;

/// The settings of one item, each with a field of its kind. GUI thread.
class SettingsPanel : public QScrollArea
{
    Q_OBJECT

public:
    explicit SettingsPanel(QWidget* parent = nullptr);

    /// Shows the settings of an item, or none; once more after they have changed elsewhere.
    void showItem(CBaseObject* item);

Q_SIGNALS:
    /// The user has given a setting another value.
    void changed(const QString& key, const QJsonValue& value);

private:
    /// A field, and how it takes a value.
    struct Field
    {
        QWidget* widget;
        std::function<void(const QJsonValue&)> set;
    };

    QWidget* makeGroup(const SettingGroup& group, QWidget* content);
    Field makeField(const SettingInfo& info);
    Field flagField(const QString& key);
    Field choiceField(const QString& key);
    Field integerField(const SettingInfo& info);
    Field numbersField(const SettingInfo& info);
    Field colourField(const QString& key);
    void report(const QString& key, const QJsonValue& value);

    QList<QLabel*> m_labels;
    QHash<QString, Field> m_fields;
    bool m_isFilling = false;
};

} // namespace ov3d::apps
