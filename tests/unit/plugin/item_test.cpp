#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QKeyEvent>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

namespace {

/// Byte offset of a virtual function in the primary table: in the Itanium ABI a pointer to it holds one more than that.
template <typename Function> std::ptrdiff_t slotOf(Function function)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return words[0] - 1;
}

bool isZero(const void* bytes, std::size_t size)
{
    const auto* begin = static_cast<const unsigned char*>(bytes);
    return std::all_of(begin, begin + size, [](unsigned char byte) { return byte == 0; });
}

template <typename Member> quintptr address(const Member& member)
{
    return reinterpret_cast<quintptr>(&member);
}

} // namespace

class ItemTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture.emplace();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

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

    void membersStandInTheirDeclaredOrder()
    {
        const COv3DObject* i = m_fixture->createItem();
        const std::vector<quintptr> order = {
            address(i->m_hitPath),
            address(i->m_handlePath),
            address(i->m_context),
            address(i->m_params),
            address(i->m_isLoaded),
            address(i->m_viewerReady),
            address(i->m_viewQueue),
            address(i->m_textureFiles),
            address(i->m_textureDirs),
            address(i->m_viewMutex),
            address(i->m_viewSettingsLoaded),
            address(i->m_isPressed),
            address(i->m_lastViewType),
            address(i->m_lightingSettings),
            address(i->m_materialSettings),
            address(i->m_displaySettings),
            address(i->m_viewSettings),
            address(i->m_cameraSettings),
            address(i->m_image),
            address(i->m_dirName),
            address(i->m_undoStatus),
            address(i->m_redoStatus),
            address(i->m_enableSky),
            address(i->m_enableAxis),
            address(i->m_enableGround),
            address(i->m_loadTimer),
            address(i->m_belongDoc),
            address(i->m_modelPath),
            address(i->m_firstFrameShown),
            address(i->m_dragKind),
            address(i->m_unusedFlagA),
            address(i->m_drawThread),
            address(i->m_paramsApplied),
            address(i->m_unusedDouble),
            address(i->m_unusedFlagB),
            address(i->m_mouseModifiers),
        };
        QVERIFY(std::is_sorted(order.begin(), order.end()));
    }

    void overridesStandInTheHostsSlotOrder()
    {
        const std::vector<std::ptrdiff_t> order = {
            slotOf(&COv3DObject::eventFilter),
            slotOf(&COv3DObject::shape),
            slotOf(&COv3DObject::type),
            slotOf(&COv3DObject::mousePressEvent),
            slotOf(&COv3DObject::mouseMoveEvent),
            slotOf(&COv3DObject::mouseReleaseEvent),
            slotOf(&COv3DObject::hoverMoveEvent),
            slotOf(&COv3DObject::OnQPainterDraw),
            slotOf(&COv3DObject::save),
            slotOf(&COv3DObject::load),
            slotOf(&COv3DObject::saveJson),
            slotOf(&COv3DObject::loadJson),
            slotOf(&COv3DObject::setSize),
            slotOf(&COv3DObject::setPos),
            slotOf(&COv3DObject::itemChange),
            slotOf(&COv3DObject::Release),
            slotOf(&COv3DObject::GetSpecialProperty),
            slotOf(&COv3DObject::SetSpecialProperty),
            slotOf(&COv3DObject::loadFromFile),
            slotOf(&COv3DObject::wheelEvent),
        };
        QVERIFY(std::is_sorted(order.begin(), order.end()));
        QVERIFY(std::adjacent_find(order.begin(), order.end()) == order.end());
    }

    void paintHookFollowsTheGraphicsItemAccessor()
    {
        QCOMPARE(slotOf(&COv3DObject::OnQPainterDraw),
                 slotOf(&CBaseObject::GetGraphicsItemPtr) + std::ptrdiff_t{sizeof(void*)});
    }

    void wheelFollowsLoadingBehindTheHostsLastSlot()
    {
        QVERIFY(slotOf(&COv3DObject::loadFromFile) > slotOf(&COv3DObject::SetSpecialProperty));
        QCOMPARE(slotOf(&COv3DObject::wheelEvent), slotOf(&COv3DObject::loadFromFile) + std::ptrdiff_t{sizeof(void*)});
    }

    void metaObjectHasOneSlotAndNothingElse()
    {
        const QMetaObject& meta = COv3DObject::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        const QMetaMethod method = meta.method(meta.methodOffset());
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.methodSignature(), QByteArray("doUpdateImage()"));
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
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

private:
    std::optional<ItemFixture> m_fixture;
};

OV3D_TEST_MAIN(ItemTest)
#include "item_test.moc"
