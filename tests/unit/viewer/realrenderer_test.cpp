#include "tests/support/testmain.h"
#include "tests/unit/viewer/requestedpicture.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/protocol/messages.h"
#include "viewer/session/commands.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cstring>

using namespace ov3d;

namespace {

constexpr std::array<int, 3> kKey{92, 238, 20};

RequestedPicture draw(const QJsonObject& request, int width, int height)
{
    RequestedPicture picture(width, height);
    picture.draw(QJsonDocument(request).toJson());
    return picture;
}

} // namespace

/// The session and the real renderer together: what scripted pictures cannot show.
class RealRendererTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        SessionTestBase::init();
        qputenv("OV3D_RENDERER", REAL_RENDERER);
        QFile file(m_fixture->path(QStringLiteral("box.obj")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
                   "f 5 6 7 8\nf 2 1 4 3\nf 1 5 8 4\nf 6 2 3 7\nf 8 7 3 4\nf 1 2 6 5\n");
        m_model = file.fileName();
    }

    void backgroundIsTheKeyColourUnlessItIsChosen()
    {
        const RequestedPicture keyed = draw({{QStringLiteral("model"), m_model}}, 201, 150);
        QCOMPARE(keyed.at(0, 0), kKey);
        QVERIFY(keyed.at(100, 75) != kKey);
        const QJsonObject white{{QStringLiteral("bg_color"), QJsonArray{1, 1, 1}}};
        const RequestedPicture opaque =
            draw({{QStringLiteral("model"), m_model}, {QStringLiteral("settings"), white}}, 201, 150);
        QCOMPARE(opaque.at(0, 0), (std::array<int, 3>{255, 255, 255}));
        QVERIFY(opaque.at(100, 75) != opaque.at(0, 0));
    }

    void partsFitTogetherToTheByte_data()
    {
        QTest::addColumn<int>("side");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("small parts") << 64 << 201 << 150;
        QTest::newRow("across the renderer's own squares") << 2048 << 2100 << 300;
    }

    void partsFitTogetherToTheByte()
    {
        QFETCH(int, side);
        QFETCH(int, width);
        QFETCH(int, height);
        const QJsonObject request{{QStringLiteral("model"), m_model},
                                  {QStringLiteral("camera"), QJsonObject{{QStringLiteral("zoom"), 3}}}};
        session::Limits limits;
        limits.tile_side = side;
        session::setLimits(limits);
        const RequestedPicture tiled = draw(request, width, height);
        limits.tile_side = std::max(width, height);
        session::setLimits(limits);
        const RequestedPicture whole = draw(request, width, height);
        QVERIFY(tiled.bytes == whole.bytes);
        QVERIFY(tiled.at(width / 2, height / 2) != kKey);
    }

    void pictureWithASessionsCameraIsTheSessions()
    {
        FakeHost host(m_model, 200, 150);
        host.context().model_format = kFormatObj;
        host.startAndSettle();
        host.command(kCommandOrbit, "33 -12");
        const TakenFrame frame = host.takeAll().back();
        double doubles[47];
        std::memcpy(doubles, &host.context().scene_status, sizeof doubles);
        QJsonArray status;
        for (const double value : doubles)
            status << value;
        const RequestedPicture picture =
            draw({{QStringLiteral("model"), m_model},
                  {QStringLiteral("camera"), QJsonObject{{QStringLiteral("status"), status}}}},
                 200, 150);
        QCOMPARE(frame.width, 200);
        QCOMPARE(frame.pixels.size(), 200 * 150 * 3); // 200 pixels need no padding
        QVERIFY(std::memcmp(frame.pixels.constData(), picture.bytes.data(), 200 * 150 * 3) == 0);
    }

    void savedPictureIsTheFrameWithTheKeyColourTakenOut()
    {
        FakeHost host(m_model, 200, 150);
        host.context().model_format = kFormatObj;
        const TakenFrame frame = host.startAndSettle();
        const QString path = m_fixture->path(QStringLiteral("saved.png"));
        host.command(kCommandSavePicture, QFile::encodeName(path));
        QCOMPARE(host.waitForResult(), kDone);
        const QImage image(path);
        QCOMPARE(image.size(), QSize(200, 150));
        int shown = 0;
        for (int y = 0; y < 150; ++y) {
            for (int x = 0; x < 200; ++x) {
                const auto* pixel = reinterpret_cast<const uchar*>(frame.pixels.constData()) + y * 600 + x * 3;
                if (qAlpha(image.pixel(x, y)) == 0)
                    continue;
                ++shown;
                QCOMPARE(image.pixel(x, y), qRgb(pixel[0], pixel[1], pixel[2]));
                QVERIFY(pixel[0] != 92 || pixel[1] != 238 || pixel[2] != 20);
            }
        }
        QVERIFY(shown > 200 * 150 / 10 && shown < 200 * 150);
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
    }

    void factsAreThoseOfTheModel()
    {
        FakeHost host(m_model, 200, 150);
        host.context().model_format = kFormatObj;
        host.startAndSettle();
        const QJsonObject facts = factsOf(host);
        QCOMPARE(facts[QLatin1String("triangles")].toInt(), 12);
        const QJsonObject bounds = facts[QLatin1String("bounds")].toObject();
        QCOMPARE(bounds[QLatin1String("min")].toArray(), QJsonArray({-1, -1, -1}));
        QCOMPARE(bounds[QLatin1String("max")].toArray(), QJsonArray({1, 1, 1}));
    }

    void environmentPictureChangesTheLight()
    {
        // A red room: four pixels by two, each its mantissas and a shared exponent.
        QFile file(m_fixture->path(QStringLiteral("red.hdr")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 4\n");
        for (int i = 0; i < 8; ++i)
            file.write(QByteArray("\xF0\x08\x08\x82", 4));
        file.close();
        FakeHost host(m_model, 200, 150);
        host.context().model_format = kFormatObj;
        host.lighting.sun_enabled = false;
        host.lighting.use_default_ibl = false; // otherwise matt surfaces keep their own light
        const TakenFrame before = host.startAndSettle();
        QCOMPARE(host.command(kCommandSetEnvironment, QFile::encodeName(file.fileName())), kDone);
        const TakenFrame red = host.takeAll().back();
        const auto centre = [](const TakenFrame& frame, int channel) {
            return static_cast<int>(static_cast<uchar>(frame.pixels[75 * 600 + 100 * 3 + channel]));
        };
        QVERIFY(centre(red, 0) > centre(red, 1) + 40);
        QVERIFY(red.pixels != before.pixels);
        QCOMPARE(host.command(kCommandSetEnvironment, ""), kDone);
        QVERIFY(host.takeAll().back().pixels == before.pixels);
        QCOMPARE(m_fixture->eventCount(QStringLiteral("restarted")), 0);
    }

private:
    QString m_model;
};

OV3D_TEST_MAIN(RealRendererTest)
#include "realrenderer_test.moc"
