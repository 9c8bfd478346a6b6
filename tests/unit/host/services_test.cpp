#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/host/testitem.h"

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

    void pageOwnsItsItemsInTheirOrder()
    {
        bool destroyed[3] = {false, false, false};
        bool released[3] = {false, false, false};
        auto page = std::make_unique<COvPage>(nullptr, QSizeF(100.0, 100.0));
        QVERIFY(!page->getDocument());
        TestItem* items[3];
        for (int i = 0; i < 3; ++i) {
            items[i] = new TestItem;
            items[i]->m_destroyed = &destroyed[i];
            items[i]->m_released = &released[i];
            page->addObject(items[i]);
        }
        page->addObject(nullptr);
        items[0]->setZValue(5.0);
        QCOMPARE(page->objects(), (QList<COVRootObject*>{items[1], items[2], items[0]}));

        QVERIFY(page->takeObject(items[1]));
        QVERIFY(!page->takeObject(items[1]));
        QVERIFY(!page->takeObject(nullptr));
        QVERIFY(!items[1]->GetPage());
        page.reset();
        QVERIFY(destroyed[0] && destroyed[2]);
        QVERIFY2(released[0] && released[2], "an item goes through Release(), never by delete alone");
        QVERIFY(!destroyed[1]);
        items[1]->Release();
    }

    void pageReleasesAParentWhoseChildLiesBelow()
    {
        bool destroyed[2] = {false, false};
        auto page = std::make_unique<COvPage>(nullptr, QSizeF(100.0, 100.0));
        auto* parent = new TestItem;
        auto* child = new TestItem;
        parent->m_destroyed = &destroyed[0];
        child->m_destroyed = &destroyed[1];
        child->setParentItem(parent);
        child->setFlag(QGraphicsItem::ItemStacksBehindParent);
        page->addObject(parent);
        page.reset();
        QVERIFY(destroyed[0] && destroyed[1]);
    }

    void pageSizeIsTheScenesRectangle()
    {
        COvPage page(nullptr, QSizeF(100.0, 200.0));
        page.setSize(QSizeF(300.0, 150.0));
        QCOMPARE(page.size(), QSizeF(300.0, 150.0));
        QCOMPARE(page.scene()->sceneRect(), QRectF(0.0, 0.0, 300.0, 150.0));
    }
};

OV3D_TEST_MAIN(ServicesTest)
#include "services_test.moc"
