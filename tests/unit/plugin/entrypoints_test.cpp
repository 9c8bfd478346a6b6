#include "src/plugin/handlebuffer.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/support/zerobytes.h"

#include <QGraphicsScene>
#include <QTest>

#include <cstring>
#include <type_traits>

namespace {

constexpr int kReservedSize = 3 * 64 * 64; ///< bytes; a size that one of the tests has reached for sure

int g_hookCalls = 0;
const char* g_renderArgument = nullptr;
unsigned char* g_renderPixels = nullptr;
QSize g_renderSize;

int answerSeven()
{
    ++g_hookCalls;
    return 7;
}

int answerMinusOne()
{
    ++g_hookCalls;
    return -1;
}

void recordRender(char* argument, unsigned char* pixels, int width, int height)
{
    g_renderArgument = argument;
    g_renderPixels = pixels;
    g_renderSize = QSize(width, height);
    pixels[0] = 11;
    pixels[1] = 22;
    pixels[2] = 33;
}

void firstViewer(int, const char**, void*) {}
void secondViewer(int, const char**, void*) {}

/// Brings the buffer to at least kReservedSize bytes, whatever tests ran before.
void growBuffer()
{
    QImage image(64, 64, QImage::Format_RGB888);
    image.fill(Qt::white);
    render3DObject(nullptr, image, 64, 64);
}

/// The variables' values before anything has run.
struct ValuesAtLoad
{
    bool functionsAreNull = !g_run_view && !g_begin_render && !g_end_render && !g_image_render;
    bool storageIsNull = !g_match && !g_run && cntx == 0;
    bool bufferIsNull = !g_3d_handle && g_3d_handle_size == 0;
    bool countersAreZero = g_dirNum == 0 && g_progress == 0 && g_object_id == 0 && whell_call == 0;
    bool pyramidIsOn = m_pyramidUpdate;
    bool textsAreEmpty = false;
};

} // namespace

class EntryPointsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_atLoad = ValuesAtLoad();
        m_atLoad.textsAreEmpty = g_app_path.isEmpty() && g_app_path_log.isEmpty() && g_dir_map.isEmpty();
    }

    void init()
    {
        TestBase::init();
        ItemFixture::resetGlobals();
        g_hookCalls = 0;
        g_renderArgument = nullptr;
        g_renderPixels = nullptr;
        g_renderSize = QSize();
    }

    void variablesAreZeroOrEmptyAtLoad()
    {
        QVERIFY(m_atLoad.functionsAreNull);
        QVERIFY(m_atLoad.storageIsNull);
        QVERIFY(m_atLoad.bufferIsNull);
        QVERIFY(m_atLoad.countersAreZero);
        QVERIFY(m_atLoad.textsAreEmpty);
    }

    void pyramidUpdateIsOnAtLoad() { QVERIFY(m_atLoad.pyramidIsOn); }

    void variablesHaveTheTypesThatHostsReadThemWith()
    {
        static_assert(std::is_same_v<decltype(g_run_view), void (*)(int, const char**, void*)>);
        static_assert(std::is_same_v<decltype(g_begin_render), int (*)()>);
        static_assert(std::is_same_v<decltype(g_end_render), int (*)()>);
        static_assert(std::is_same_v<decltype(g_image_render), void (*)(char*, unsigned char*, int, int)>);
        static_assert(std::is_same_v<decltype(g_3d_handle), unsigned char*>);
        static_assert(std::is_same_v<decltype(g_match), void*> && std::is_same_v<decltype(g_run), void*>);
        static_assert(std::is_same_v<decltype(cntx), int>);
        static_assert(std::is_same_v<decltype(g_app_path), QString> &&
                      std::is_same_v<decltype(g_app_path_log), QString>);
        static_assert(std::is_same_v<decltype(g_dir_map), QMap<QString, int>>);
        static_assert(std::is_same_v<decltype(g_dirNum), int> && std::is_same_v<decltype(g_progress), int>);
        static_assert(std::is_same_v<decltype(g_object_id), int> && std::is_same_v<decltype(whell_call), int>);
        static_assert(std::is_same_v<decltype(m_pyramidUpdate), bool>);
        static_assert(std::is_same_v<decltype(&createObject_ov3dobject), void* (*)(int, int, bool)>);
        static_assert(std::is_same_v<decltype(&render3DObject), void (*)(char*, QImage&, int, int)>);
    }

    void factoryMakesTheSameItemWhateverItsArguments_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("second");
        QTest::addColumn<bool>("third");
        QTest::newRow("zeros") << 0 << 0 << false;
        QTest::newRow("a parent number and locked") << 1 << 77 << true;
        QTest::newRow("negative numbers") << -5 << -6 << true;
    }

    void factoryMakesTheSameItemWhateverItsArguments()
    {
        QFETCH(int, first);
        QFETCH(int, second);
        QFETCH(bool, third);
        auto* item = static_cast<COv3DObject*>(createObject_ov3dobject(first, second, third));
        QCOMPARE(item->getId(), -1);
        QVERIFY(!item->isLocked());
        QVERIFY(!item->parentItem());
        QVERIFY(!item->GetPage());
        QCOMPARE(item->getObjRect(), QRectF(0.0, 0.0, 1280.0, 960.0));
        item->Release();
    }

    /// Hosts take the factory's answer for the item's first base.
    void factoryAnswersTheAddressOfTheHostsBaseClass()
    {
        void* address = createObject_ov3dobject(0, 0, false);
        auto* base = static_cast<CBaseObject*>(address);
        QVERIFY(qobject_cast<COv3DObject*>(base));
        base->Release();
    }

    void setRunHandleStoresTheViewerFunction()
    {
        SetRunHandle(&firstViewer);
        QVERIFY(g_run_view == &firstViewer);
    }

    void laterRunHandleReplacesTheEarlierOne()
    {
        SetRunHandle(&firstViewer);
        SetRunHandle(&secondViewer);
        QVERIFY(g_run_view == &secondViewer);
        SetRunHandle(nullptr);
        QVERIFY(!g_run_view);
    }

    void beginRenderWithoutHookAnswersZero() { QCOMPARE(beginRender3DObject(), 0); }

    void endRenderWithoutHookAnswersZero() { QCOMPARE(endRender3DObject(), 0); }

    void beginRenderAnswersWhatItsHookAnswers()
    {
        g_begin_render = &answerSeven;
        g_end_render = &answerMinusOne;
        QCOMPARE(beginRender3DObject(), 7);
        QCOMPARE(g_hookCalls, 1);
    }

    void endRenderAnswersWhatItsHookAnswers()
    {
        g_begin_render = &answerSeven;
        g_end_render = &answerMinusOne;
        QCOMPARE(endRender3DObject(), -1);
        QCOMPARE(g_hookCalls, 1);
    }

    void openglMatchIsZeroWhateverTheHostKeeps()
    {
        QCOMPARE(getOpenglMatch(), 0);
        int value = 1;
        g_match = &value;
        QCOMPARE(getOpenglMatch(), 0);
        QVERIFY(g_match == &value);
    }

    void renderLeavesAnImageOfAnotherPixelCountUntouched()
    {
        g_image_render = &recordRender;
        QImage image(100, 50, QImage::Format_ARGB32);
        image.fill(Qt::red);
        const QImage before = image.copy();
        render3DObject(nullptr, image, 100, 51);
        QCOMPARE(image, before);
        QCOMPARE(image.format(), QImage::Format_ARGB32);
        QVERIFY(!g_renderPixels);
    }

    void renderComparesPixelCountsAndNotShapes()
    {
        g_image_render = &recordRender;
        QImage image(100, 50, QImage::Format_ARGB32);
        render3DObject(nullptr, image, 50, 100);
        QCOMPARE(image.size(), QSize(50, 100));
        QCOMPARE(image.format(), QImage::Format_RGB888);
        QCOMPARE(g_renderSize, QSize(50, 100));
    }

    void renderHandsTheArgumentAndTheBufferToTheHook()
    {
        g_image_render = &recordRender;
        char argument[] = "scene";
        QImage image(8, 4, QImage::Format_RGB888);
        render3DObject(argument, image, 8, 4);
        QVERIFY(g_renderArgument == argument);
        QVERIFY(g_renderPixels == g_3d_handle);
        QCOMPARE(g_renderSize, QSize(8, 4));
        QCOMPARE(image.pixelColor(0, 0), QColor(11, 22, 33));
    }

    void renderedImageSharesTheBuffer()
    {
        QImage image(8, 4, QImage::Format_RGB888);
        render3DObject(nullptr, image, 8, 4);
        QVERIFY(image.constBits() == g_3d_handle);
        g_3d_handle[0] = 200;
        QCOMPARE(qRed(image.pixel(0, 0)), 200);
    }

    void renderWithoutHookDeliversABlackImage()
    {
        growBuffer();
        std::memset(g_3d_handle, 0x7f, kReservedSize);
        QImage image(16, 16, QImage::Format_RGB888);
        image.fill(Qt::white);
        render3DObject(nullptr, image, 16, 16);
        QCOMPARE(image.size(), QSize(16, 16));
        QCOMPARE(image.format(), QImage::Format_RGB888);
        QVERIFY(isZero(image.constBits(), 16 * 16 * 3));
    }

    void bufferGrowsToThreeBytesAPixel()
    {
        const int width = g_3d_handle_size / 3 + 4; // one row, larger than before
        QImage image(width, 1, QImage::Format_RGB888);
        QVERIFY(!image.isNull());
        render3DObject(nullptr, image, width, 1);
        QCOMPARE(g_3d_handle_size, width * 3);
        QVERIFY(isZero(g_3d_handle, static_cast<std::size_t>(g_3d_handle_size)));
    }

    void smallerRenderKeepsTheBufferAndItsSize()
    {
        growBuffer();
        unsigned char* const buffer = g_3d_handle;
        const int size = g_3d_handle_size;
        QVERIFY(size >= kReservedSize);
        QImage image(8, 8, QImage::Format_RGB888);
        render3DObject(nullptr, image, 8, 8);
        QVERIFY(g_3d_handle == buffer);
        QCOMPARE(g_3d_handle_size, size);
    }

    void smallerRenderZeroesTheWholeBuffer()
    {
        growBuffer();
        std::memset(g_3d_handle, 0x55, static_cast<std::size_t>(g_3d_handle_size));
        QImage image(4, 4, QImage::Format_RGB888);
        render3DObject(nullptr, image, 4, 4);
        QVERIFY(isZero(g_3d_handle, static_cast<std::size_t>(g_3d_handle_size)));
    }

    void renderOfTheSameSizeReusesTheBuffer()
    {
        growBuffer();
        unsigned char* const buffer = g_3d_handle;
        QImage image(64, 64, QImage::Format_RGB888);
        render3DObject(nullptr, image, 64, 64);
        QVERIFY(g_3d_handle == buffer);
    }

    /// Rows of an image are padded to four bytes although the buffer is counted without padding.
    void widthsThatAreNoMultiplesOfFourStayInsideTheBuffer()
    {
        for (int width = 1; width <= 7; ++width) {
            QImage image(width, 33, QImage::Format_RGB888);
            render3DObject(nullptr, image, width, 33);
            QCOMPARE(image.size(), QSize(width, 33));
            const QImage copy = image.copy();
            QCOMPARE(qRed(copy.pixel(width - 1, 32)), 0);
        }
    }

    void negativeAndOverflowingSizesLeaveTheImageUntouched_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("both negative, equal product") << -4 << -4;
        QTest::newRow("negative width") << -16 << 1;
        QTest::newRow("a product that is 16 in 32 bits") << 7 << 1840700272;
        QTest::newRow("a product that is 0 in 32 bits") << 65536 << 65536;
    }

    void negativeAndOverflowingSizesLeaveTheImageUntouched()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        g_image_render = &recordRender;
        QImage image(4, 4, QImage::Format_RGB888);
        image.fill(Qt::red);
        const QImage before = image.copy();
        render3DObject(nullptr, image, width, height);
        QCOMPARE(image, before);
        QVERIFY(!g_renderPixels);
    }

    void emptyRequestOnANullImageCallsTheHookAndStaysNull()
    {
        g_image_render = [](char*, unsigned char*, int width, int height) { g_renderSize = QSize(width, height); };
        QImage image;
        render3DObject(nullptr, image, 0, 0);
        QCOMPARE(g_renderSize, QSize(0, 0));
        QVERIFY(image.isNull());
    }

private:
    ValuesAtLoad m_atLoad;
};

OV3D_TEST_MAIN(EntryPointsTest)
#include "entrypoints_test.moc"
