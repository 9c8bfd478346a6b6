#pragma once

#include <QColor>
#include <QImage>
#include <QStringList>

/// What a run of a program left behind.
struct ProgramRun
{
    int exitCode = -1; ///< -1: did not start, crashed, or took longer than the limit
    QByteArray output;
    QByteArray errors;
};

/// Runs a program without a display server. @param limitMs  after which it is killed.
ProgramRun runProgram(const QString& program, const QStringList& arguments, const QString& folder = QString(),
                      int limitMs = 90000);

/// Share of the pixels that are opaque, 0 to 1.
double opaqueShare(const QImage& image);

/// Opaque pixels beside a transparent one that are nearly the viewer's key colour.
int keyColouredEdgePixels(const QImage& image);

/// Whether some opaque pixel is not black.
bool isNotAllBlack(const QImage& image);
