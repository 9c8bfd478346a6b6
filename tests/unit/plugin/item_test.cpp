#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/support/zerobytes.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>

#include <cstring>
#include <thread>

class ItemTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void typeIsTheUserTypePlus11600()
    {
        COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->type(), 77136);
        QCOMPARE(item->GetType(), 11600);
    }

    void newItemHasTheRectangle1280By960AtTheOrigin()
    {
        COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->getObjRect(), QRectF(0.0, 0.0, 1280.0, 960.0));
        QCOMPARE(item->pos(), QPointF(0.0, 0.0));
        QCOMPARE(item->boundingRect(), QRectF(0.0, 0.0, 1280.0, 960.0));
    }

    void newItemTellsTheHostOfItsRectangle()
    {
        QSignalSpy rectangles(CObjectNotifier::GetInstance(), &CObjectNotifier::objRectChanged);
        m_fixture->createItem();
        ItemFixture::deliverPosted();
        QCOMPARE(rectangles.size(), 1);
        QCOMPARE(rectangles.first().at(1).toRectF(), QRectF(0.0, 0.0, 1280.0, 960.0));
    }

    void newItemIsMovableAndSelectableButNotFocusable()
    {
        const QGraphicsItem::GraphicsItemFlags flags = m_fixture->createItem()->flags();
        QVERIFY(flags.testFlag(QGraphicsItem::ItemIsMovable));
        QVERIFY(flags.testFlag(QGraphicsItem::ItemIsSelectable));
        QVERIFY(!flags.testFlag(QGraphicsItem::ItemIsFocusable));
    }

    void newItemAcceptsHoverEvents() { QVERIFY(m_fixture->createItem()->acceptHoverEvents()); }

    void constructorIgnoresItsArguments()
    {
        QGraphicsRectItem parent;
        auto* item = new COv3DObject(42, true, &parent);
        QCOMPARE(item->getId(), -1);
        QVERIFY(!item->isLocked());
        QVERIFY(!item->parentItem());
        QVERIFY(!item->GetPage());
        item->Release();
    }

    void constructionResetsTheProgressOfTheProcess()
    {
        g_progress = 42;
        m_fixture->createItem();
        QCOMPARE(g_progress, 0);
    }

    void newItemHasNoShapeFrameOrModel()
    {
        const COv3DObject* item = m_fixture->createItem();
        QVERIFY(!item->m_hitPath);
        QVERIFY(item->m_handlePath.isEmpty());
        QVERIFY(item->m_image.isNull());
        QVERIFY(item->m_dirName.isEmpty());
        QVERIFY(item->m_modelPath.isEmpty());
        QVERIFY(item->m_textureFiles.isEmpty());
        QVERIFY(item->m_textureDirs.isEmpty());
        QVERIFY(item->m_viewQueue.isEmpty());
        QVERIFY(!item->m_belongDoc);
        QVERIFY(!item->m_isLoaded);
        QVERIFY(!item->m_firstFrameShown);
        QVERIFY(!item->m_loadTimer.isValid());
    }

    void newItemIsNotReadyAndInNoGesture()
    {
        const COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->m_viewerReady, 0);
        QCOMPARE(item->m_lastViewType, 0);
        QCOMPARE(item->m_dragKind, 1);
        QCOMPARE(item->m_mouseModifiers, 0);
        QCOMPARE(item->m_viewTypeRestore, 0);
        QCOMPARE(item->m_savedViewType, 0);
        QCOMPARE(item->m_reportedViewType, 0);
        QCOMPARE(item->m_pressPos, QPointF(0.0, 0.0));
        QVERIFY(!item->m_viewSettingsLoaded);
        QVERIFY(!item->m_isPressed);
        QVERIFY(!item->m_paramsApplied);
        QVERIFY(!item->m_enableSky && !item->m_enableAxis && !item->m_enableGround);
    }

    void membersThatNothingReadsKeepTheirInitialValues()
    {
        const COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->m_unusedFlagA, false);
        QCOMPARE(item->m_unusedDouble, -9999.0);
        QCOMPARE(item->m_unusedFlagB, true);
        QCOMPARE(item->m_unusedIntA, 0);
        QCOMPARE(item->m_unusedIntB, 0);
    }

    void gestureSnapshotsBeginAllZero()
    {
        const COv3DObject* item = m_fixture->createItem();
        QVERIFY(isZero(&item->m_undoStatus, sizeof item->m_undoStatus));
        QVERIFY(isZero(&item->m_redoStatus, sizeof item->m_redoStatus));
    }

    void newItemOwnsAThreadThatIsNotStarted()
    {
        const COv3DObject* item = m_fixture->createItem();
        QVERIFY(item->m_drawThread);
        QVERIFY(item->m_drawThread->m_item == item);
        QVERIFY(!item->m_drawThread->m_running);
        QVERIFY(!item->m_drawThread->isRunning());
        QVERIFY(m_fixture->viewer.starts().empty());
    }

    void updateSignalReachesTheItemAtOnceOnItsOwnThread()
    {
        COv3DObject* item = m_fixture->createItem();
        Q_EMIT item->m_drawThread->updateImage();
        QVERIFY(item->m_firstFrameShown);
    }

    void updateSignalOfAnotherThreadReachesTheItemQueued()
    {
        COv3DObject* item = m_fixture->createItem();
        std::thread([item] { Q_EMIT item->m_drawThread->updateImage(); }).join();
        QVERIFY(!item->m_firstFrameShown);
        QVERIFY(waitFor([item] { return item->m_firstFrameShown; }));
    }

    void shapeIsTheBaseShapeWithoutAHitPath()
    {
        const COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->shape(), item->CBaseObject::shape());
        QVERIFY(!item->shape().isEmpty());
    }

    void shapeIsACopyOfTheHitPath()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_hitPath = new QPainterPath;
        item->m_hitPath->addRect(1.0, 2.0, 3.0, 4.0);
        QPainterPath shape = item->shape();
        QCOMPARE(shape, *item->m_hitPath);
        shape.addRect(50.0, 50.0, 1.0, 1.0);
        QCOMPARE(item->m_hitPath->boundingRect(), QRectF(1.0, 2.0, 3.0, 4.0));
        delete item->m_hitPath;
        item->m_hitPath = nullptr;
    }

    void setPosLeavesTheItemWhereItIs()
    {
        COv3DObject* item = m_fixture->createItem();
        item->setPos(QPointF(30.0, 40.0), true);
        item->setPos(QPointF(50.0, 60.0), false);
        QCOMPARE(item->pos(), QPointF(0.0, 0.0));
        QCOMPARE(item->getObjRect(), QRectF(0.0, 0.0, 1280.0, 960.0));
    }

    void setPosThroughTheHostsBaseIsIgnoredToo()
    {
        COv3DObject* item = m_fixture->createItem();
        static_cast<COVRootObject*>(item)->setPos(QPointF(30.0, 40.0), true);
        QCOMPARE(item->pos(), QPointF(0.0, 0.0));
        QCOMPARE(item->getPos(), QPointF(0.0, 0.0));
    }

    void keyPressIsSwallowedAndReported()
    {
        COv3DObject* item = m_fixture->createItem();
        QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
        QObject watched;
        QVERIFY(item->eventFilter(&watched, &event));
        QCOMPARE(messages(), QStringList{QStringLiteral("Key Pressed: 65")});
    }

    void otherEventsPassTheFilterUnreported_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("key release") << int(QEvent::KeyRelease);
        QTest::newRow("shortcut override") << int(QEvent::ShortcutOverride);
        QTest::newRow("mouse button press") << int(QEvent::MouseButtonPress);
    }

    void otherEventsPassTheFilterUnreported()
    {
        QFETCH(int, type);
        COv3DObject* item = m_fixture->createItem();
        QKeyEvent event(static_cast<QEvent::Type>(type), Qt::Key_A, Qt::NoModifier);
        QObject watched;
        QVERIFY(!item->eventFilter(&watched, &event));
        QVERIFY(messages().isEmpty());
    }

    void filterIsNotInstalledByTheItemItself()
    {
        COv3DObject* item = m_fixture->createItem();
        QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
        QCoreApplication::sendEvent(item, &event);
        QVERIFY(messages().isEmpty());
    }

    void installedFilterSwallowsKeyPresses()
    {
        COv3DObject* item = m_fixture->createItem();
        QObject watched;
        watched.installEventFilter(item);
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QVERIFY(QCoreApplication::sendEvent(&watched, &event));
        QCOMPARE(messages(), QStringList{QStringLiteral("Key Pressed: 16777216")});
    }

    void documentOfThePageIsTheItemsDocument()
    {
        COv3DObject* item = m_fixture->createItem();
        DocumentStub document;
        PageStub page;
        page.document = &document;
        item->setPage(&page);
        item->getBelongDoc();
        QVERIFY(item->m_belongDoc == &document);
    }

    void itemWithoutPageBelongsToTheCurrentDocument()
    {
        COv3DObject* item = m_fixture->createItem();
        item->getBelongDoc();
        QVERIFY(item->m_belongDoc == &m_fixture->document);
    }

    void itemWithoutPageKeepsTheDocumentThatItKnows()
    {
        COv3DObject* item = m_fixture->createItem();
        DocumentStub known;
        item->m_belongDoc = &known;
        item->getBelongDoc();
        QVERIFY(item->m_belongDoc == &known);
    }

    void pageReplacesTheDocumentThatTheItemKnows()
    {
        COv3DObject* item = m_fixture->createItem();
        DocumentStub known;
        DocumentStub document;
        PageStub page;
        page.document = &document;
        item->m_belongDoc = &known;
        item->setPage(&page);
        item->getBelongDoc();
        QVERIFY(item->m_belongDoc == &document);
    }

    void pageWithoutDocumentFallsBackToTheCurrentDocument()
    {
        COv3DObject* item = m_fixture->createItem();
        DocumentStub known;
        PageStub page;
        item->m_belongDoc = &known;
        item->setPage(&page);
        item->getBelongDoc();
        QVERIFY(item->m_belongDoc == &m_fixture->document);
        item->setPage(nullptr);
    }

    void documentIsNullWithoutPageAndCurrentDocument()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->framework.currentDocument = nullptr;
        item->getBelongDoc();
        QVERIFY(!item->m_belongDoc);
    }

    void documentIsNullWithoutAFramework()
    {
        COv3DObject* item = m_fixture->createItem();
        SetFramework(nullptr);
        item->getBelongDoc();
        QVERIFY(!item->m_belongDoc);
    }

    void openGLMembersDoNothing()
    {
        COv3DObject* item = m_fixture->createItem();
        ViewContext before;
        std::memcpy(&before, &item->m_context, sizeof before);
        item->initOpenGL();
        item->resizeOpenGL();
        item->paintOpenGL();
        QCOMPARE(std::memcmp(&before, &item->m_context, sizeof before), 0);
        QCOMPARE(m_fixture->viewer.callCount(), 0);
        QVERIFY(m_fixture->logEntries().isEmpty());
    }
};

OV3D_TEST_MAIN(ItemTest)
#include "item_test.moc"
