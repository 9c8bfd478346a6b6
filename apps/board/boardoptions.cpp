#include "apps/board/boardoptions.h"

#include "apps/common/picturefile.h"

#include <algorithm>

namespace ov3d::apps {

bool parseBoardOptions(const QStringList& words, BoardOptions& options, QString& error)
{
    bool optionsEnded = false;
    for (int i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (optionsEnded || !word.startsWith(QLatin1Char('-'))) {
            options.files << word;
        } else if (word == QLatin1String("--")) {
            optionsEnded = true;
        } else if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
            options.help = true;
        } else if (word == QLatin1String("--version")) {
            options.version = true;
        } else if (word == QLatin1String("--screenshot")) {
            options.screenshot = words.value(++i);
            if (options.screenshot.isEmpty()) {
                error = QStringLiteral("the option --screenshot needs a file");
                return false;
            }
            if (!isPngName(options.screenshot)) {
                error = QStringLiteral("%1 is not the name of a PNG picture").arg(options.screenshot);
                return false;
            }
        } else {
            error = QStringLiteral("unknown option %1").arg(word);
            return false;
        }
    }
    const auto documents = std::count_if(options.files.begin(), options.files.end(), isDocumentName);
    if (documents > 0 && options.files.size() > 1) {
        error = QStringLiteral("a document is opened alone");
        return false;
    }
    return true;
}

bool isDocumentName(const QString& path)
{
    return path.endsWith(QLatin1String(".ovb"), Qt::CaseInsensitive);
}

} // namespace ov3d::apps
