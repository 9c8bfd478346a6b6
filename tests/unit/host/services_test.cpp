#include "host/framework/framework.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class ServicesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        SetFramework(nullptr);
        TestBase::cleanup();
    }

    void frameworkIsTheOneThatWasSet()
    {
        QVERIFY(!GetFramework());
        COvProgramFramework framework;
        QVERIFY(!GetFramework());
        SetFramework(&framework);
        QCOMPARE(GetFramework(), static_cast<IOvFramework*>(&framework));
    }

    void endOfTheFrameworkTakesItAway()
    {
        COvProgramFramework kept;
        {
            COvProgramFramework framework;
            SetFramework(&framework);
        }
        QVERIFY(!GetFramework());
        {
            const COvProgramFramework other;
            SetFramework(&kept);
        }
        QCOMPARE(GetFramework(), static_cast<IOvFramework*>(&kept));
    }

    void folderIsMadeAndAnsweredWithItsSeparator()
    {
        const QTemporaryDir folder;
        COvPathService paths;
        QCOMPARE(paths.getPath(0), QString());
        QVERIFY(paths.setFolder(folder.path() + "/a/b"));
        QCOMPARE(paths.getPath(0), folder.path() + "/a/b/");
        QVERIFY(QDir(folder.path() + "/a/b").exists());
        QCOMPARE(paths.getPath(1), QString());
        QVERIFY(paths.setFolder(QStringLiteral("/")));
        QCOMPARE(paths.getPath(0), QStringLiteral("/"));
    }

    void folderThatCannotBeMadeKeepsThePath()
    {
        const QTemporaryDir folder;
        QFile file(folder.path() + "/file");
        QVERIFY(file.open(QIODevice::WriteOnly));
        COvPathService paths;
        QVERIFY(paths.setFolder(folder.path()));
        QVERIFY(!paths.setFolder(folder.path() + "/file/sub"));
        QVERIFY(!paths.setFolder(QString()));
        QCOMPARE(paths.getPath(0), folder.path() + "/");
    }

    void pathIsAnsweredAsItWasSet()
    {
        COvPathService paths;
        paths.setPath(QStringLiteral("/opt/app"));
        QCOMPARE(paths.getPath(0), QStringLiteral("/opt/app"));
    }

    void currentDocumentEndsWithTheDocument()
    {
        const QTemporaryDir folder;
        COvProgramFramework framework;
        QVERIFY(!framework.getCurrentDocument());
        auto document = std::make_unique<COvDocument>(folder.path());
        framework.setCurrentDocument(document.get());
        QCOMPARE(framework.getCurrentDocument(), static_cast<IOvDocument*>(document.get()));
        document.reset();
        QVERIFY(!framework.getCurrentDocument());
        framework.setCurrentDocument(nullptr);
        QVERIFY(!framework.getCurrentDocument());
    }

    void textsAreLookedUpById()
    {
        CLocalize localize;
        QCOMPARE(localize.text(QStringLiteral("IDS_UNKNOWN")), QStringLiteral("IDS_UNKNOWN"));
        localize.setText(QStringLiteral("IDS_A"), QStringLiteral("Ä"));
        QCOMPARE(localize.text(QStringLiteral("IDS_A")), QStringLiteral("Ä"));
    }
};

OV3D_TEST_MAIN(ServicesTest)
#include "services_test.moc"
