#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/picturetestbase.h"
#include "tests/unit/renderer/rendererclient.h"

#include <QColor>

using namespace picturechecks;
using ov3d::protocol::Quality;

namespace {

/// Red and green above blue and white; the white quarter has that alpha.
QImage quarters(int alpha)
{
    QImage image(64, 64, QImage::Format_ARGB32);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            image.setPixelColor(x, y,
                                y < 32   ? QColor(x < 32 ? Qt::red : Qt::green)
                                : x < 32 ? QColor(Qt::blue)
                                         : QColor(255, 255, 255, alpha));
    return image;
}

bool isMostly(const QColor& shown, const QColor& wanted)
{
    // Even a matt surface reflects some of the room's white light.
    const auto fits = [](int is, int should) { return should == 0 ? is < 90 : is > 180; };
    return fits(shown.red(), wanted.red()) && fits(shown.green(), wanted.green()) && fits(shown.blue(), wanted.blue());
}

QPointF centroid(const QImage& image)
{
    QPointF sum;
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != kKey) {
                sum += QPointF(x, y);
                ++count;
            }
    return count > 0 ? sum / count : sum;
}

} // namespace

class RendererPicturesTest : public PictureTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void smallModelsAreDrawn_data();
    void smallModelsAreDrawn();
    void facesStandWhereTheyBelong();
    void textureStandsUprightOnItsFace();
    void maskedPixelsShowThePage();
    void alphaOfAnOpaqueMaterialMeansNothing();
    void principalPointMovesThePicture();
    void parallelPictureKeepsItsSizeAtAnyDistance();
    void stlStandsWithItsZUpwards();
    void equalRequestsGiveEqualBytes();
    void sizeBeyondTheFrameMemoryIsRefused();
    void modelsFarAwayAreDrawnLikeThoseAtTheOrigin();

private:
    /// A textured square from the front, 200 x 200 pixels.
    QImage drawSquare(const QImage& texture, const QByteArray& alphaMode);
};

QImage RendererPicturesTest::drawSquare(const QImage& texture, const QByteArray& alphaMode)
{
    texture.save(m_folder->path("image.png"));
    m_folder->write("square.bin", modelfiles::squareBuffer());
    RendererClient client;
    client.azimuth = client.elevation = 0;
    if (!client.waitUntilReady() || !client.load(m_folder->write("square.gltf", modelfiles::squareGltf(alphaMode))))
        qWarning("%s", qPrintable(client.failure()));
    return client.draw(200, 200);
}

void RendererPicturesTest::smallModelsAreDrawn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("triangles");
    QTest::newRow("OBJ") << "cube.obj" << modelfiles::cubeObj() << 12;
    QTest::newRow("STL") << "floor.stl" << modelfiles::floorStl() << 2;
    QTest::newRow("GLB") << "triangle.glb" << modelfiles::triangleGlb() << 1;
    QTest::newRow("glTF") << "triangle.gltf" << modelfiles::triangleGltf("triangle.bin") << 1;
    QTest::newRow("OBJ of points alone") << "points.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 1\n") << 0;
    QTest::newRow("OBJ of lines alone") << "lines.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 1\nl 1 2 3 1\n") << 0;
}

void RendererPicturesTest::smallModelsAreDrawn()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(int, triangles);
    m_folder->write("triangle.bin", modelfiles::triangleBuffer());
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY2(client.load(m_folder->write(name, bytes)), qPrintable(client.failure()));
    QCOMPARE(static_cast<int>(client.loaded().triangles), triangles);
    const QImage image = client.draw(320, 240);
    QVERIFY2(!image.isNull(), qPrintable(client.failure()));
    QVERIFY(shownShare(image) > (triangles > 0 ? 0.02 : 0.0001));
    QVERIFY(shownShare(image) < 0.9);
    QCOMPARE(image.pixel(0, 0), kKey);
    QCOMPARE(image.pixel(319, 239), kKey);
}

void RendererPicturesTest::facesStandWhereTheyBelong()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY2(client.load(m_folder->writeCube()), qPrintable(client.failure()));
    QVERIFY(qAbs(client.loaded().radius - 0.866025) < 1e-4);
    QCOMPARE(client.loaded().materials, 4U);
    client.azimuth = 40;
    client.elevation = 30;
    const QImage image = client.draw(400, 400);

    const QColor front = image.pixelColor(160, 235);
    QVERIFY(front.red() > 2 * front.green() && front.red() > 2 * front.blue());
    const QColor right = image.pixelColor(255, 235);
    QVERIFY(right.green() > 2 * right.red() && right.green() > 2 * right.blue());
    const QColor top = image.pixelColor(200, 135);
    QVERIFY(top.blue() > 2 * top.red() && top.blue() > 2 * top.green());
}

void RendererPicturesTest::textureStandsUprightOnItsFace()
{
    const QImage image = drawSquare(quarters(255), "OPAQUE");
    QVERIFY(isMostly(image.pixelColor(70, 70), QColor(Qt::red)));
    QVERIFY(isMostly(image.pixelColor(130, 70), QColor(Qt::green)));
    QVERIFY(isMostly(image.pixelColor(70, 130), QColor(Qt::blue)));
}

void RendererPicturesTest::maskedPixelsShowThePage()
{
    const QImage image = drawSquare(quarters(0), "MASK");
    QCOMPARE(image.pixel(130, 130), kKey);
    QVERIFY(isMostly(image.pixelColor(70, 70), QColor(Qt::red)));
}

void RendererPicturesTest::alphaOfAnOpaqueMaterialMeansNothing()
{
    const QImage image = drawSquare(quarters(0), "OPAQUE");
    const QColor corner = image.pixelColor(130, 130);
    QVERIFY2(corner.red() > 200 && corner.green() > 200 && corner.blue() > 200, qPrintable(corner.name()));
}

void RendererPicturesTest::principalPointMovesThePicture()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QPointF middle = centroid(client.draw(400, 200));
    client.centreX = 0.25;
    client.centreY = -0.1;
    const QPointF moved = centroid(client.draw(400, 200)) - middle;
    QVERIFY2(qAbs(moved.x() - 50) < 2 && qAbs(moved.y() + 20) < 2,
             qPrintable(QString("%1, %2").arg(moved.x()).arg(moved.y())));
}

void RendererPicturesTest::parallelPictureKeepsItsSizeAtAnyDistance()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.parallel = true;
    const double share = shownShare(client.draw(200, 150));
    QVERIFY(share > 0.1);
    for (const double distance : {0.01, 0.3, 50.0}) {
        client.distance = distance;
        QVERIFY(qAbs(shownShare(client.draw(200, 150)) - share) < 0.002);
    }
}

void RendererPicturesTest::stlStandsWithItsZUpwards()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY(client.load(m_folder->write("floor.stl", modelfiles::floorStl())));
    QVERIFY(qAbs(client.loaded().box_max[1] - client.loaded().box_min[1]) < 1e-6);
    QVERIFY(qAbs(client.loaded().box_max[2] - 1) < 1e-6);
    client.elevation = 90;
    const double fromAbove = shownShare(client.draw(200, 200));
    client.elevation = 5;
    QVERIFY(fromAbove > 5 * shownShare(client.draw(200, 200)));
}

void RendererPicturesTest::equalRequestsGiveEqualBytes()
{
    const QString path = m_folder->writeCube();
    RendererClient first;
    QVERIFY(first.waitUntilReady() && first.load(path));
    const QByteArray picture = first.drawBytes(333, 222);
    QVERIFY(!picture.isEmpty());
    QVERIFY(!first.draw(64, 64, Quality::draft).isNull());
    QVERIFY(first.drawBytes(333, 222) == picture);
    RendererClient second;
    QVERIFY(second.waitUntilReady() && second.load(path));
    QVERIFY(second.drawBytes(333, 222) == picture);
}

void RendererPicturesTest::sizeBeyondTheFrameMemoryIsRefused()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    QVERIFY(client.draw(1601, 1200).isNull());
    QCOMPARE(client.failure(), QString("the picture's size cannot be drawn"));
    QVERIFY(client.draw(0, 10).isNull());
    QVERIFY(client.draw(10, -5).isNull());
    QVERIFY(!client.draw(1600, 1200, Quality::draft).isNull());
}

void RendererPicturesTest::modelsFarAwayAreDrawnLikeThoseAtTheOrigin()
{
    // A cube of 4096 units at a distance at which floats still tell its corners apart, but not much more.
    QByteArray far;
    for (const QByteArray& line : modelfiles::cubeObj().split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.first() != "v") {
            far += line + "\n";
            continue;
        }
        far += "v";
        for (int i = 1; i < 4; ++i)
            far += " " + QByteArray::number(parts[i].toDouble() * 4096 + (1 << 26), 'f', 1);
        far += "\n";
    }
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage near = client.draw(200, 150);
    QVERIFY(client.load(m_folder->write("far.obj", far)));
    QVERIFY(qAbs(client.loaded().centre[0] - (1 << 26)) < 1);
    const QImage image = client.draw(200, 150);
    int different = 0;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            different += near.pixel(x, y) != image.pixel(x, y) ? 1 : 0;
    QVERIFY2(different < 100, qPrintable(QString::number(different)));
}

OV3D_TEST_MAIN(RendererPicturesTest)
#include "tst_pictures.moc"
