#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/host/testitem.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// Pages own their items, and documents their pages.
class PageTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
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

    void pagesReleaseTheirItemsAndKnowTheirDocument()
    {
        const QTemporaryDir folder;
        COvDocument document(folder.path());
        COvPage* page = document.addPage(QSizeF(800.0, 600.0));
        QCOMPARE(document.pageCount(), 1);
        QCOMPARE(document.page(0), page);
        QVERIFY(!document.page(1));
        QVERIFY(!document.page(-1));
        QCOMPARE(page->getDocument(), static_cast<IOvDocument*>(&document));
        QCOMPARE(page->scene()->sceneRect(), QRectF(0.0, 0.0, 800.0, 600.0));

        bool destroyed = false;
        auto* item = new TestItem;
        item->m_destroyed = &destroyed;
        page->addObject(item);
        QCOMPARE(item->GetPage(), static_cast<IOvPage*>(page));
        QCOMPARE(page->objects(), QList<COVRootObject*>{item});
        document.removePage(0);
        QVERIFY(destroyed);
        QCOMPARE(document.pageCount(), 0);
        document.removePage(0);
    }
};

OV3D_TEST_MAIN(PageTest)
#include "page_test.moc"
