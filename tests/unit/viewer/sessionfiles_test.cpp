#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/commands.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>

#include <signal.h>
#include <sys/stat.h>

#include <cstring>

using namespace ov3d;
using namespace std::chrono_literals;

/// Commands that write a file are answered by the session's thread.
class SessionFilesTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void savedPictureIsTransparentWhereThePageShows()
    {
        FakeHost host(m_fixture->model(QStringLiteral("silhouette.glb")));
        host.startAndSettle();
        const QString path = m_fixture->path(QStringLiteral("a picture.png"));
        QVERIFY(savePicture(host, path) != kFailed);
        QCOMPARE(host.waitForResult(), kDone);
        const QImage image(path);
        QCOMPARE(image.size(), QSize(64, 48));
        QVERIFY(image.hasAlphaChannel());
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                // The keying takes one pixel of the block at each end of a row.
                const bool shown = x >= 11 && x < 19 && y >= 5 && y < 15;
                QCOMPARE(image.pixel(x, y), shown ? qRgb(200, 10, 30) : qRgba(0, 0, 0, 0));
            }
        }
    }

    void savedPictureIsOpaqueWithTheSkyOn()
    {
        FakeHost host(m_fixture->model(QStringLiteral("silhouette.glb")));
        host.display.enable_sky = true;
        host.startAndSettle();
        const QString path = m_fixture->path(QStringLiteral("sky.png"));
        savePicture(host, path);
        QCOMPARE(host.waitForResult(), kDone);
        QCOMPARE(QImage(path).pixel(0, 0), qRgb(92, 238, 20));
    }

    void savedPictureShowsTheViewOfTheCommand()
    {
        const QString model = m_fixture->model(QStringLiteral("slowpicture.glb"));
        FakeHost host(model);
        host.startAndSettle();
        host.mouse(kMouseButtonDown, 10, 10);
        host.mouse(kMouseDrag, 30, 12);
        const QString path = m_fixture->path(QStringLiteral("drag.png"));
        QCOMPARE(savePicture(host, path), kPending);
        QCOMPARE(host.waitForResult(), kDone);
        const QRgb pixel = QImage(path).pixel(0, 0);
        QCOMPARE(qRed(pixel), 200); // at rest, though the hand has not let go
        host.mouse(kMouseButtonUp, 30, 12);
        QCOMPARE(qBlue(pixel), host.takeAll().back().view());
    }

    void pictureIsSavedWhileTheHostTakesNoFrames()
    {
        FakeHost host(m_fixture->plainModel());
        host.start();
        QVERIFY(host.waitForFirstDraw());
        host.command(kCommandShowView, "top");
        const QString path = m_fixture->path(QStringLiteral("untaken.png"));
        savePicture(host, path);
        QCOMPARE(host.waitForResult(), kDone);
        QVERIFY(host.hasFrame());
    }

    void pictureIsSavedAfterTheRendererWasGivenBack()
    {
        limitRest(100ms);
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        QVERIFY(allRenderersEnd());
        const QString path = m_fixture->path(QStringLiteral("again.png"));
        QCOMPARE(savePicture(host, path), kPending);
        QCOMPARE(host.waitForResult(), kDone);
        QCOMPARE(QImage(path).size(), QSize(64, 48));
    }

    void pictureOfATurningModelIsSaved()
    {
        FakeHost host(m_fixture->plainModel());
        host.view.view_type = 5;
        host.start();
        QVERIFY(host.waitForFirstDraw());
        const QString path = m_fixture->path(QStringLiteral("turning.png"));
        savePicture(host, path);
        QCOMPARE(host.waitForResult(), kDone);
    }

    void pictureThatCannotBeDrawnFailsTheCommand()
    {
        const QString model = m_fixture->model(QStringLiteral("crashwireframe.glb"));
        FakeHost host(model);
        host.startAndSettle();
        host.material.wireframe = true;
        const QString path = m_fixture->path(QStringLiteral("none.png"));
        savePicture(host, path);
        QCOMPARE(host.waitForResult(), kFailed);
        QVERIFY(!QFile::exists(path));
    }

    void fileThatCannotBeWrittenFailsAndLeavesNothing_data()
    {
        QTest::addColumn<int>("code");
        QTest::newRow("picture") << int(kCommandSavePicture);
        QTest::newRow("facts") << int(kCommandReportFacts);
    }

    void fileThatCannotBeWrittenFailsAndLeavesNothing()
    {
        QFETCH(int, code);
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const QString folder = m_fixture->path(QStringLiteral("target"));
        QVERIFY(QDir().mkpath(folder));
        for (const QString& path : {QStringLiteral("/nowhere/deep/file"), folder, QStringLiteral("/dev/null")}) {
            host.command(code, QFile::encodeName(path));
            QCOMPARE(host.waitForResult(), kFailed);
        }
        QVERIFY(QDir(folder).isEmpty());
        struct stat info = {};
        QVERIFY(stat("/dev/null", &info) == 0 && S_ISCHR(info.st_mode));
    }

    void existingFileIsReplacedWhole()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const QString path = m_fixture->model(QStringLiteral("old.png"), 100000);
        savePicture(host, path);
        QCOMPARE(host.waitForResult(), kDone);
        QVERIFY(!QImage(path).isNull());
        QCOMPARE(QDir(QFileInfo(path).path()).entryList({QStringLiteral("old.png*")}).size(), 1);
    }

    void factsAreReportedAsJson()
    {
        const QString model = m_fixture->model(QStringLiteral("missing repaired.glb"));
        FakeHost host(model);
        host.startAndSettle();
        const QJsonObject facts = factsOf(host);
        QCOMPARE(facts[QLatin1String("model")].toString(), model);
        QCOMPARE(facts[QLatin1String("triangles")].toInt(), 12);
        QCOMPARE(facts[QLatin1String("materials")].toInt(), 2);
        QCOMPARE(facts[QLatin1String("textures")].toInt(), 1);
        const QJsonObject bounds = facts[QLatin1String("bounds")].toObject();
        QCOMPARE(bounds[QLatin1String("min")].toArray(), QJsonArray({-1.5, 0, 0}));
        QCOMPARE(bounds[QLatin1String("max")].toArray(), QJsonArray({0, 0, 0.25}));
        QCOMPARE(bounds[QLatin1String("centre")].toArray(), QJsonArray({0, 0, 0}));
        QCOMPARE(bounds[QLatin1String("radius")].toDouble(), 2.0);
        QCOMPARE(facts[QLatin1String("files")].toArray(),
                 QJsonArray({QStringLiteral("textures/wood.png"), QStringLiteral("part.bin")}));
        QCOMPARE(facts[QLatin1String("missing")].toArray(), QJsonArray({QStringLiteral("lost \"one\".png")}));
        QCOMPARE(facts[QLatin1String("notes")].toArray(),
                 QJsonArray({QStringLiteral("3 faces were left out"), QStringLiteral("a name was mended")}));
    }

    void nothingIsWrittenIntoAContextThatWasStopped()
    {
        const QString model = m_fixture->plainModel();
        FakeHost host(model);
        host.startAndSettle();
        const int renderer = stallWithAPictureDue(host, model);
        const QString path = m_fixture->path(QStringLiteral("late.png"));
        QCOMPARE(savePicture(host, path), kPending);
        host.stop();
        ViewContext before;
        std::memcpy(static_cast<void*>(&before), &host.context(), sizeof before);
        kill(renderer, SIGCONT);
        QVERIFY(host.waitForThread());
        QCOMPARE(std::memcmp(&before, &host.context(), sizeof before), 0);
        QCOMPARE(host.context().result, kPending);
        QVERIFY(!QFile::exists(path));
    }

    void youngerCommandTakesThePlaceOfOneThatWaits()
    {
        const QString model = m_fixture->plainModel();
        FakeHost host(model);
        host.startAndSettle();
        const int renderer = stallWithAPictureDue(host, model);
        const QString path = m_fixture->path(QStringLiteral("dropped.png"));
        QCOMPARE(savePicture(host, path), kPending);
        QCOMPARE(host.command(kCommandShowView, "nowhere"), kFailed);
        kill(renderer, SIGCONT);
        host.takeAll();
        QCOMPARE(host.context().result, kFailed);
        QVERIFY(!QFile::exists(path));
    }

    void factsDoNotWaitForAPicture()
    {
        const QString model = m_fixture->plainModel();
        FakeHost host(model);
        host.startAndSettle();
        stallWithAPictureDue(host, model);
        host.command(kCommandReportFacts, QFile::encodeName(m_fixture->path(QStringLiteral("at once.json"))));
        QCOMPARE(host.waitForResult(), kDone);
    }

    void rendererThatDiesFailsThePictureOnlyWhenItDiesTwice()
    {
        const QString model = m_fixture->plainModel();
        FakeHost host(model);
        host.startAndSettle();
        stallWithAPictureDue(host, model);
        const QString path = m_fixture->path(QStringLiteral("second try.png"));
        QCOMPARE(savePicture(host, path), kPending);
        kill(ViewerFixture::rendererOf(model), SIGKILL);
        QCOMPARE(host.waitForResult(), kDone);
        QVERIFY(QFile::exists(path));
    }

private:
    /// Has the session save its picture. @return what the call itself answers
    static int savePicture(FakeHost& host, const QString& path)
    {
        return host.command(kCommandSavePicture, QFile::encodeName(path));
    }

    /// Stops the renderer, and asks for another view. @return the renderer's process
    static int stallWithAPictureDue(FakeHost& host, const QString& model)
    {
        const int renderer = ViewerFixture::rendererOf(model);
        kill(renderer, SIGSTOP);
        host.command(kCommandShowView, "top");
        return renderer;
    }
};

OV3D_TEST_MAIN(SessionFilesTest)
#include "sessionfiles_test.moc"
