#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace ov3d::apps {

/// Goes through the words of a command line; "--" ends the options, "--name=value" and "--name value" are the same.
class WordReader
{
public:
    explicit WordReader(QStringList words);

    bool next();

    [[nodiscard]] bool isOption() const { return m_isOption; }
    [[nodiscard]] const QString& word() const { return m_word; }
    [[nodiscard]] bool hasUnwantedValue() const { return m_inlineValue.has_value(); }

    /// The value of the option just read; false when there is none.
    bool takeValue(QString& value);

private:
    QStringList m_words;
    QString m_word;
    std::optional<QString> m_inlineValue;
    int m_position = 0;
    bool m_isOption = false;
    bool m_optionsEnded = false;
};

} // namespace ov3d::apps
