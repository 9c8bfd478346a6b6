#include "src/render/handshake.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/protocol/messages.h"
#include "viewer/session/framewriter.h"

#include <climits>
#include <cstring>
#include <memory>

using namespace ov3d::session;
using ov3d::protocol::rowBytes;

namespace {

QByteArray fileListOf(const std::vector<std::string>& names)
{
    const auto context = std::make_unique<ViewContext>();
    std::memset(context->file_list, 'Z', sizeof context->file_list);
    writeFileList(*context, names);
    return {context->file_list, static_cast<int>(strnlen(context->file_list, sizeof context->file_list))};
}

} // namespace

class FrameWriterTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void bufferHoldsEightBytesAPixelOfASaneSize()
    {
        QCOMPARE(bufferCapacity(1280, 960), std::uint64_t{1280 * 960 * 8});
        QCOMPARE(bufferCapacity(0, 10), std::uint64_t{0});
        QCOMPARE(bufferCapacity(10, -1), std::uint64_t{0});
        QCOMPARE(bufferCapacity(INT_MAX, INT_MAX), std::uint64_t{0});
        QCOMPARE(bufferCapacity(INT_MIN, INT_MIN), std::uint64_t{0});
    }

    void sizeThatFitsIsKept()
    {
        QVERIFY((fitPicture(1280, 960, bufferCapacity(1280, 960)) == PictureSize{1280, 960}));
        QVERIFY((fitPicture(5, 3, rowBytes(5) * 3) == PictureSize{5, 3}));
    }

    void largerSizeGetsTheLargestPictureOfItsShapeThatFits_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<qulonglong>("capacity");
        QTest::newRow("an item enlarged four times") << 2560 << 1920 << 8ULL * 1280 * 960;
        QTest::newRow("just too large") << 100 << 100 << 100ULL * rowBytes(100) - 1;
        QTest::newRow("a wide one") << 4000 << 10 << 8ULL * 64 * 48;
        QTest::newRow("a tall one") << 10 << 4000 << 8ULL * 64 * 48;
        QTest::newRow("tiny buffer") << 640 << 480 << 64ULL;
    }

    void largerSizeGetsTheLargestPictureOfItsShapeThatFits()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(qulonglong, capacity);
        const PictureSize size = fitPicture(width, height, capacity);
        QVERIFY(!size.isEmpty());
        QVERIFY(rowBytes(size.width) * static_cast<std::uint64_t>(size.height) <= capacity);
        // One pixel more on both sides, in this shape, would not fit.
        const double factor = std::max((size.width + 1.0) / width, (size.height + 1.0) / height);
        const auto w = static_cast<std::int32_t>(width * factor);
        const auto h = static_cast<std::int32_t>(height * factor);
        QVERIFY(rowBytes(w) * static_cast<std::uint64_t>(h) > capacity);
        QVERIFY2(std::abs(size.width - width * std::min(1.0, double(size.height + 1) / height)) <=
                         1.0 + double(width) / height ||
                     size.height == 1 || size.width == 1,
                 "the shape stays");
    }

    void absurdSizesAreHarmless()
    {
        QVERIFY(fitPicture(0, 10, 1000).isEmpty());
        QVERIFY(fitPicture(-5, -5, 1000).isEmpty());
        QVERIFY(fitPicture(INT_MAX, INT_MAX, 1000).isEmpty());
        QVERIFY(fitPicture(10, 10, 0).isEmpty());
        QVERIFY((fitPicture(60000, 60000, UINT64_MAX) == PictureSize{kMaxPictureSide, kMaxPictureSide}));
    }

    void frameIsCopiedWithItsPadding()
    {
        const auto context = std::make_unique<ViewContext>();
        context->frame_width = kNoFrame;
        std::vector<unsigned char> buffer(100, 0xEE);
        std::vector<std::uint8_t> pixels(32);
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<std::uint8_t>(i);
        writeFrame(*context, buffer.data(), pixels.data(), {5, 2});
        QCOMPARE(context->frame_width, 5);
        QCOMPARE(context->frame_height, 2);
        QCOMPARE(std::memcmp(buffer.data(), pixels.data(), 32), 0);
        QCOMPARE(buffer[32], static_cast<unsigned char>(0xEE));
    }

    void frameWithoutPixelsEndsTheWait()
    {
        const auto context = std::make_unique<ViewContext>();
        context->frame_width = kNoFrame;
        writeFrame(*context, nullptr, nullptr, {});
        QCOMPARE(context->frame_width, 0);
        QCOMPARE(context->frame_height, 0);
    }

    void fileListJoinsNames()
    {
        QCOMPARE(fileListOf({}), QByteArray());
        QCOMPARE(fileListOf({"a.png"}), QByteArray("a.png"));
        QCOMPARE(fileListOf({"a b/c.png", "d.bin"}), QByteArray("a b/c.png@d.bin"));
    }

    void fileListLeavesOutWhatItCannotCarry()
    {
        QCOMPARE(fileListOf({"a@b.png", "", std::string("c\0d", 3), "e.png"}), QByteArray("e.png"));
    }

    void fileListHoldsWholeNamesOfAtMost2047Bytes()
    {
        const std::string exact(2047, 'x');
        QCOMPARE(fileListOf({exact}).size(), 2047);
        QCOMPARE(fileListOf({exact + "x"}), QByteArray());
        QCOMPARE(fileListOf({std::string(2046, 'x'), "y"}).size(), 2046);
        QCOMPARE(fileListOf({std::string(2045, 'x'), "y"}).size(), 2047);
        QCOMPARE(fileListOf({"a", exact, "b"}), QByteArray("a@b"));
    }
};

OV3D_TEST_MAIN(FrameWriterTest)
#include "framewriter_test.moc"
