#include "src/render/drawbyopengl.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <cstring>

namespace {

QByteArray listBegin(const ViewContext& context, int count)
{
    return QByteArray(context.file_list, count);
}

} // namespace

/// What an update leaves in the queue of view records.
class ViewHistoryTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void inputAfterTheFirstFrameIsRecorded();
    void inputBeforeTheFirstFrameIsNotRecorded();
    void otherOperationsAreNotRecorded_data();
    void otherOperationsAreNotRecorded();
    void changedViewTypeRecordsItsNegativeOnce();
    void viewTypeGoingBackToZeroRecordsMarkerZero();
    void resetRecordsTheFiveCharactersInEveryCall();
    void changedViewTypeWithResetIsOneEntryWithBoth();
    void resetIsReadBeforeTheViewerRuns();
    void operationAndViewTypeAreReadAfterTheViewerRan();
    void stopRecordsNothingWithoutReset();
    void stopWithResetRecordsAnEntryWithMarkerZero();
    void stopNeverTakesOverTheViewType();
    void entryIsAWholeIndependentCopyMarkedAsHistory();
    void historyIsNeverTrimmed();
};

void ViewHistoryTest::init()
{
    SingleItemTestBase::init();
    ItemFixture::makeReady(m_item);
}

void ViewHistoryTest::inputAfterTheFirstFrameIsRecorded()
{
    m_item->m_context.frame_height = 960;
    std::memcpy(m_item->m_context.file_list, "a.png", 6);
    update(kOperationInput);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    const ViewContext& entry = m_item->m_viewQueue.first();
    QCOMPARE(int{entry.is_history}, 1);
    QCOMPARE(entry.op, std::int32_t{kOperationInput});
    QCOMPARE(entry.frame_height, 0);
    QCOMPARE(listBegin(entry, 5), QByteArray("a.png"));
}

void ViewHistoryTest::inputBeforeTheFirstFrameIsNotRecorded()
{
    m_item->m_drawThread->m_firstFrame = false;
    update(kOperationInput);
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
}

void ViewHistoryTest::otherOperationsAreNotRecorded_data()
{
    QTest::addColumn<int>("op");
    QTest::newRow("stop") << int{kOperationStop};
    QTest::newRow("start") << int{kOperationStart};
    QTest::newRow("redraw") << int{kOperationRedraw};
    QTest::newRow("apply view type") << int{kOperationApplyViewType};
    QTest::newRow("restore") << int{kOperationRestore};
    QTest::newRow("a code of the host's own") << 4711;
}

void ViewHistoryTest::otherOperationsAreNotRecorded()
{
    QFETCH(int, op);
    update(op);
    QCOMPARE(m_fixture->viewer.lastCall().context.op, op);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
}

void ViewHistoryTest::changedViewTypeRecordsItsNegativeOnce()
{
    m_item->m_drawThread->m_firstFrame = false;
    m_item->m_context.view_settings->view_type = 5;
    update(kOperationRedraw);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(m_item->m_viewQueue.first().frame_height, -5);
    QCOMPARE(m_item->m_viewQueue.first().op, std::int32_t{kOperationInput});
    QCOMPARE(m_item->m_lastViewType, 5);

    m_item->update_view(&m_item->m_context);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    update(kOperationInput);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    m_item->m_drawThread->m_firstFrame = true;
    m_item->update_view(&m_item->m_context);
    QCOMPARE(m_item->m_viewQueue.size(), 2);
    QCOMPARE(m_item->m_viewQueue.last().frame_height, 0);
}

void ViewHistoryTest::viewTypeGoingBackToZeroRecordsMarkerZero()
{
    m_item->m_lastViewType = 5;
    m_item->m_context.frame_height = 77;
    update(kOperationRedraw);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(m_item->m_viewQueue.first().frame_height, 0);
    QCOMPARE(m_item->m_lastViewType, 0);
}

void ViewHistoryTest::resetRecordsTheFiveCharactersInEveryCall()
{
    m_item->m_context.op = kOperationRedraw;
    m_item->m_context.view_settings->reset_camera = true;
    std::memcpy(m_item->m_context.file_list, "abcdefgh", 9);
    for (int count = 1; count <= 3; ++count) {
        m_item->update_view(&m_item->m_context);
        QCOMPARE(m_item->m_viewQueue.size(), count);
        const ViewContext& entry = m_item->m_viewQueue.last();
        // The sixth character keeps what was there, and so does the item's own list.
        QCOMPARE(listBegin(entry, 9), QByteArray("resetfgh\0", 9));
        QCOMPARE(entry.frame_height, 0);
        QCOMPARE(entry.op, std::int32_t{kOperationInput});
    }
    QCOMPARE(listBegin(m_item->m_context, 8), QByteArray("abcdefgh"));
    QCOMPARE(m_item->m_context.op, std::int32_t{kOperationRedraw});
}

void ViewHistoryTest::changedViewTypeWithResetIsOneEntryWithBoth()
{
    m_item->m_context.view_settings->reset_camera = true;
    m_item->m_context.view_settings->view_type = 5;
    update(kOperationInput);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(m_item->m_viewQueue.first().frame_height, -5);
    QCOMPARE(listBegin(m_item->m_viewQueue.first(), 5), QByteArray("reset"));
}

void ViewHistoryTest::resetIsReadBeforeTheViewerRuns()
{
    m_item->m_context.view_settings->reset_camera = true;
    m_fixture->viewer.setOnCall([](ViewContext& context) { context.view_settings->reset_camera = false; });
    update(kOperationRedraw);
    QCOMPARE(m_item->m_viewQueue.size(), 1);

    m_fixture->viewer.setOnCall([](ViewContext& context) { context.view_settings->reset_camera = true; });
    m_item->update_view(&m_item->m_context);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
}

void ViewHistoryTest::operationAndViewTypeAreReadAfterTheViewerRan()
{
    m_fixture->viewer.setOnCall([](ViewContext& context) { context.view_settings->view_type = 3; });
    update(kOperationRedraw);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(m_item->m_viewQueue.last().frame_height, -3);
    QCOMPARE(m_item->m_lastViewType, 3);

    m_fixture->viewer.setOnCall([](ViewContext& context) { context.op = kOperationInput; });
    update(kOperationRedraw);
    QCOMPARE(m_item->m_viewQueue.size(), 2);

    m_fixture->viewer.setOnCall([](ViewContext& context) { context.op = kOperationStop; });
    update(kOperationInput);
    QCOMPARE(m_item->m_viewQueue.size(), 2);
    m_fixture->viewer.setOnCall(nullptr);
}

void ViewHistoryTest::stopRecordsNothingWithoutReset()
{
    m_item->m_context.view_settings->view_type = 5;
    update(kOperationStop);
    QCOMPARE(m_fixture->viewer.callCount(), 1);
    QCOMPARE(m_item->m_viewQueue.size(), 0);
}

void ViewHistoryTest::stopWithResetRecordsAnEntryWithMarkerZero()
{
    m_item->m_context.view_settings->view_type = 5;
    m_item->m_context.view_settings->reset_camera = true;
    m_item->m_context.frame_height = 50;
    update(kOperationStop);
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(m_item->m_viewQueue.first().frame_height, 0);
    QCOMPARE(m_item->m_viewQueue.first().op, std::int32_t{kOperationInput});
    QCOMPARE(listBegin(m_item->m_viewQueue.first(), 5), QByteArray("reset"));
}

void ViewHistoryTest::stopNeverTakesOverTheViewType()
{
    m_item->m_context.view_settings->view_type = 5;
    update(kOperationStop);
    QCOMPARE(m_item->m_lastViewType, 0);
}

void ViewHistoryTest::entryIsAWholeIndependentCopyMarkedAsHistory()
{
    auto* bytes = reinterpret_cast<unsigned char*>(&m_item->m_context.scene_status);
    for (std::size_t i = 0; i < sizeof m_item->m_context.scene_status + 8; ++i)
        bytes[i] = static_cast<unsigned char>(i);
    m_item->m_context.mouse_x = 17;
    std::memset(m_item->m_context.pad325, 0x5a, sizeof m_item->m_context.pad325);
    update(kOperationInput);
    const ViewContext atCall = m_item->m_context;
    m_item->m_context.mouse_x = 18;

    ViewContext expected;
    std::memcpy(&expected, &atCall, sizeof expected);
    expected.is_history = 1;
    expected.op = kOperationInput;
    expected.frame_height = 0;
    QCOMPARE(m_item->m_viewQueue.size(), 1);
    QCOMPARE(std::memcmp(&m_item->m_viewQueue.first(), &expected, sizeof expected), 0);
    QCOMPARE(static_cast<void*>(m_item->m_viewQueue.first().view_settings),
             static_cast<void*>(m_item->m_context.view_settings));
}

void ViewHistoryTest::historyIsNeverTrimmed()
{
    m_item->m_context.op = kOperationInput;
    constexpr int calls = 3000;
    for (int i = 0; i < calls; ++i) {
        m_item->m_context.mouse_x = i;
        m_item->update_view(&m_item->m_context);
    }
    QCOMPARE(m_item->m_viewQueue.size(), calls);
    for (int i = 0; i < calls; ++i)
        QCOMPARE(m_item->m_viewQueue[i].mouse_x, i);
}

OV3D_TEST_MAIN(ViewHistoryTest)
#include "viewhistory_test.moc"
