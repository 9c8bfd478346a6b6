#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/commands.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

using namespace ov3d;

/// The user's own environment picture, and what an observer hears of what pictures had to do without.
class SessionEnvironmentTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void environmentReachesThePicturesUntilItIsTakenAway()
    {
        const QString model = m_fixture->plainModel();
        const QString picture = environment(QStringLiteral("day.hdr"));
        FakeHost host(model);
        host.startAndSettle();
        QCOMPARE(setEnvironment(host, picture), kDone);
        QVERIFY(!host.takeAll().empty());
        QVERIFY(ViewerFixture::log(model).last().endsWith(QStringLiteral("hdr=") + picture));
        host.material.wireframe = true;
        host.call(kOperationRedraw);
        host.takeAll();
        QVERIFY2(ViewerFixture::log(model).last().endsWith(QStringLiteral("hdr=") + picture),
                 "other settings leave it alone");
        QCOMPARE(host.command(kCommandSetEnvironment, ""), kDone);
        QVERIFY(!host.takeAll().empty());
        QVERIFY(!ViewerFixture::log(model).last().contains(QStringLiteral("hdr=")));
    }

    void hostsOwnEnvironmentPathIsNotRead()
    {
        const QString model = m_fixture->plainModel();
        FakeHost host(model);
        host.lighting.hdr_path = "/tmp/never.hdr";
        host.startAndSettle();
        host.call(kOperationRedraw);
        host.takeAll();
        QVERIFY(!ViewerFixture::log(model).join(QString()).contains(QStringLiteral("hdr=")));
    }

    void environmentCanBeSetBeforeTheFirstPicture()
    {
        const QString model = m_fixture->model(QStringLiteral("slowload.glb"));
        const QString picture = environment(QStringLiteral("day.hdr"));
        FakeHost host(model);
        host.start();
        QCOMPARE(setEnvironment(host, picture), kDone);
        QVERIFY(host.waitForFirstDraw());
        host.takeAll();
        QVERIFY(ViewerFixture::log(model).last().endsWith(picture));
    }

    void environmentThatIsNoRadiancePictureIsRefused()
    {
        FakeHost host(m_fixture->plainModel());
        host.startAndSettle();
        const QString other = m_fixture->model(QStringLiteral("photo.hdr")); // a file of x's
        QCOMPARE(setEnvironment(host, other), kFailed);
        const QString pipe = m_fixture->path(QStringLiteral("pipe.hdr"));
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        QCOMPARE(setEnvironment(host, pipe), kFailed);
        QCOMPARE(ov3dViewerPending(), 0);
    }

    void environmentThatKillsTheRendererIsLeftOut()
    {
        const QString model = m_fixture->model(QStringLiteral("crashhdr.glb"));
        const QString picture = environment(QStringLiteral("poison.hdr"));
        FakeHost host(model);
        host.startAndSettle();
        QCOMPARE(setEnvironment(host, picture), kDone);
        QVERIFY(host.takeAll().back().isFinal());
        QCOMPARE(m_fixture->eventCount(QStringLiteral("card")), 0);
        QVERIFY(m_fixture->reasonOf(QStringLiteral("restarted")).contains(QStringLiteral("poison.hdr")));
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 2);
        host.call(kOperationRedraw);
        host.command(kCommandShowView, "top");
        QVERIFY(host.takeAll().back().isFinal());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 2);
        // Set again it gets another try: the file may have been mended.
        QCOMPARE(setEnvironment(host, picture), kDone);
        QVERIFY(host.takeAll().back().isFinal());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 3);
    }

    void observerIsToldOnceWhatPicturesHaveToDoWithout()
    {
        const QString model = m_fixture->model(QStringLiteral("badhdr.glb"));
        FakeHost host(model);
        host.startAndSettle();
        QCOMPARE(m_fixture->eventCount(QStringLiteral("note")), 0);
        setEnvironment(host, environment(QStringLiteral("bad.hdr")));
        host.takeAll();
        host.command(kCommandShowView, "top");
        host.takeAll();
        QCOMPARE(m_fixture->eventCount(QStringLiteral("note")), 1);
        QCOMPARE(m_fixture->reasonOf(QStringLiteral("note")), QStringLiteral("the sky cannot be read"));
    }

    void observerIsToldWhatWasRepairedNoteByNote()
    {
        FakeHost host(m_fixture->model(QStringLiteral("repaired.glb")));
        host.startAndSettle();
        QJsonArray notes;
        for (const QString& text : m_fixture->events()) {
            const QJsonObject event = QJsonDocument::fromJson(text.toUtf8()).object();
            if (event[QLatin1String("event")].toString() == QLatin1String("shown"))
                notes = event[QLatin1String("notes")].toArray();
        }
        QCOMPARE(notes, QJsonArray({QStringLiteral("3 faces were left out"), QStringLiteral("a name was mended")}));
        QCOMPARE(m_fixture->reasonOf(QStringLiteral("shown")),
                 QStringLiteral("3 faces were left out; a name was mended"));
    }

private:
    static int setEnvironment(FakeHost& host, const QString& path)
    {
        return host.command(kCommandSetEnvironment, QFile::encodeName(path));
    }

    QString environment(const QString& name)
    {
        QFile file(m_fixture->path(name));
        if (file.open(QIODevice::WriteOnly))
            file.write("#?RADIANCE\n");
        return file.fileName();
    }
};

OV3D_TEST_MAIN(SessionEnvironmentTest)
#include "sessionenvironment_test.moc"
