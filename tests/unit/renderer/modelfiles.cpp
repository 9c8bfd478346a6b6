#include "tests/unit/renderer/modelfiles.h"

#include <QtEndian>

namespace modelfiles {
namespace {

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray floats(std::initializer_list<float> values)
{
    QByteArray bytes;
    for (const float value : values) {
        quint32 bits = 0;
        memcpy(&bits, &value, sizeof bits);
        bytes += number(bits);
    }
    return bytes;
}

QByteArray padded(QByteArray bytes, char filler)
{
    while (bytes.size() % 4 != 0)
        bytes += filler;
    return bytes;
}

} // namespace

QByteArray cubeObj()
{
    return "mtllib colours.mtl\n"
           "v -0.5 -0.5 -0.5\nv 0.5 -0.5 -0.5\nv 0.5 0.5 -0.5\nv -0.5 0.5 -0.5\n"
           "v -0.5 -0.5 0.5\nv 0.5 -0.5 0.5\nv 0.5 0.5 0.5\nv -0.5 0.5 0.5\n"
           "usemtl front\nf 5 6 7 8\n"
           "usemtl right\nf 6 2 3 7\n"
           "usemtl top\nf 8 7 3 4\n"
           "usemtl rest\nf 1 4 3 2\nf 1 5 8 4\nf 1 2 6 5\n";
}

QByteArray cubeMtl()
{
    return "newmtl front\nKd 0.9 0.1 0.1\nnewmtl right\nKd 0.1 0.7 0.2\nnewmtl top\nKd 0.1 0.2 0.9\n"
           "newmtl rest\nKd 0.5 0.5 0.5\n";
}

QByteArray floorStl()
{
    QByteArray bytes = QByteArray(80, ' ') + number(2);
    for (const bool second : {false, true}) {
        bytes += floats({0, 0, 1, -1, -1, 0});
        bytes += second ? floats({1, 1, 0, -1, 1, 0}) : floats({1, -1, 0, 1, 1, 0});
        bytes += QByteArray(2, '\0');
    }
    return bytes;
}

QByteArray triangleGltf(const QByteArray& bufferUri)
{
    const QByteArray uri = bufferUri.isEmpty() ? QByteArray() : "\"uri\":\"" + bufferUri + "\",";
    return "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}],"
           "\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0}}]}],"
           "\"buffers\":[{" +
           uri +
           "\"byteLength\":36}],\"bufferViews\":[{\"buffer\":0,\"byteOffset\":0,\"byteLength\":36}],"
           "\"accessors\":[{\"bufferView\":0,\"componentType\":5126,\"count\":3,\"type\":\"VEC3\","
           "\"min\":[-1,-1,0],\"max\":[1,1,0]}]}";
}

QByteArray triangleBuffer()
{
    return floats({-1, -1, 0, 1, -1, 0, 0, 1, 0});
}

QByteArray triangleGlb()
{
    const QByteArray json = padded(triangleGltf({}), ' ');
    const QByteArray data = triangleBuffer();
    const QByteArray body = number(static_cast<quint32>(json.size())) + "JSON" + json +
                            number(static_cast<quint32>(data.size())) + QByteArray("BIN\0", 4) + data;
    return "glTF" + number(2) + number(static_cast<quint32>(12 + body.size())) + body;
}

QByteArray squareGltf(const QByteArray& alphaMode)
{
    return "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}],"
           "\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0,\"TEXCOORD_0\":1},\"indices\":2,"
           "\"material\":0}]}],"
           "\"materials\":[{\"alphaMode\":\"" +
           alphaMode +
           "\",\"pbrMetallicRoughness\":{\"baseColorTexture\":{\"index\":0}}}],"
           "\"textures\":[{\"source\":0}],\"images\":[{\"uri\":\"image.png\"}],"
           "\"buffers\":[{\"uri\":\"square.bin\",\"byteLength\":92}],\"bufferViews\":["
           "{\"buffer\":0,\"byteOffset\":0,\"byteLength\":48},{\"buffer\":0,\"byteOffset\":48,\"byteLength\":32},"
           "{\"buffer\":0,\"byteOffset\":80,\"byteLength\":12}],\"accessors\":["
           "{\"bufferView\":0,\"componentType\":5126,\"count\":4,\"type\":\"VEC3\",\"min\":[-1,-1,0],\"max\":[1,1,0]},"
           "{\"bufferView\":1,\"componentType\":5126,\"count\":4,\"type\":\"VEC2\"},"
           "{\"bufferView\":2,\"componentType\":5123,\"count\":6,\"type\":\"SCALAR\"}]}";
}

QByteArray squareBuffer()
{
    return floats({-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0}) + floats({0, 1, 1, 1, 1, 0, 0, 0}) +
           QByteArray("\0\0\1\0\2\0\0\0\2\0\3\0", 12);
}

QByteArray paneMtl(double opacity)
{
    return "newmtl glass\nKd 0.1 0.8 0.2\nd " + QByteArray::number(opacity) + "\n";
}

QByteArray paneObj()
{
    return "mtllib pane.mtl\nusemtl glass\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nf 1 2 3 4\n";
}

} // namespace modelfiles
