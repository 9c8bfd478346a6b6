#pragma once

#include "apps/cli/gesture.h"
#include "apps/cli/itemchanges.h"

#include <QColor>
#include <QLatin1String>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>
#include <vector>

namespace ov3d::apps {

enum ExitCode : int
{
    kExitDone = 0,
    kExitNotShown = 1, ///< the model could not be shown; a card was drawn
    kExitUsage = 2,
    kExitRefused = 3,  ///< by the suffix or the content check
    kExitNoAccess = 4, ///< a file cannot be read or written
};

/// Largest side of a picture, in pixels.
inline constexpr int kMaxPictureSide = 8192;
inline constexpr QSize kDefaultPictureSize{1280, 960};
inline constexpr QLatin1String kDocumentSuffix(".ovb");

struct HelpCommand
{
};

struct VersionCommand
{
};

struct RenderCommand
{
    QString model;                    ///< or a document; as the user wrote it
    QString output;                   ///< the same
    std::optional<QSize> size;        ///< none: kDefaultPictureSize
    std::optional<QColor> background; ///< none: transparent
    bool json = false;
    std::vector<Gesture> gestures;
    std::optional<int> page; ///< from 1; documents alone
    QStringList settings;    ///< key=value, as the user wrote them
    ItemChanges changes;     ///< what they say
};

struct NewCommand
{
    QString document; ///< as the user wrote it
    QStringList models;
};

struct InfoCommand
{
    QString document;
    bool json = false;
};

struct SetCommand
{
    QString document;
    int item = 0; ///< from 1, through the document
    ItemChanges changes;
};

struct ExtractCommand
{
    QString document;
    int item = 0;
    QString folder; ///< as the user wrote it
};

struct CheckCommand
{
    QStringList files; ///< as the user wrote them
};

struct CheckViewerCommand
{
    QString library; ///< as the user wrote it
    QString symbol;  ///< of the viewer function
    bool json = false;
    int limitSeconds = 30; ///< for whatever the viewer has to do
    int jobs = 1;          ///< parts of the check that run side by side
};

using Command = std::variant<HelpCommand, VersionCommand, RenderCommand, CheckCommand, CheckViewerCommand, NewCommand,
                             InfoCommand, SetCommand, ExtractCommand>;

/// Whether a file is a document, by its name.
bool isDocumentName(const QString& name);

/// Reads the words after the program's name. @return false with `error` saying what is wrong.
bool parseCommandLine(const QStringList& words, Command& command, QString& error);

/// What --help prints.
QString helpText();

} // namespace ov3d::apps
