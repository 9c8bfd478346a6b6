#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QString>

/// The stream of a property whose value is one text.
inline QByteArray streamOfText(const QString& text)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << text;
    return bytes;
}

inline QString textOfStream(const QByteArray& bytes)
{
    QString text;
    QDataStream stream(bytes);
    stream >> text;
    return text;
}
