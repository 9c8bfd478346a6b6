#include "host/qimageex/qimageex.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QTest>

#include <type_traits>

class QImageExTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void defaultImageIsNull() { QVERIFY(QImageEx().isNull()); }

    void imageIsTakenOverAndSharesItsPixels()
    {
        QImage image(4, 3, QImage::Format_ARGB32);
        image.fill(QColor(1, 2, 3, 4));
        const QImageEx wrapped(image);
        QCOMPARE(static_cast<const QImage&>(wrapped), image);
        QCOMPARE(wrapped.constBits(), const_cast<const QImage&>(image).constBits());
    }

    void copyThatIsPaintedLeavesTheOriginal()
    {
        QImage image(4, 3, QImage::Format_ARGB32);
        image.fill(Qt::black);
        const QImageEx first(image);
        QImageEx second = first;
        second.fill(Qt::white);
        QCOMPARE(first.pixelColor(0, 0), QColor(Qt::black));
        QCOMPARE(second.pixelColor(0, 0), QColor(Qt::white));
    }

    void plainImagesDoNotBecomeOnesByThemselves()
    {
        QVERIFY(!(std::is_convertible_v<QImage, QImageEx>));
        QVERIFY((std::is_convertible_v<QImageEx*, QImage*>));
    }
};

OV3D_TEST_MAIN(QImageExTest)
#include "qimageex_test.moc"
