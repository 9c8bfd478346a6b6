#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// What a file holds; a text that no test writes when it cannot be read.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no such file>");
}
