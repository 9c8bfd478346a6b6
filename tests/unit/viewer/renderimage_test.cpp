#include "tests/support/testmain.h"
#include "tests/unit/viewer/requestedpicture.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/conversation.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

using namespace ov3d::session;
using namespace std::chrono_literals;

namespace {

QByteArray requestFor(const QString& model, QJsonObject others = {})
{
    others[QLatin1String("model")] = model;
    return QJsonDocument(others).toJson();
}

} // namespace

/// Pictures without a session: the function for a host's off-screen rendering.
class RenderImageTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void functionFitsTheHostsHook()
    {
        void (*hook)(char* arg, unsigned char* pixels, int width, int height) = ov3dViewerRenderImage;
        QVERIFY(hook);
    }

    void rowsAreWrittenWithoutPadding()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        RequestedPicture picture(301, 7); // 903 bytes a row
        picture.draw(requestFor(model));
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                QCOMPARE(picture.at(x, y), (std::array<int, 3>{x & 255, y, x / 256}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render 301x7 final")), 1);
        QVERIFY2(childProcesses().isEmpty(), "its renderer has ended");
    }

    void largePictureIsDrawnInPartsThatFitTogether_data()
    {
        QTest::addColumn<int>("side");
        QTest::addColumn<int>("parts");
        QTest::newRow("squares") << 10 << 31 * 3;
        QTest::newRow("one row of parts") << 25 << 13;
        QTest::newRow("last part one pixel wide") << 100 << 4;
        QTest::newRow("whole") << 301 << 1;
    }

    void largePictureIsDrawnInPartsThatFitTogether()
    {
        QFETCH(int, side);
        QFETCH(int, parts);
        Limits limits;
        limits.tile_side = side;
        setLimits(limits);
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        RequestedPicture picture(301, 25);
        picture.draw(requestFor(model));
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                QCOMPARE(picture.at(x, y), (std::array<int, 3>{x & 255, y, x / 256}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render")), parts);
        QCOMPARE(ViewerFixture::log(model).last().contains(QStringLiteral(",301,25")), parts > 1);
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 1);
    }

    void pictureOf4096By4096IsDrawn()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        RequestedPicture picture(4096, 4096);
        picture.draw(requestFor(model));
        for (const int place : {0, 2047, 2048, 4095})
            QCOMPARE(picture.at(4095, place), (std::array<int, 3>{255, place & 255, 15 + place / 256 * 16}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render 2048x2048 final")), 4);
    }

    void modelThatCannotBeShownBecomesACard_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("loads");
        QTest::newRow("refused") << "failed.glb" << 1;
        QTest::newRow("crash while reading") << "crashload.glb" << 2;
        QTest::newRow("nonsense") << "garbageload.glb" << 2;
        QTest::newRow("bounds that are no numbers") << "nanbounds.glb" << 2;
        QTest::newRow("silence while reading") << "hangload.glb" << 1;
        QTest::newRow("crash while drawing") << "crashpicture.glb" << 2;
        QTest::newRow("picture that is refused") << "failpicture.glb" << 1;
        QTest::newRow("silence while drawing") << "hangpicture.glb" << 1;
        QTest::newRow("another size than asked for") << "hugepicture.glb" << 2;
    }

    void modelThatCannotBeShownBecomesACard()
    {
        QFETCH(QString, name);
        QFETCH(int, loads);
        limitLoads(300ms);
        const QString model = m_fixture->model(name);
        RequestedPicture picture(200, 150);
        picture.draw(requestFor(model));
        QVERIFY(picture.isCard());
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), loads);
        QVERIFY(childProcesses().isEmpty());
    }

    void loadThatOnlyCrawlsBecomesACard()
    {
        const QString model = m_fixture->model(QStringLiteral("drip.glb"));
        RequestedPicture shown(200, 150);
        shown.draw(requestFor(model));
        QVERIFY(!shown.isCard());
        limitLoads(500ms, 100ms); // the load takes more than a second, with progress every 60 ms
        RequestedPicture picture(200, 150);
        picture.draw(requestFor(model));
        QVERIFY(picture.isCard());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 2);
        QVERIFY(childProcesses().isEmpty());
    }

    /// The whole limit, told by its number, ends a picture that the time without progress alone would allow.
    void firstPictureBelongsToTheLoad()
    {
        limitLoads(5500ms, 1000ms); // and the load takes more than a second
        const QByteArray model = m_fixture->model(QStringLiteral("drip hangpicture.glb")).toUtf8();
        Conversation conversation(RendererProcess::start(), loadLimit(0));
        ov3d::protocol::Loaded loaded;
        QCOMPARE(conversation.load({model.toStdString(), kFormatGlb, false, false, 0}, -1, loaded),
                 Conversation::Outcome::done);
        ov3d::protocol::RenderRequest picture;
        picture.width = 4;
        picture.height = 4;
        QCOMPARE(conversation.draw(picture), Conversation::Outcome::refused);
        QCOMPARE(conversation.reason(), std::string("took longer than 7 seconds to draw"));
    }

    void secondTryAfterACrashLeavesTheTexturesOut()
    {
        const QString model = m_fixture->model(QStringLiteral("crashloadonce.glb"));
        RequestedPicture picture(64, 48);
        picture.draw(requestFor(model));
        QCOMPARE(picture.at(3, 3)[0], 200);
        QVERIFY(ViewerFixture::log(model).filter(QStringLiteral("load")).last().contains(QStringLiteral("textures=0")));
    }

    void secondTryAfterACrashLeavesTheEnvironmentPictureOut()
    {
        const QString model = m_fixture->model(QStringLiteral("crashhdr.glb"));
        QFile file(m_fixture->path(QStringLiteral("poison.hdr")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#?RADIANCE");
        file.close();
        RequestedPicture picture(64, 48);
        picture.draw(requestFor(
            model, {{QStringLiteral("settings"), QJsonObject{{QStringLiteral("hdr_path"), file.fileName()}}}}));
        QCOMPARE(picture.at(3, 3)[0], 200);
        const QStringList drawn = ViewerFixture::log(model).filter(QStringLiteral("render"));
        QCOMPARE(drawn.size(), 2);
        QVERIFY(drawn.first().endsWith(QStringLiteral("poison.hdr")) && !drawn.last().contains(QStringLiteral("hdr=")));
    }

    void absentFileBecomesACard()
    {
        RequestedPicture picture(200, 150);
        picture.draw(requestFor(QStringLiteral("/nowhere/none.glb")));
        QVERIFY(picture.isCard());
    }

    void absentRendererBecomesACard()
    {
        qputenv("OV3D_RENDERER", "/nowhere/renderer");
        RequestedPicture picture(200, 150);
        picture.draw(requestFor(m_fixture->plainModel()));
        QVERIFY(picture.isCard());
    }

    void cardOfAnySizeFillsThePicture_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("one pixel") << 1 << 1;
        QTest::newRow("one row") << 5000 << 1;
        QTest::newRow("odd") << 333 << 77;
        QTest::newRow("wider than any card") << 9000 << 30;
        QTest::newRow("4096 x 4096") << 4096 << 4096;
    }

    void cardOfAnySizeFillsThePicture()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        RequestedPicture picture(width, height);
        picture.draw("nonsense");
        const auto untouched = std::array<int, 3>{RequestedPicture::kUntouched, RequestedPicture::kUntouched,
                                                  RequestedPicture::kUntouched};
        for (int y = 0; y < height; y += std::max(1, height / 50))
            for (int x = 0; x < width; x += std::max(1, width / 50))
                QVERIFY(picture.at(x, y) != untouched);
        QVERIFY(picture.isWithinBounds());
    }

    void nothingIsDoneWithoutAPicture()
    {
        std::vector<unsigned char> bytes(100, RequestedPicture::kUntouched);
        char text[] = "{}";
        ov3dViewerRenderImage(text, nullptr, 4, 4);
        ov3dViewerRenderImage(text, bytes.data(), 0, 4);
        ov3dViewerRenderImage(text, bytes.data(), 4, -1);
        QVERIFY(std::all_of(bytes.begin(), bytes.end(),
                            [](unsigned char byte) { return byte == RequestedPicture::kUntouched; }));
        ov3dViewerRenderImage(nullptr, bytes.data(), 4, 4);
        QVERIFY(bytes[0] != RequestedPicture::kUntouched);
    }

    void picturesAreDrawnOnSeveralThreadsAtOnce()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        std::vector<RequestedPicture> pictures(4, RequestedPicture(64, 48));
        std::vector<std::thread> threads;
        for (RequestedPicture& picture : pictures)
            threads.emplace_back([&picture, text = requestFor(model)] { picture.draw(text); });
        for (std::thread& thread : threads)
            thread.join();
        for (const RequestedPicture& picture : pictures)
            QVERIFY(picture.bytes == pictures.front().bytes && picture.at(63, 47)[0] == 63);
    }

    void spareRendererIsUsedAndReplaced()
    {
        ov3dViewerPrepare();
        const int spare = childProcesses().first();
        const QString model = m_fixture->plainModel();
        RequestedPicture picture(64, 48);
        picture.draw(requestFor(model));
        QCOMPARE(ViewerFixture::rendererOf(model), spare);
        QCOMPARE(childProcesses().size(), 1);
        QVERIFY(childProcesses().first() != spare);
    }
};

OV3D_TEST_MAIN(RenderImageTest)
#include "renderimage_test.moc"
