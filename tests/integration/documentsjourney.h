#pragma once

#include "tests/integration/picturefacts.h"

#include <QImage>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <vector>

/// A document with one model, made by one process and drawn by another, as if on two machines: in between the original
/// model is deleted and the document is moved, and each process has a user's folders of its own.
struct Journey
{
    QString model;        ///< below the folder "originals" of the journey's own
    QStringList changes;  ///< key=value words: how the item is turned and set
    QStringList textures; ///< side files that it takes along, relative to the model's folder

    // What came of it.
    ProgramRun made;
    ProgramRun drawn;
    ProgramRun told; ///< what "ov3d info" says of the document
    bool isDeleted = false;
    QImage before; ///< the page as the first process painted it before the changes
    QImage after;  ///< and after them, before it saved
    QImage arrived;

    /// The first item as "ov3d info --json" has it.
    [[nodiscard]] QJsonObject item() const;
};

/// Makes a journey, in this folder: blocks for seconds. Any thread.
void travel(Journey& journey, const QString& folder);

/// Makes all journeys, a few at once, each in its own folder below this one: "0", "1" and so on. Blocks.
void travelAll(std::vector<Journey>& journeys, const QString& folder);
