#include "apps/common/linkfolder.h"
#include "apps/common/privatefolder.h"
#include "apps/common/workplace.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace ov3d::apps;

class WorkFoldersTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void folderHasResourcesAndATrailingSeparator();
    void unusableCandidateIsPassedOver();
    void temporaryFolderIsTheLastResort();
    void temporaryFolderThatDoesNotExistIsNotTheRootOfTheFileSystem();
    void withoutAHomeThereIsNoCandidate();
    void workplaceIsTheCurrentFolderAndTheHostsAnswer();
    void shortPathStaysAsItIs();
    void pathOfExactly255BytesStaysAsItIs();
    void longPathGoesThroughALinkToItsFolder();
    void longNameGoesThroughALinkToTheFile_data();
    void longNameGoesThroughALinkToTheFile();
    void linksEndWithTheObject();
    void linksOfAGoneProgramAreRemoved();

private:
    /// A file whose path has `bytes` bytes, its last part `name`.
    static QString makeFile(const QTemporaryDir& folder, int bytes, const QString& name);
};

QString WorkFoldersTest::makeFile(const QTemporaryDir& folder, int bytes, const QString& name)
{
    QString path = folder.path();
    const int wanted = bytes - name.toLocal8Bit().size() - 1;
    while (path.toLocal8Bit().size() < wanted) {
        const int left = wanted - path.toLocal8Bit().size() - 1;
        // A rest of one byte would be a lone separator.
        const int part = left > 100 ? 90 : left;
        path += QLatin1Char('/') + QString(part, QLatin1Char('d'));
    }
    QDir().mkpath(path);
    path += QLatin1Char('/') + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write("model") != 5)
        qWarning("cannot write %s", qPrintable(path));
    return path;
}

void WorkFoldersTest::folderHasResourcesAndATrailingSeparator()
{
    QTemporaryDir base;
    const QString wanted = base.filePath(QStringLiteral("new/ü 中"));
    const PrivateFolder folder({wanted});
    QCOMPARE(folder.path(), wanted + QLatin1Char('/'));
    QVERIFY(!folder.isTemporary());
    QVERIFY(QDir(wanted + QStringLiteral("/resources")).exists());
    QCOMPARE(QDir(wanted).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 1);
}

void WorkFoldersTest::unusableCandidateIsPassedOver()
{
    QTemporaryDir base;
    QFile file(base.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QString usable = base.filePath(QStringLiteral("usable"));
    const PrivateFolder folder({file.fileName() + QStringLiteral("/below"), QStringLiteral("/proc/none"), usable});
    QCOMPARE(folder.path(), usable + QLatin1Char('/'));
}

void WorkFoldersTest::temporaryFolderIsTheLastResort()
{
    QString path;
    {
        PrivateFolder folder({QStringLiteral("/proc/none")});
        QVERIFY(folder.isTemporary());
        path = folder.path();
        QVERIFY(QDir(path + QStringLiteral("resources")).exists());
        folder.removeIfTemporary();
        QVERIFY(!QDir(path).exists());
    }
}

void WorkFoldersTest::temporaryFolderThatDoesNotExistIsNotTheRootOfTheFileSystem()
{
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/no/such/folder");
    PrivateFolder folder(QStringList{});
    before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
    const QString path = folder.path();
    folder.removeIfTemporary();
    QVERIFY2(path.startsWith(QLatin1String("/tmp/ov3d-")), qPrintable(path));
}

void WorkFoldersTest::withoutAHomeThereIsNoCandidate()
{
    const QByteArray home = qgetenv("HOME");
    const QByteArray data = qgetenv("XDG_DATA_HOME");
    qunsetenv("HOME");
    qunsetenv("XDG_DATA_HOME");
    QVERIFY(PrivateFolder::defaultCandidates().isEmpty());
    qputenv("XDG_DATA_HOME", "/somewhere");
    QVERIFY(PrivateFolder::defaultCandidates().value(0).startsWith(QLatin1String("/somewhere/")));
    data.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", data);
    if (!home.isNull())
        qputenv("HOME", home);
}

void WorkFoldersTest::workplaceIsTheCurrentFolderAndTheHostsAnswer()
{
    QTemporaryDir data;
    const QString before = QDir::currentPath();
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    {
        const Workplace workplace;
        QCOMPARE(workplace.error(), QString());
        QVERIFY(workplace.folder().startsWith(data.path()));
        QCOMPARE(QDir::currentPath() + QLatin1Char('/'), QDir(workplace.folder()).canonicalPath() + QLatin1Char('/'));
        QVERIFY(QDir(QStringLiteral("./resources")).exists());
        QVERIFY(GetFramework());
        QCOMPARE(GetFramework()->getPathService()->getPath(0), workplace.folder());
        QVERIFY(workplace.folder().endsWith(QLatin1Char('/')));
    }
    QVERIFY(!GetFramework());
    qunsetenv("XDG_DATA_HOME");
    QVERIFY(QDir::setCurrent(before));
}

void WorkFoldersTest::shortPathStaysAsItIs()
{
    QTemporaryDir base;
    LinkFolder links(base.path() + QLatin1Char('/'));
    const LinkFolder::Answer answer = links.shortened(QStringLiteral("/a/model.obj"));
    QCOMPARE(answer.path, QStringLiteral("/a/model.obj"));
    QVERIFY(QDir(base.path()).isEmpty());
}

void WorkFoldersTest::pathOfExactly255BytesStaysAsItIs()
{
    QTemporaryDir base;
    QTemporaryDir models;
    LinkFolder links(base.path() + QLatin1Char('/'));
    const QString fits = makeFile(models, 255, QStringLiteral("ä.obj"));
    QCOMPARE(fits.toLocal8Bit().size(), 255);
    QCOMPARE(links.shortened(fits).path, fits);
    const QString tooLong = makeFile(models, 256, QStringLiteral("ä.obj"));
    QCOMPARE(tooLong.toLocal8Bit().size(), 256);
    QVERIFY(links.shortened(tooLong).path != tooLong);
}

void WorkFoldersTest::longPathGoesThroughALinkToItsFolder()
{
    QTemporaryDir base;
    QTemporaryDir models;
    LinkFolder links(base.path() + QLatin1Char('/'));
    const QString path = makeFile(models, 600, QStringLiteral("a b ü.obj"));
    const LinkFolder::Answer answer = links.shortened(path);
    QVERIFY2(answer.error.isEmpty(), qPrintable(answer.error));
    QVERIFY(answer.path.toLocal8Bit().size() <= kMaxPathBytes);
    QVERIFY(answer.path.startsWith(base.path()));
    QCOMPARE(QFileInfo(answer.path).fileName(), QStringLiteral("a b ü.obj"));
    QCOMPARE(QFileInfo(answer.path).canonicalFilePath(), QFileInfo(path).canonicalFilePath());
    QCOMPARE(QFileInfo(QFileInfo(answer.path).path()).canonicalFilePath(), QFileInfo(path).canonicalPath());
}

void WorkFoldersTest::longNameGoesThroughALinkToTheFile_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("a GLB stands alone") << "glb" << true;
    QTest::newRow("an STL stands alone") << "STL" << true;
    QTest::newRow("a 3MF stands alone") << "3mf" << true;
    QTest::newRow("an OBJ needs its folder") << "obj" << false;
    QTest::newRow("a glTF needs its folder") << "gltf" << false;
    QTest::newRow("an FBX needs its folder") << "fbx" << false;
}

void WorkFoldersTest::longNameGoesThroughALinkToTheFile()
{
    QFETCH(QString, suffix);
    QFETCH(bool, accepted);
    QTemporaryDir base;
    QTemporaryDir models;
    LinkFolder links(base.path() + QLatin1Char('/'));
    const QString path = makeFile(models, 400, QString(240, QLatin1Char('n')) + QLatin1Char('.') + suffix);
    const LinkFolder::Answer answer = links.shortened(path);
    QCOMPARE(answer.error.isEmpty(), accepted);
    QCOMPARE(answer.path.isEmpty(), !accepted);
    if (accepted) {
        QCOMPARE(QFileInfo(answer.path).suffix(), suffix);
        QCOMPARE(QFileInfo(answer.path).canonicalFilePath(), QFileInfo(path).canonicalFilePath());
    } else {
        QVERIFY2(answer.error.contains(QLatin1String("400 bytes")), qPrintable(answer.error));
    }
}

void WorkFoldersTest::linksEndWithTheObject()
{
    QTemporaryDir base;
    QTemporaryDir models;
    const QString path = makeFile(models, 300, QStringLiteral("a.obj"));
    {
        LinkFolder links(base.path() + QLatin1Char('/'));
        QVERIFY(links.shortened(path).error.isEmpty());
        QVERIFY(!QDir(base.path()).isEmpty());
    }
    QVERIFY(QDir(base.path()).isEmpty());
    QVERIFY(QFile::exists(path));
}

void WorkFoldersTest::linksOfAGoneProgramAreRemoved()
{
    QTemporaryDir base;
    QTemporaryDir models;
    // No process has a number beyond the kernel's limit; this one has the first of all.
    QVERIFY(QDir(base.path()).mkdir(QStringLiteral("links-4194305-abcdef")));
    QVERIFY(QDir(base.path()).mkdir(QStringLiteral("links-1-abcdef")));
    LinkFolder links(base.path() + QLatin1Char('/'));
    QVERIFY(links.shortened(makeFile(models, 300, QStringLiteral("a.obj"))).error.isEmpty());
    QVERIFY(!QDir(base.filePath(QStringLiteral("links-4194305-abcdef"))).exists());
    QVERIFY(QDir(base.filePath(QStringLiteral("links-1-abcdef"))).exists());
}

OV3D_TEST_MAIN(WorkFoldersTest)
#include "workfolders_test.moc"
