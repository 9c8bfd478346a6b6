#pragma once

#include "tests/support/singleitemtestbase.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

/// Base of tests that save an item into a JSON object of the host's.
class SaveJsonTestBase : public SingleItemTestBase
{
protected:
    /// The key that holds an array of entries for each save.
    static QString key() { return QStringLiteral("3D_OBJECT_KEY"); }

    /// Saves the item with the model that it has. @return the host's object.
    QJsonObject save()
    {
        QJsonObject object;
        m_item->saveJson(object);
        return object;
    }

    /// Saves the item with a model of this name, which holds nothing that is read.
    QJsonObject saveModel(const QString& name)
    {
        m_item->m_modelPath = m_fixture->writeFile(name);
        return save();
    }

    /// What was stored before the preview.
    [[nodiscard]] QStringList modelFiles() const
    {
        const QStringList paths = m_fixture->document.storedPaths();
        return paths.mid(0, paths.size() - 3);
    }

    /// The paths in the entries of a save, in order.
    static QStringList entriesOf(const QJsonObject& object, int save)
    {
        QStringList paths;
        const QJsonArray entries = object.value(key()).toArray().at(save).toArray();
        for (const QJsonValue& entry : entries)
            paths << entry.toObject().value(QStringLiteral("path")).toString();
        return paths;
    }

    /// What the log says of the directory name.
    [[nodiscard]] QStringList logOfSave() const
    {
        return m_fixture->logEntries().filter(QStringLiteral("[obj save dir is]"));
    }
};
