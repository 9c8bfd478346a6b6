#include "src/plugin/ov3dobject.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <optional>

class BelongDocTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture.emplace();
        m_item = m_fixture->createItem();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

    void freshItemBelongsToNoDocument() { QVERIFY(!m_item->m_belongDoc); }

    void thePagesDocumentIsTaken()
    {
        m_page.document = &m_other;
        m_item->setPage(&m_page);
        m_item->getBelongDoc();
        QCOMPARE(m_item->m_belongDoc, &m_other);
    }

    void withoutAPageTheCurrentDocumentIsTaken()
    {
        m_item->getBelongDoc();
        QCOMPARE(m_item->m_belongDoc, &m_fixture->document);
    }

    void withoutAPageAnEarlierDocumentIsKept()
    {
        m_item->m_belongDoc = &m_other;
        m_item->getBelongDoc();
        QCOMPARE(m_item->m_belongDoc, &m_other);
    }

    void aPagesDocumentReplacesAnEarlierOne()
    {
        m_item->m_belongDoc = &m_other;
        m_page.document = &m_fixture->document;
        m_item->setPage(&m_page);
        m_item->getBelongDoc();
        QCOMPARE(m_item->m_belongDoc, &m_fixture->document);
    }

    void aPageWithoutDocumentDiscardsAnEarlierOneForTheCurrent()
    {
        m_item->m_belongDoc = &m_other;
        m_page.document = nullptr;
        m_item->setPage(&m_page);
        m_item->getBelongDoc();
        QCOMPARE(m_item->m_belongDoc, &m_fixture->document);
    }

    void aPageWithoutDocumentAndNoCurrentOneLeaveNone()
    {
        m_fixture->framework.currentDocument = nullptr;
        m_item->m_belongDoc = &m_other;
        m_page.document = nullptr;
        m_item->setPage(&m_page);
        m_item->getBelongDoc();
        QVERIFY(!m_item->m_belongDoc);
    }

    void aHostWithoutFrameworkLeavesNone()
    {
        SetFramework(nullptr);
        m_item->getBelongDoc();
        SetFramework(&m_fixture->framework);
        QVERIFY(!m_item->m_belongDoc);
    }

private:
    DocumentStub m_other;
    PageStub m_page;
    std::optional<ItemFixture> m_fixture;
    COv3DObject* m_item = nullptr;
};

OV3D_TEST_MAIN(BelongDocTest)
#include "belongdoc_test.moc"
