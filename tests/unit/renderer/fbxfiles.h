#pragma once

#include <QByteArray>
#include <QList>

/// Binary FBX files, put together by hand.
namespace fbxfiles {

/// A record with its properties (encoded) and the records in it.
struct Record
{
    QByteArray name;
    QList<QByteArray> properties;
    QList<Record> records;
};

QByteArray text(const QByteArray& value);                                   ///< a property
QByteArray raw(const QByteArray& value);                                    ///< a property of bytes
QByteArray number(qint32 value);                                            ///< a property
QByteArray longNumber(qint64 value);                                        ///< a property
QByteArray doubles(const QList<double>& values);                            ///< an array property, not compressed
QByteArray integers(const QList<qint32>& values);                           ///< an array property, not compressed
QByteArray packedArray(char type, quint32 count, const QByteArray& packed); ///< an array property that claims a size

/// A whole file of version 7.4.
QByteArray file(const QList<Record>& records);

/// A file with one polygon of those corners in the X-Y plane.
QByteArray polygon(const QList<double>& coordinates);

/// The polygon with a texture whose picture stands in the file.
QByteArray texturedPolygon(const QList<double>& coordinates, const QByteArray& picture);

} // namespace fbxfiles
