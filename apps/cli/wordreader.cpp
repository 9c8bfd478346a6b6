#include "apps/cli/wordreader.h"

#include <utility>

namespace ov3d::apps {

WordReader::WordReader(QStringList words)
    : m_words(std::move(words))
{
}

bool WordReader::next()
{
    if (m_position >= m_words.size())
        return false;
    m_word = m_words[m_position++];
    m_inlineValue.reset();
    m_isOption = !m_optionsEnded && m_word.size() > 1 && m_word.startsWith(QLatin1Char('-'));
    if (m_isOption && m_word == QLatin1String("--")) {
        m_optionsEnded = true;
        return next();
    }
    const int equals = m_word.indexOf(QLatin1Char('='));
    if (m_isOption && m_word.startsWith(QLatin1String("--")) && equals > 0) {
        m_inlineValue = m_word.mid(equals + 1);
        m_word.truncate(equals);
    }
    return true;
}

bool WordReader::takeValue(QString& value)
{
    if (m_inlineValue) {
        value = *std::exchange(m_inlineValue, std::nullopt);
        return true;
    }
    if (m_position >= m_words.size())
        return false;
    value = m_words[m_position++];
    return true;
}

} // namespace ov3d::apps
