#pragma once

#include "apps/cli/gesture.h"

#include <QColor>
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

struct HelpCommand
{
};

struct VersionCommand
{
};

struct RenderCommand
{
    QString model;  ///< as the user wrote it
    QString output; ///< the same
    QSize size = {1280, 960};
    std::optional<QColor> background; ///< none: transparent
    bool json = false;
    std::vector<Gesture> gestures;
};

struct CheckCommand
{
    QStringList files; ///< as the user wrote them
};

using Command = std::variant<HelpCommand, VersionCommand, RenderCommand, CheckCommand>;

/// Reads the words after the program's name. @return false with `error` saying what is wrong.
bool parseCommandLine(const QStringList& words, Command& command, QString& error);

/// What --help prints.
QString helpText();

} // namespace ov3d::apps
