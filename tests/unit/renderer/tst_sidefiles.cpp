#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/sidefiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using ov3d::renderer::SideFiles;

class SideFilesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void namesAreFound_data();
    void namesAreFound();
    void nothingOutsideTheFolderIsFound_data();
    void nothingOutsideTheFolderIsFound();
    void linkThatLeadsOutIsRefused();
    void linkedFolderThatLeadsOutIsNotSearched();
    void linkInsideTheFolderIsFollowed();
    void folderMayBeReachedThroughALink();
    void nearestOfEqualNamesWins();
    void foldersAreNoFiles();
    void requiredNamesAreListedOnceInOrderOfUse();
    void namesOfMissingFilesAreBounded();
    void folderThatDoesNotExistIsNotTheRoot();

private:
    void write(const QString& relative);
    [[nodiscard]] QString found(const QString& name) const;

    QScopedPointer<QTemporaryDir> m_folder;
};

void SideFilesTest::init()
{
    TestBase::init();
    m_folder.reset(new QTemporaryDir);
    QVERIFY(m_folder->isValid());
    write("secret.png");
    write("model/model.obj");
    write("model/textures/wood.png");
    write("model/textures/deep/stone.png");
    write("model/a b%c.png");
    write(QString::fromUtf8("model/\u6728\u00e4.png"));
    write("model/..hidden.png");
}

void SideFilesTest::cleanup()
{
    m_folder.reset();
    TestBase::cleanup();
}

void SideFilesTest::write(const QString& relative)
{
    const QString path = m_folder->filePath(relative);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

QString SideFilesTest::found(const QString& name) const
{
    const auto result = SideFiles(m_folder->filePath("model/model.obj").toStdString()).find(name.toStdString());
    return result ? QString::fromStdString(result->relative) : QString();
}

void SideFilesTest::namesAreFound_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("as it stands") << "textures/wood.png"
                                  << "textures/wood.png";
    QTest::newRow("backslashes read as slashes") << "textures\\wood.png"
                                                 << "textures/wood.png";
    QTest::newRow("a leading dot") << "./textures//wood.png"
                                   << "textures/wood.png";
    QTest::newRow("up and down again") << "textures/deep/../wood.png"
                                       << "textures/wood.png";
    QTest::newRow("percent escapes undone") << "a%20b%25c.png"
                                            << "a b%c.png";
    QTest::newRow("a percent sign that escapes nothing") << "a b%c.png"
                                                         << "a b%c.png";
    QTest::newRow("escaped letters of other scripts") << "%E6%9C%A8%c3%a4.png" << QString::fromUtf8("\u6728\u00e4.png");
    QTest::newRow("blanks and a carriage return behind") << "textures/wood.png \r"
                                                         << "textures/wood.png";
    QTest::newRow("missing where named: by base name") << "images/stone.png"
                                                       << "textures/deep/stone.png";
    QTest::newRow("absolute: by base name") << "/home/somebody/wood.png"
                                            << "textures/wood.png";
    QTest::newRow("absolute with a drive: by base name") << "C:\\work\\wood.png"
                                                         << "textures/wood.png";
    QTest::newRow("an address: by base name") << "file:///C:/art/wood.png"
                                              << "textures/wood.png";
    QTest::newRow("climbing: by base name") << "../other/wood.png"
                                            << "textures/wood.png";
    QTest::newRow("another case of letters: by base name") << "Textures\\WOOD.PNG"
                                                           << "textures/wood.png";
    QTest::newRow("dots at the beginning of a name") << "..hidden.png"
                                                     << "..hidden.png";
}

void SideFilesTest::namesAreFound()
{
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(found(name), expected);
}

void SideFilesTest::nothingOutsideTheFolderIsFound_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("climbing") << "../secret.png";
    QTest::newRow("climbing from below") << "textures/../../secret.png";
    QTest::newRow("climbing with backslashes") << "..\\secret.png";
    QTest::newRow("climbing with escapes") << "%2e%2e/secret.png";
    QTest::newRow("climbing with escaped slashes") << "..%2fsecret.png";
    QTest::newRow("absolute") << "FOLDER/secret.png";
    QTest::newRow("a file of the system") << "/etc/passwd";
    QTest::newRow("the folder itself") << ".";
    QTest::newRow("no name") << "";
    QTest::newRow("a zero byte") << "wood.png%00.jpg";
}

void SideFilesTest::nothingOutsideTheFolderIsFound()
{
    QFETCH(QString, name);
    QCOMPARE(found(name.replace("FOLDER", m_folder->path())), QString());
}

void SideFilesTest::linkThatLeadsOutIsRefused()
{
    QVERIFY(QFile::link(m_folder->filePath("secret.png"), m_folder->filePath("model/link.png")));
    QCOMPARE(found("link.png"), QString());
    QCOMPARE(found("other/link.png"), QString());
}

void SideFilesTest::linkedFolderThatLeadsOutIsNotSearched()
{
    write("outside/far.png");
    QVERIFY(QFile::link(m_folder->filePath("outside"), m_folder->filePath("model/inside")));
    QCOMPARE(found("far.png"), QString());
    QCOMPARE(found("inside/far.png"), QString());
}

void SideFilesTest::linkInsideTheFolderIsFollowed()
{
    QVERIFY(QFile::link("textures/wood.png", m_folder->filePath("model/alias.png")));
    QCOMPARE(found("alias.png"), QString("alias.png"));
}

void SideFilesTest::folderMayBeReachedThroughALink()
{
    QVERIFY(QFile::link(m_folder->filePath("model"), m_folder->filePath("entry")));
    const auto result = SideFiles(m_folder->filePath("entry/model.obj").toStdString()).find("textures/wood.png");
    QVERIFY(result.has_value());
    QCOMPARE(QString::fromStdString(result->relative), QString("textures/wood.png"));
}

void SideFilesTest::nearestOfEqualNamesWins()
{
    write("model/zzz/stone.png");
    QCOMPARE(found("nowhere/stone.png"), QString("zzz/stone.png"));
}

void SideFilesTest::foldersAreNoFiles()
{
    QVERIFY(QDir().mkpath(m_folder->filePath("model/folder.png")));
    QCOMPARE(found("folder.png"), QString());
}

void SideFilesTest::requiredNamesAreListedOnceInOrderOfUse()
{
    SideFiles files(m_folder->filePath("model/model.obj").toStdString());
    files.require("textures/deep/stone.png");
    files.require("gone\\one.png");
    files.require("textures\\wood.png");
    files.require("/elsewhere/stone.png");
    files.require("gone\\one.png");
    QCOMPARE(files.files().size(), std::size_t{2});
    QCOMPARE(QString::fromStdString(files.files()[0]), QString("textures/deep/stone.png"));
    QCOMPARE(QString::fromStdString(files.files()[1]), QString("textures/wood.png"));
    QCOMPARE(files.missing().size(), std::size_t{1});
    QCOMPARE(QString::fromStdString(files.missing()[0]), QString("gone\\one.png"));
    QCOMPARE(files.unnamedMissing(), std::size_t{0});
}

void SideFilesTest::namesOfMissingFilesAreBounded()
{
    SideFiles files(m_folder->filePath("model/model.obj").toStdString());
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < ov3d::renderer::kMaxNamedMissing + 7; ++i)
            files.require("gone" + std::to_string(i));
    QCOMPARE(files.missing().size(), ov3d::renderer::kMaxNamedMissing);
    QCOMPARE(files.unnamedMissing(), std::size_t{7});
}

void SideFilesTest::folderThatDoesNotExistIsNotTheRoot()
{
    SideFiles files(m_folder->filePath("nowhere/model.obj").toStdString());
    // A file of the whole system, by a path from its root.
    const QString outside = m_folder->filePath("secret.png");
    QVERIFY(QFileInfo::exists(outside));
    QVERIFY(!files.find(outside.mid(1).toStdString()));
    QVERIFY(!files.require(outside.mid(1).toStdString()));
    QVERIFY(SideFiles("/model.obj").find(outside.mid(1).toStdString()).has_value());
}

OV3D_TEST_MAIN(SideFilesTest)
#include "tst_sidefiles.moc"
