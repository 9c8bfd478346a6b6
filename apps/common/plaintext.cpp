#include "apps/common/plaintext.h"

#include <algorithm>

namespace ov3d::apps {

QString oneLine(QString text)
{
    const auto disturbsLine = [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
    };
    std::replace_if(text.begin(), text.end(), disturbsLine, QLatin1Char('?'));
    return text;
}

} // namespace ov3d::apps
