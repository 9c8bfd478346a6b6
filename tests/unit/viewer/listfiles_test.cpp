#include "tests/support/testmain.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"

#include <QRegularExpression>

using namespace std::chrono_literals;

/// The list of a model's files, for hosts that show no picture.
class ListFilesTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void filesAreListedWithoutDrawing()
    {
        const QString path = m_fixture->model(QStringLiteral("plain.OBJ"));
        QStringList files;
        QVERIFY(ov3dViewerListFiles(qPrintable(path), [&](const char* file) { files << QString::fromUtf8(file); }));
        QCOMPARE(files, QStringList({QStringLiteral("textures/wood.png"), QStringLiteral("part.bin")}));
        QCOMPARE(ViewerFixture::count(path, QStringLiteral("render")), 0);
        const QString load = ViewerFixture::log(path).first();
        QVERIFY(load.contains(QStringLiteral("list=1")) && load.contains(QStringLiteral("format=1")));
        QVERIFY(childProcesses().isEmpty());
    }

    void listingThatFailsSaysWhy_data()
    {
        QTest::addColumn<QString>("name"); // of a file in the fixture's folder, unless it is a whole path
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no such file") << "/nowhere/none.glb" << 0 << "^does not exist$";
        QTest::newRow("a folder") << "/tmp" << 0 << "^is not a file$";
        QTest::newRow("an empty file") << "empty.glb" << 0 << "^is empty$";
        QTest::newRow("refused") << "failed.glb" << 100 << "^ends in the middle of its data$";
        QTest::newRow("crash") << "crashload.glb" << 100 << "crashed";
        QTest::newRow("nonsense") << "garbageload.glb" << 100 << "nonsense";
        QTest::newRow("silence") << "hangload.glb" << 100 << "^took longer than 1 second to read$";
        QTest::newRow("the same percentage for ever")
            << "samepercent.glb" << 100 << "^took longer than 1 second to read$";
    }

    void listingThatFailsSaysWhy()
    {
        QFETCH(QString, name);
        QFETCH(int, bytes);
        QFETCH(QString, reason);
        limitLoads(300ms);
        const QString path = name.startsWith(QLatin1Char('/')) ? name : m_fixture->model(name, bytes);
        int files = 0;
        QString told;
        QVERIFY(!ov3dViewerListFiles(
            qPrintable(path), [&](const char*) { ++files; },
            [&](const char* words) { told = QString::fromUtf8(words); }));
        QCOMPARE(files, 0);
        QVERIFY2(QRegularExpression(reason).match(told).hasMatch(), qPrintable(told));
        QVERIFY(childProcesses().isEmpty());
    }

    void listingThatOnlyCrawlsIsRefused()
    {
        const QByteArray model = m_fixture->model(QStringLiteral("drip.glb")).toUtf8();
        QVERIFY(ov3dViewerListFiles(model.constData(), {}));
        limitLoads(500ms, 100ms); // the load takes more than a second, with progress every 60 ms
        QByteArray reason;
        QVERIFY(!ov3dViewerListFiles(model.constData(), {}, [&reason](const char* words) { reason = words; }));
        QCOMPARE(reason, QByteArray("took longer than 1 second to read"));
        QVERIFY(childProcesses().isEmpty());
    }

    void largerFilesMayCrawlForLonger()
    {
        const QString model = m_fixture->model(QStringLiteral("drip.glb"), 1000);
        ov3d::session::Limits limits;
        limits.load = 500ms;
        limits.steady = 100ms;
        limits.bytes_for_another_second = 1000; // one more without progress, four more in all
        ov3d::session::setLimits(limits);
        QVERIFY(ov3dViewerListFiles(qPrintable(model), {}));
    }

    void listingNeedsNoListeners()
    {
        QVERIFY(ov3dViewerListFiles(qPrintable(m_fixture->plainModel()), {}));
        QVERIFY(!ov3dViewerListFiles("/nowhere/none.glb", {}));
    }

    void listingOfNothingFails()
    {
        QVERIFY(!ov3dViewerListFiles(nullptr, {}));
        QVERIFY(!ov3dViewerListFiles("", {}));
    }
};

OV3D_TEST_MAIN(ListFilesTest)
#include "listfiles_test.moc"
