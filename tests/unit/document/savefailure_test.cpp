#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"
#include "tests/unit/document/helperprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

class SaveFailureTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fullDiskLeavesTheOldFileAndTheDocumentUsable_data()
    {
        QTest::addColumn<int>("limit");
        QTest::newRow("no byte") << 0;
        QTest::newRow("in the first header") << 20;
        QTest::newRow("in the text") << 200;
        QTest::newRow("in a file") << 500000;
        QTest::newRow("in the directory") << -100;
        QTest::newRow("in the last byte") << -1;
    }

    void fullDiskLeavesTheOldFileAndTheDocumentUsable()
    {
        QFETCH(int, limit);
        makeDocument("a.ovb");
        const QByteArray before = readFile(file("a.ovb"));
        // The new state's text is longer than the old one's by its one member.
        const int room = limit < 0 ? sizeOfNewState() + limit : limit;
        HelperProcess helper({"run-out-of-space", file("a.ovb"), QString::number(room)});
        QCOMPARE(helper.nextLine(), QStringLiteral("cannot save \"%1\": File too large").arg(file("a.ovb")));
        QCOMPARE(readFile(file("a.ovb")), before);
        QCOMPARE(namesIn(folder()), QStringList({"a.ovb", "cache"}));
        helper.goOn();
        QCOMPARE(helper.nextLine(), QStringLiteral("saved"));
        QVERIFY(helper.waitForEnd());
        QCOMPARE(stateOf("a.ovb"), QStringLiteral("new"));
    }

    void documentThatDoesNotFitOnTheDiskIsNotOpened()
    {
        makeDocument("a.ovb");
        HelperProcess helper({"without-space", file("a.ovb")});
        const QString line = helper.nextLine();
        QVERIFY2(line.startsWith(QStringLiteral("refused: cannot open \"%1\": \"").arg(file("a.ovb"))),
                 qUtf8Printable(line));
        QVERIFY2(line.endsWith("resources/1/model.bin\" cannot be written: File too large"), qUtf8Printable(line));
        QVERIFY(!helper.waitForEnd());
        QVERIFY(workingFolders().isEmpty());
    }

    void placeWhereNothingCanBeMadeLeavesTheDocumentUsable_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("reason");
        // Nobody, not even an administrator, makes files there.
        QTest::newRow("a folder that takes no files") << "/proc/a.ovb"
                                                      << "No such file or directory";
        QTest::newRow("a folder that is not there") << "FOLDER/gone/a.ovb"
                                                    << "there is no folder \"FOLDER/gone\"";
        QTest::newRow("a file in a folder's place") << "FOLDER/plain/a.ovb"
                                                    << "there is no folder \"FOLDER/plain\"";
        QTest::newRow("a folder") << "FOLDER"
                                  << "it is a folder";
        QTest::newRow("a device") << "/dev/null"
                                  << "it is no plain file";
        QTest::newRow("a link to itself") << "FOLDER/loop"
                                          << "it is a link that leads nowhere";
    }

    void placeWhereNothingCanBeMadeLeavesTheDocumentUsable()
    {
        QFETCH(QString, path);
        QFETCH(QString, reason);
        path.replace("FOLDER", folder());
        reason.replace("FOLDER", folder());
        writeFile(file("plain"), "x");
        QVERIFY(QFile::link(file("loop"), file("loop")));
        const auto document = makeDocument("a.ovb");
        const QByteArray before = readFile(file("a.ovb"));
        QString error;
        QVERIFY(!document->save(path, OvDocumentContent(), QImage(), error));
        QCOMPARE(error, QStringLiteral("cannot save \"%1\": %2").arg(path, reason));
        QCOMPARE(document->path(), file("a.ovb"));
        QCOMPARE(document->content().pages.size(), 1);
        QVERIFY(!document->isReadOnly());
        QCOMPARE(readFile(file("a.ovb")), before);
        QVERIFY2(document->save(file("a.ovb"), document->content(), QImage(), error), qUtf8Printable(error));
        QCOMPARE(readFile(file("a.ovb")), before);
    }

    void emptyPathIsRefused()
    {
        const auto document = makeDocument("a.ovb");
        QString error;
        QVERIFY(!document->save(QString(), document->content(), QImage(), error));
        QVERIFY2(error.endsWith(": it has no name"), qUtf8Printable(error));
    }

    void resourceThatCannotBeReadFailsTheSave()
    {
        const auto document = makeDocument("a.ovb");
        // A file that opens and whose reading fails, for an administrator as well.
        const QString resource = document->workingFolder() + "/resources/1/model.bin";
        QVERIFY(QFile::remove(resource));
        QVERIFY(QFile::link("/proc/self/mem", resource));
        const QByteArray before = readFile(file("a.ovb"));
        QString error;
        QVERIFY(!document->save(file("a.ovb"), document->content(), QImage(), error));
        QVERIFY2(error.contains("resources/1/model.bin"), qUtf8Printable(error));
        QCOMPARE(readFile(file("a.ovb")), before);
    }

private:
    std::unique_ptr<COvDocumentFile> makeDocument(const QString& name)
    {
        QString error;
        auto document = COvDocumentFile::create(error);
        if (!document)
            qFatal("%s", qUtf8Printable(error));
        const QString resource = QStringLiteral("resources/1/model.bin");
        writeFile(document->workingFolder() + '/' + resource, noise(1000000, 5));
        if (!document->save(file(name), contentWith({resource}), QImage(), error))
            qFatal("%s", qUtf8Printable(error));
        return document;
    }

    QString stateOf(const QString& name)
    {
        QString error;
        const auto document = COvDocumentFile::open(file(name), error);
        return document ? document->content().unknown.value("state").toString() : error;
    }

    int sizeOfNewState()
    {
        QString error;
        const auto document = COvDocumentFile::open(file("a.ovb"), error);
        OvDocumentContent content = document->content();
        content.unknown = {{"state", "new"}};
        if (!document->save(file("b.ovb"), content, QImage(), error))
            qFatal("%s", qUtf8Printable(error));
        const auto size = static_cast<int>(QFileInfo(file("b.ovb")).size());
        QFile::remove(file("b.ovb"));
        return size;
    }
};

OV3D_TEST_MAIN(SaveFailureTest)
#include "savefailure_test.moc"
