#pragma once

#include <QString>
#include <QStringList>

namespace ov3d::apps {

/// What the command line of ov3dboard asks for.
struct BoardOptions
{
    bool help = false;
    bool version = false;
    QString screenshot; ///< as the user wrote it; empty: the window stays
    QStringList files;  ///< as the user wrote them
};

/// Reads the words after the program's name. @return false with `error` saying what is wrong.
bool parseBoardOptions(const QStringList& words, BoardOptions& options, QString& error);

/// Whether a name is that of a document rather than of a model.
bool isDocumentName(const QString& path);

} // namespace ov3d::apps
