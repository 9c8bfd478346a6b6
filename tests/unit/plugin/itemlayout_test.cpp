#include "src/plugin/ov3dobject.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/support/virtualslot.h"

#include <QMetaMethod>

#include <algorithm>
#include <vector>

namespace {

template <typename Member> quintptr address(const Member& member)
{
    return reinterpret_cast<quintptr>(&member);
}

} // namespace

/// Where hosts find an item's members, virtual functions and slots.
class ItemLayoutTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
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
};

OV3D_TEST_MAIN(ItemLayoutTest)
#include "itemlayout_test.moc"
