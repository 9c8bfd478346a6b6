#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/scene/imagedecoding.h"

#include <QBuffer>
#include <QImage>

using namespace ov3d::renderer;

namespace {

/// Red, green above blue, white.
QImage sample()
{
    QImage image(2, 2, QImage::Format_ARGB32);
    image.setPixelColor(0, 0, Qt::red);
    image.setPixelColor(1, 0, Qt::green);
    image.setPixelColor(0, 1, Qt::blue);
    image.setPixelColor(1, 1, Qt::white);
    return image;
}

TextureData encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, 100);
    TextureData texture;
    texture.name = "sample";
    texture.encoded.assign(bytes.begin(), bytes.end());
    return texture;
}

TextureData tga(bool runLength, bool topDown)
{
    TextureData texture;
    texture.name = "sample.TGA";
    texture.encoded.assign(18, 0);
    texture.encoded[2] = runLength ? 10 : 2;
    texture.encoded[12] = texture.encoded[14] = 2;
    texture.encoded[16] = 24;
    texture.encoded[17] = topDown ? 0x20 : 0;
    const std::vector<std::uint8_t> upper{0, 0, 255, 0, 255, 0};
    const std::vector<std::uint8_t> lower{255, 0, 0, 255, 255, 255};
    std::vector<std::uint8_t> pixels = topDown ? upper : lower;
    const auto& second = topDown ? lower : upper;
    pixels.insert(pixels.end(), second.begin(), second.end());
    if (runLength)
        pixels.insert(pixels.begin(), 3); // four pixels as they stand
    texture.encoded.insert(texture.encoded.end(), pixels.begin(), pixels.end());
    return texture;
}

QColor pixel(const DecodedImage& image, int x, int y)
{
    const std::uint8_t* p = image.rgba.data() + (y * image.width + x) * 4;
    return QColor(p[0], p[1], p[2], p[3]);
}

} // namespace

class ImageDecodingTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void losslessFormatsGiveTheirPixels_data();
    void losslessFormatsGiveTheirPixels();
    void jpegGivesItsColour();
    void greyAndPaletteImagesGiveColours();
    void alphaIsKept();
    void repeatedRunsOfTgaAreUnpacked();
    void brokenImagesAreRefused_data();
    void brokenImagesAreRefused();
};

void ImageDecodingTest::losslessFormatsGiveTheirPixels_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("PNG") << 0;
    QTest::newRow("BMP") << 1;
    QTest::newRow("TGA from below") << 2;
    QTest::newRow("TGA from above") << 3;
    QTest::newRow("TGA in runs") << 4;
    QTest::newRow("PNG of 16 bits") << 5;
}

void ImageDecodingTest::losslessFormatsGiveTheirPixels()
{
    QFETCH(int, kind);
    const TextureData texture = kind == 0   ? encoded(sample(), "PNG")
                                : kind == 1 ? encoded(sample().convertToFormat(QImage::Format_RGB888), "BMP")
                                : kind == 5 ? encoded(sample().convertToFormat(QImage::Format_RGBA64), "PNG")
                                            : tga(kind == 4, kind == 3);
    DecodedImage image;
    std::string reason;
    QVERIFY2(decodeImage(texture, image, reason), reason.c_str());
    QCOMPARE(image.width, 2);
    QCOMPARE(image.height, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            QCOMPARE(pixel(image, x, y), sample().pixelColor(x, y));
}

void ImageDecodingTest::jpegGivesItsColour()
{
    QImage orange(16, 16, QImage::Format_RGB32);
    orange.fill(QColor(240, 120, 20));
    DecodedImage image;
    std::string reason;
    QVERIFY(decodeImage(encoded(orange, "JPG"), image, reason));
    const QColor shown = pixel(image, 8, 8);
    QVERIFY(qAbs(shown.red() - 240) < 6 && qAbs(shown.green() - 120) < 6 && qAbs(shown.blue() - 20) < 6);
    QCOMPARE(shown.alpha(), 255);
}

void ImageDecodingTest::greyAndPaletteImagesGiveColours()
{
    DecodedImage image;
    std::string reason;
    QVERIFY(decodeImage(encoded(sample().convertToFormat(QImage::Format_Indexed8), "PNG"), image, reason));
    QCOMPARE(pixel(image, 0, 0), QColor(Qt::red));
    QVERIFY(decodeImage(encoded(sample().convertToFormat(QImage::Format_Indexed8), "BMP"), image, reason));
    QCOMPARE(pixel(image, 0, 0), QColor(Qt::red));
    QVERIFY(decodeImage(encoded(sample().convertToFormat(QImage::Format_Grayscale8), "PNG"), image, reason));
    QCOMPARE(pixel(image, 1, 1), QColor(Qt::white));
}

void ImageDecodingTest::alphaIsKept()
{
    QImage glass(1, 1, QImage::Format_ARGB32);
    glass.setPixelColor(0, 0, QColor(10, 20, 30, 40));
    DecodedImage image;
    std::string reason;
    QVERIFY(decodeImage(encoded(glass, "PNG"), image, reason));
    QCOMPARE(pixel(image, 0, 0), QColor(10, 20, 30, 40));
}

void ImageDecodingTest::repeatedRunsOfTgaAreUnpacked()
{
    TextureData texture = tga(true, true);
    texture.encoded.resize(18);
    texture.encoded.insert(texture.encoded.end(), {0x83, 1, 2, 3});
    DecodedImage image;
    std::string reason;
    QVERIFY(decodeImage(texture, image, reason));
    QCOMPARE(pixel(image, 1, 1), QColor(3, 2, 1));
}

void ImageDecodingTest::brokenImagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    const auto bytesOf = [](const TextureData& texture) {
        return QByteArray(reinterpret_cast<const char*>(texture.encoded.data()),
                          static_cast<int>(texture.encoded.size()));
    };
    QByteArray png = bytesOf(encoded(sample(), "PNG"));
    QTest::newRow("PNG cut off") << png.left(50) << "x.png"
                                 << "is damaged";
    QByteArray huge = png;
    huge[16] = huge[20] = 0x7F;
    QTest::newRow("PNG with a huge size and a wrong checksum") << huge << "x.png"
                                                               << "is damaged";
    QTest::newRow("JPEG cut off in its header") << bytesOf(encoded(sample(), "JPG")).left(30) << "x.jpg"
                                                << "is damaged";
    QByteArray bmp = bytesOf(encoded(sample().convertToFormat(QImage::Format_RGB888), "BMP"));
    QTest::newRow("BMP cut off") << bmp.left(bmp.size() - 4) << "x.bmp"
                                 << "is damaged";
    QByteArray wide = bmp;
    wide[20] = wide[24] = 0x7F;
    QTest::newRow("BMP of a huge size") << wide << "x.bmp"
                                        << "is too large";
    QTest::newRow("TGA cut off") << bytesOf(tga(false, true)).left(20) << "x.tga"
                                 << "is damaged";
    QTest::newRow("TGA cut off in a run") << bytesOf(tga(true, true)).left(22) << "x.tga"
                                          << "is damaged";
    QTest::newRow("another kind") << QByteArray("GIF89a and so on") << "x.gif"
                                  << "is of a kind that cannot be read";
    QTest::newRow("nothing") << QByteArray() << "x.png"
                             << "is of a kind that cannot be read";
}

void ImageDecodingTest::brokenImagesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    QFETCH(QString, reason);
    TextureData texture;
    texture.name = name.toStdString();
    texture.encoded.assign(bytes.begin(), bytes.end());
    DecodedImage image;
    std::string said;
    QVERIFY(!decodeImage(texture, image, said));
    QCOMPARE(QString::fromStdString(said), reason);
}

OV3D_TEST_MAIN(ImageDecodingTest)
#include "tst_imagedecoding.moc"
