#include "src/render/framebuffer.h"

#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QFile>

#include <cstring>
#include <limits>

namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
constexpr int kLargest = std::numeric_limits<int>::max();

/// Memory of this process that the system has really given out, in bytes.
std::size_t residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toULongLong() * 4096;
}

} // namespace

class FrameBufferTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void eightBytesAPixelArePromised_data();
    void eightBytesAPixelArePromised();
    void framesBeyondThePromiseStillFit();
    void reservedMemoryIsNotCommitted();
    void discardedPagesAreGivenBackAndTheirAddressesStayValid();
    void onlyFramesThatFitAreHeld_data();
    void onlyFramesThatFitAreHeld();
    void anUnreservedBufferHoldsNothing();
    void everyReservationIsMemoryOfItsOwn();
};

void FrameBufferTest::eightBytesAPixelArePromised_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<quint64>("promised");
    QTest::newRow("usual size") << 1280 << 960 << quint64{1280} * 960 * 8;
    QTest::newRow("more than the reserve") << 8192 << 8192 << quint64{8192} * 8192 * 8;
    QTest::newRow("product beyond 32 bits") << 32768 << 16384 << quint64{32768} * 16384 * 8;
    QTest::newRow("zero width") << 0 << 100 << quint64{0};
    QTest::newRow("negative sizes count as zero") << -100 << -100 << quint64{0};
}

void FrameBufferTest::eightBytesAPixelArePromised()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(quint64, promised);
    FrameBuffer buffer = FrameBuffer::reserve(width, height);
    QVERIFY(!buffer.isNull());
    QVERIFY(buffer.capacity() >= promised);
    // The ends must be ours to write.
    buffer.data()[0] = 1;
    buffer.data()[buffer.capacity() - 1] = 1;
    buffer.discardPages();
}

void FrameBufferTest::framesBeyondThePromiseStillFit()
{
    const FrameBuffer buffer = FrameBuffer::reserve(100, 100);
    QVERIFY(buffer.capacity() >= 256 * kMegabyte);
    QVERIFY(buffer.holds(4096, 4096));
}

void FrameBufferTest::reservedMemoryIsNotCommitted()
{
    const std::size_t before = residentBytes();
    for (int i = 0; i < 100; ++i)
        QVERIFY(!FrameBuffer::reserve(1280, 960).isNull());
    QVERIFY(residentBytes() < before + 50 * kMegabyte);
}

void FrameBufferTest::discardedPagesAreGivenBackAndTheirAddressesStayValid()
{
    FrameBuffer buffer = FrameBuffer::reserve(1280, 960);
    constexpr std::size_t written = 200 * kMegabyte;
    std::memset(buffer.data(), 7, written);
    const std::size_t before = residentBytes();
    buffer.discardPages();
    QVERIFY(residentBytes() + 190 * kMegabyte < before);
    QCOMPARE(int{buffer.data()[written - 1]}, 0);
    buffer.data()[written - 1] = 9;
    QCOMPARE(int{buffer.data()[written - 1]}, 9);
    buffer.discardPages();
}

void FrameBufferTest::onlyFramesThatFitAreHeld_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("held");
    QTest::newRow("one pixel") << 1 << 1 << true;
    QTest::newRow("the size of the run") << 1280 << 960 << true;
    QTest::newRow("exactly the reserve") << 4 << 22369621 << true; // 12 bytes a row: 4 bytes remain
    QTest::newRow("one row more") << 4 << 22369622 << false;
    QTest::newRow("padding counts") << 1 << 67108865 << false; // 3 bytes a row would fit
    QTest::newRow("padding counts, the last that fits") << 1 << 67108864 << true;
    QTest::newRow("zero width") << 0 << 10 << false;
    QTest::newRow("zero height") << 10 << 0 << false;
    QTest::newRow("no frame") << -1 << 10 << false;
    QTest::newRow("negative height") << 10 << -1 << false;
    QTest::newRow("product overflows 64 bits nowhere") << kLargest << kLargest << false;
    QTest::newRow("product of two negatives") << -1280 << -960 << false;
}

void FrameBufferTest::onlyFramesThatFitAreHeld()
{
    QFETCH(int, width);
    QFETCH(int, height);
    const FrameBuffer buffer = FrameBuffer::reserve(1280, 960);
    QCOMPARE(buffer.capacity(), 256 * kMegabyte);
    QTEST(buffer.holds(width, height), "held");
}

void FrameBufferTest::anUnreservedBufferHoldsNothing()
{
    FrameBuffer buffer;
    QVERIFY(buffer.isNull());
    QVERIFY(!buffer.holds(1, 1));
    buffer.discardPages();
}

void FrameBufferTest::everyReservationIsMemoryOfItsOwn()
{
    const FrameBuffer first = FrameBuffer::reserve(4, 4);
    const FrameBuffer second = FrameBuffer::reserve(4, 4);
    first.data()[0] = 1;
    second.data()[0] = 2;
    QCOMPARE(int{first.data()[0]}, 1);
}

OV3D_TEST_MAIN(FrameBufferTest)
#include "framebuffer_test.moc"
