#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"
#include "tests/unit/document/helperprocess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

namespace {

constexpr int kModelBytes = 4 * 1000 * 1000;
constexpr int kMoments = 10;

} // namespace

class KilledSaveTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void killedWhileTheFileIsWrittenLeavesAWholeDocument_data() { momentRows(); }

    void killedWhileTheFileIsWrittenLeavesAWholeDocument()
    {
        QFETCH(int, moment);
        makeDocument();
        HelperProcess helper({"save-for-ever", file("a.ovb"), QString::number(kModelBytes)});
        // Not the first save, so that there is a state of the helper's own to fall back to.
        QCOMPARE(helper.nextLine(), QStringLiteral("saving"));
        QCOMPARE(helper.nextLine(), QStringLiteral("saved"));
        QCOMPARE(helper.nextLine(), QStringLiteral("saving"));
        const qint64 size = qint64(kModelBytes) * moment / kMoments;
        bool caught = false;
        while (!caught && helper.isRunning())
            caught = temporarySize() > size;
        helper.kill();
        QVERIFY(caught);
        checkDocument();
    }

    void killedAnywhereInASaveLeavesAWholeDocument_data() { momentRows(); }

    void killedAnywhereInASaveLeavesAWholeDocument()
    {
        QFETCH(int, moment);
        makeDocument();
        HelperProcess helper({"save-for-ever", file("a.ovb"), QString::number(kModelBytes)});
        QCOMPARE(helper.nextLine(), QStringLiteral("saving"));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(helper.nextLine(), QStringLiteral("saved"));
        const qint64 duration = timer.nsecsElapsed() / 1000;
        QCOMPARE(helper.nextLine(), QStringLiteral("saving"));
        // What holds must hold at any moment; this only spreads the moments over a save and a little beyond.
        QThread::usleep(static_cast<unsigned long>(duration * moment / (kMoments - 1)));
        helper.kill();
        checkDocument();
    }

private:
    static void momentRows()
    {
        QTest::addColumn<int>("moment");
        for (int moment = 0; moment < kMoments; ++moment)
            QTest::addRow("moment %d of %d", moment + 1, kMoments) << moment;
    }

    void makeDocument()
    {
        QString error;
        const auto document = COvDocumentFile::create(error);
        QVERIFY2(document && document->save(file("a.ovb"), OvDocumentContent(), QImage(), error),
                 qUtf8Printable(error));
    }

    qint64 temporarySize() const
    {
        const QFileInfoList files = QDir(folder()).entryInfoList({"*.saving"}, QDir::Files | QDir::Hidden);
        return files.isEmpty() ? -1 : files.first().size();
    }

    // One of the states that the helper has saved, complete; the next opening leaves nothing of the killed program's.
    void checkDocument()
    {
        QString error;
        const auto document = COvDocumentFile::open(file("a.ovb"), error);
        QVERIFY2(document, qUtf8Printable(error));
        QCOMPARE(document->warnings(), QStringList());
        QVERIFY(!document->isReadOnly());
        const auto state = static_cast<quint32>(document->content().unknown.value("state").toInt());
        QVERIFY(state >= 1);
        QVERIFY(readFile(document->workingFolder() + "/resources/1/model.bin") == noise(kModelBytes, state));
        QCOMPARE(namesIn(folder()), QStringList({"a.ovb", "cache"}));
        QCOMPARE(workingFolders().size(), 1);
    }
};

OV3D_TEST_MAIN(KilledSaveTest)
#include "killedsave_test.moc"
