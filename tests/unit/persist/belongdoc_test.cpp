#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

class BelongDocTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
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
};

OV3D_TEST_MAIN(BelongDocTest)
#include "belongdoc_test.moc"
