#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>

/// glTF files, put together by hand.
namespace gltffiles {

/// A glTF that grows part by part. Every buffer becomes a data address.
class Builder
{
public:
    Builder();

    /// @return index of the accessor.
    int addAccessor(const QByteArray& bytes, int componentType, const QString& type, int count,
                    bool isNormalized = false);
    int addFloats(const QVector<float>& values, const QString& type);
    int addShorts(const QVector<quint16>& values, const QString& type);

    /// The object that everything is in, to be changed at will.
    QJsonObject json;

    /// Changes one element of one of the lists: change("accessors", 0, "count", 7).
    void change(const QString& list, int index, const QString& member, const QJsonValue& value);

    [[nodiscard]] QByteArray text() const;

    /// The same in one file, its last buffer as the binary part.
    [[nodiscard]] QByteArray glb() const;
};

/// One triangle in one node: accessor 0 holds its positions, accessor 1 its corners.
Builder triangle();

/// The triangle on a skeleton of two bones: accessors 2, 3 and 4 hold bones, weights and matrices.
Builder skinnedTriangle(const QVector<quint16>& bones);

} // namespace gltffiles
