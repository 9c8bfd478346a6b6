#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"
#include "tests/unit/document/helperprocess.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
const QString kOpenElsewhere = QStringLiteral("it is open in another window or program");
} // namespace

class LockingTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void documentOpenedTwiceInOneProgramIsReadOnlyTheSecondTime()
    {
        const auto first = saved("a.ovb");
        const auto second = open("a.ovb");
        QVERIFY(!first->isReadOnly());
        QVERIFY(second->isReadOnly());
        QCOMPARE(second->readOnlyReason(), kOpenElsewhere);
        QCOMPARE(second->content().pages.size(), 1);
    }

    void documentOpenedInAnotherProgramIsReadOnly()
    {
        const auto first = saved("a.ovb");
        HelperProcess helper({"hold", file("a.ovb")});
        QCOMPARE(helper.nextLine(), "read-only: " + kOpenElsewhere);
        helper.goOn();
        QCOMPARE(helper.nextLine(), cannotSave("a.ovb", kOpenElsewhere));
    }

    void readingTakesNoLockAndStaysAsItWas()
    {
        saved("a.ovb");
        QString error;
        const auto reader = COvDocumentFile::open(file("a.ovb"), error, COvDocumentFile::Access::Reading);
        QVERIFY2(reader, qUtf8Printable(error));
        QVERIFY(reader->isReadOnly());
        QCOMPARE(reader->readOnlyReason(), QString());
        const auto editor = open("a.ovb");
        QVERIFY(!editor->isReadOnly());
        QVERIFY2(editor->save(file("a.ovb"), OvDocumentContent(), QImage(), error), qUtf8Printable(error));
        QCOMPARE(reader->content().pages.size(), 1);
        QVERIFY(!reader->save(file("a.ovb"), reader->content(), QImage(), error));
        QCOMPARE(error, cannotSave("a.ovb", QStringLiteral("it has been opened for reading alone")));
    }

    void failureTellsWhoseFaultItIs()
    {
        QString error;
        auto failure = COvDocumentFile::Failure::None;
        writeFile(file("text.ovb"), "words");
        QVERIFY(!COvDocumentFile::open(file("text.ovb"), error, COvDocumentFile::Access::Reading, &failure));
        QCOMPARE(failure, COvDocumentFile::Failure::NoDocument);
        QVERIFY(!COvDocumentFile::open(file("gone.ovb"), error, COvDocumentFile::Access::Reading, &failure));
        QCOMPARE(failure, COvDocumentFile::Failure::NoAccess);
    }

    void lockGoesWithTheDocument()
    {
        saved("a.ovb");
        QVERIFY(!open("a.ovb")->isReadOnly());
        QVERIFY(!open("a.ovb")->isReadOnly());
    }

    void lockOfAKilledProgramIsGone()
    {
        saved("a.ovb");
        HelperProcess helper({"hold", file("a.ovb")});
        QCOMPARE(helper.nextLine(), QStringLiteral("open"));
        QVERIFY(open("a.ovb")->isReadOnly());
        helper.kill();
        QVERIFY(!open("a.ovb")->isReadOnly());
        QCOMPARE(namesIn(folder()), QStringList({"a.ovb", "cache"}));
    }

    void lockOutlastsSaving()
    {
        const auto first = saved("a.ovb");
        QVERIFY(save(*first, "a.ovb"));
        QVERIFY(open("a.ovb")->isReadOnly());
    }

    void lockIsTheSameByEveryName()
    {
        const auto first = saved("a.ovb");
        QVERIFY(QFile::link(file("a.ovb"), file("link")));
        QCOMPARE(::link(QFile::encodeName(file("a.ovb")).constData(), QFile::encodeName(file("hard")).constData()), 0);
        QVERIFY(open("link")->isReadOnly());
        QVERIFY(open("hard")->isReadOnly());
    }

    void savingElsewhereMovesTheLock()
    {
        const auto first = saved("a.ovb");
        QVERIFY(save(*first, "b.ovb"));
        QVERIFY(open("b.ovb")->isReadOnly());
        QVERIFY(!open("a.ovb")->isReadOnly());
    }

    void readOnlyDocumentIsNotSavedOverItselfButElsewhere()
    {
        auto first = saved("a.ovb");
        const auto second = open("a.ovb");
        QVERIFY(QFile::link(file("a.ovb"), file("link")));
        QVERIFY(!save(*second, "a.ovb"));
        QCOMPARE(m_error, cannotSave("a.ovb", kOpenElsewhere));
        QVERIFY(!save(*second, "link"));
        // Also when the other one has saved meanwhile and is gone: this one's content is older.
        QVERIFY(save(*first, "a.ovb"));
        first.reset();
        QVERIFY(!save(*second, "a.ovb"));
        QVERIFY(second->isReadOnly());
        QVERIFY(save(*second, "b.ovb"));
        QVERIFY(!second->isReadOnly());
        QVERIFY(save(*second, "b.ovb"));
    }

    void documentThatIsOpenElsewhereIsNotReplaced()
    {
        const auto first = saved("a.ovb");
        const auto second = saved("b.ovb");
        const QByteArray before = readFile(file("a.ovb"));
        QVERIFY(!save(*second, "a.ovb"));
        QCOMPARE(m_error, cannotSave("a.ovb", kOpenElsewhere));
        QCOMPARE(readFile(file("a.ovb")), before);
        QCOMPARE(second->path(), file("b.ovb"));
    }

    void fileAndFolderThatMayNotBeChangedOpenReadOnly_data()
    {
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<QString>("reason");
        QTest::newRow("the file") << 0444 << 0777 << "the file may not be changed";
        QTest::newRow("the folder") << 0666 << 0555 << "its folder may not be changed";
        QTest::newRow("both") << 0444 << 0555 << "the file may not be changed";
    }

    void fileAndFolderThatMayNotBeChangedOpenReadOnly()
    {
        QFETCH(int, fileMode);
        QFETCH(int, folderMode);
        QFETCH(QString, reason);
        QVERIFY(QDir().mkpath(file("shelf")));
        QVERIFY(QDir().mkpath(file("desk")));
        saved("shelf/a.ovb");
        setMode("", 0755);
        setMode("desk", 0777);
        setMode("shelf/a.ovb", fileMode);
        setMode("shelf", folderMode);
        const QByteArray before = readFile(file("shelf/a.ovb"));
        const QStringList arguments{"without-rights", file("shelf/a.ovb"), file("desk/b.ovb")};
        HelperProcess helper(arguments, {"XDG_CACHE_HOME=" + file("desk/cache")});
        QCOMPARE(helper.nextLine(), "read-only: " + reason);
        QCOMPARE(helper.nextLine(), cannotSave("shelf/a.ovb", reason));
        QCOMPARE(helper.nextLine(), QStringLiteral("saved"));
        QCOMPARE(helper.nextLine(), QStringLiteral("open"));
        QVERIFY(helper.waitForEnd());
        setMode("shelf", 0755);
        QCOMPARE(readFile(file("shelf/a.ovb")), before);
        QCOMPARE(namesIn(file("shelf")), QStringList{"a.ovb"});
    }

    void workingFolderOfACrashedProgramIsSwept()
    {
        HelperProcess helper({"crash"});
        const QString abandoned = helper.nextLine();
        QVERIFY(QFileInfo::exists(abandoned + "/resources/1/model.bin"));
        COvDocumentFile::sweepAbandoned();
        QVERIFY(QFileInfo::exists(abandoned + "/resources/1/model.bin"));
        helper.kill();
        QString error;
        const auto document = COvDocumentFile::create(error);
        QVERIFY(!QFileInfo::exists(abandoned));
        QCOMPARE(workingFolders(), QStringList{QFileInfo(document->workingFolder()).fileName()});
        QCOMPARE(namesIn(workPlace()).size(), 2);
    }

    void workingFoldersOfThisProgramAreNotSwept()
    {
        QString error;
        const auto first = COvDocumentFile::create(error);
        const auto second = COvDocumentFile::create(error);
        COvDocumentFile::sweepAbandoned();
        QVERIFY(QFileInfo(first->workingFolder()).isDir());
        QVERIFY(QFileInfo(second->workingFolder()).isDir());
        QVERIFY(first->workingFolder() != second->workingFolder());
    }

    void sweepingFollowsNoLinks()
    {
        writeFile(file("precious/thing"), "t");
        QString error;
        COvDocumentFile::create(error);
        QVERIFY(QFile::link(file("precious"), workPlace() + "/1-0"));
        writeFile(workPlace() + "/1-0.lock", "");
        QVERIFY(QDir().mkpath(workPlace() + "/2-0"));
        QVERIFY(QFile::link(file("precious"), workPlace() + "/2-0/resources"));
        writeFile(workPlace() + "/2-0.lock", "");
        QVERIFY(QFile::link(file("precious/thing"), workPlace() + "/3-0.lock"));
        COvDocumentFile::sweepAbandoned();
        QCOMPARE(readFile(file("precious/thing")), QByteArray("t"));
        QVERIFY(!QFileInfo::exists(workPlace() + "/2-0"));
        QVERIFY(!QFileInfo::exists(workPlace() + "/2-0.lock"));
    }

    void cacheFolderThatCannotBeUsedMeansAnotherPlace()
    {
        writeFile(file("cache"), "a file where the folder should be");
        qputenv("TMPDIR", QFile::encodeName(folder()));
        QString error;
        const auto document = COvDocumentFile::create(error);
        qunsetenv("TMPDIR");
        QVERIFY2(document, qUtf8Printable(error));
        QVERIFY(document->workingFolder().startsWith(file(QStringLiteral("ov3d-documents-%1/").arg(::geteuid()))));
    }

    void folderThatOthersCanWriteIntoIsNotUsed()
    {
        writeFile(file("cache"), "a file where the folder should be");
        const QString open = file(QStringLiteral("ov3d-documents-%1").arg(::geteuid()));
        QVERIFY(QDir().mkpath(open));
        QCOMPARE(::chmod(QFile::encodeName(open).constData(), 0777), 0);
        qputenv("TMPDIR", QFile::encodeName(folder()));
        QString error;
        const auto document = COvDocumentFile::create(error);
        qunsetenv("TMPDIR");
        QVERIFY(!document);
        QVERIFY2(error.contains(open) && error.contains(file("cache")), qUtf8Printable(error));
    }

    void temporaryFileOfAKilledSaveIsSweptAndOneInWorkIsNot()
    {
        saved("a.ovb");
        const QString prefix = temporaryPrefixOf("a.ovb");
        writeFile(file(prefix + "0000000000000001.saving"), "left behind");
        writeFile(file(prefix + "0000000000000002.saving"), "in work");
        writeFile(file(".ov3d-0000000000000000-0000000000000003.saving"), "another document's");
        QFile inWork(file(prefix + "0000000000000002.saving"));
        QVERIFY(inWork.open(QIODevice::ReadOnly));
        QCOMPARE(::flock(inWork.handle(), LOCK_EX | LOCK_NB), 0);
        const auto document = open("a.ovb");
        QCOMPARE(namesIn(folder()), QStringList({".ov3d-0000000000000000-0000000000000003.saving",
                                                 prefix + "0000000000000002.saving", "a.ovb", "cache"}));
        inWork.close();
        QVERIFY(save(*document, "a.ovb"));
        QVERIFY(!QFileInfo::exists(file(prefix + "0000000000000002.saving")));
    }

private:
    std::unique_ptr<COvDocumentFile> open(const QString& name)
    {
        QString error;
        auto document = COvDocumentFile::open(file(name), error);
        if (!document)
            qFatal("%s", qUtf8Printable(error));
        return document;
    }

    bool save(COvDocumentFile& document, const QString& name)
    {
        m_error.clear();
        return document.save(file(name), document.content(), QImage(), m_error);
    }

    std::unique_ptr<COvDocumentFile> saved(const QString& name)
    {
        QString error;
        auto document = COvDocumentFile::create(error);
        if (!document || !document->save(file(name), contentWith({}), QImage(), error))
            qFatal("%s", qUtf8Printable(error));
        return document;
    }

    QString cannotSave(const QString& name, const QString& reason) const
    {
        return QStringLiteral("cannot save \"%1\": %2").arg(file(name), reason);
    }

    void setMode(const QString& name, int mode)
    {
        QCOMPARE(::chmod(QFile::encodeName(file(name)).constData(), static_cast<mode_t>(mode)), 0);
    }

    static QString temporaryPrefixOf(const QString& name)
    {
        const QByteArray hash = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha1).toHex();
        return QStringLiteral(".ov3d-%1-").arg(QString::fromLatin1(hash.left(16)));
    }

    QString m_error;
};

OV3D_TEST_MAIN(LockingTest)
#include "locking_test.moc"
