#pragma once

#include <QByteArray>
#include <QColor>
#include <QString>

/// Models and folders that tests of documents make. Every function returns false when a file cannot be written.

/// Copies a folder with everything below it.
bool copyFolder(const QString& from, const QString& to);

/// Writes a file and the folders above it.
bool writeFile(const QString& path, const QByteArray& content);

/// A pyramid in a 3MF package: 3MF has millimetres and its own up, so that any picture of it will do.
bool write3mf(const QString& path, double height);

/// A box of one colour: PATH, an .obj, and a material library beside it.
bool writeBox(const QString& path, const QColor& colour);
