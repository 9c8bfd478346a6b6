#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/packagefiles.h"
#include "viewer/renderer/import/zippackage.h"

#include <QtEndian>

using namespace ov3d::renderer;
using packagefiles::zip;

namespace {

constexpr int kDirectoryEndBytes = 22;
/// Offsets in a directory entry.
constexpr int kFlagsAt = 8, kMethodAt = 10, kPackedAt = 20, kInflatedAt = 24, kHeaderAt = 42;

QString openReason(const QByteArray& bytes)
{
    ZipPackage package;
    std::string reason;
    package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size()),
                 reason);
    return QString::fromStdString(reason);
}

/// Changes the only entry in the directory of a package.
QByteArray withEntryField(QByteArray bytes, int offset, quint32 value, int width)
{
    const int directory = static_cast<int>(qFromLittleEndian<quint32>(bytes.constData() + bytes.size() - 6));
    char number[4];
    qToLittleEndian(value, number);
    return bytes.replace(directory + offset, width, number, width);
}

QString content(const ZipPackage& package, const ZipPackage::Entry& entry, QByteArray& out)
{
    return QString::fromStdString(package.read(entry, [&out](std::string_view piece) {
        out.append(piece.data(), static_cast<int>(piece.size()));
        return true;
    }));
}

} // namespace

class ZipPackageTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void partsComeBackAsTheyWere_data();
    void partsComeBackAsTheyWere();
    void namesAreFoundWithoutRegardToCase();
    void readingStopsWhenItIsToldTo();
    void damagedPackagesAreRefused_data();
    void damagedPackagesAreRefused();
    void smallPackageThatInflatesWithoutEndIsRefused();
    void sumOfAllPartsIsBounded();
    void partThatIsLargerPackedThanUnpackedIsRefused();
    void partThatHoldsMoreThanItsSizeIsCutOff();
    void partThatHoldsLessThanItsSizeIsReported();
    void everyTruncationIsRefused();
};

void ZipPackageTest::partsComeBackAsTheyWere_data()
{
    QTest::addColumn<bool>("deflated");
    QTest::newRow("stored") << false;
    QTest::newRow("deflated") << true;
}

void ZipPackageTest::partsComeBackAsTheyWere()
{
    QFETCH(bool, deflated);
    const QByteArray large = QByteArray("0123456789").repeated(100000);
    const QByteArray bytes = zip({{"a/b.txt", "small"}, {"large", large}, {"empty", ""}}, deflated);
    ZipPackage package;
    std::string reason;
    QVERIFY(package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                         static_cast<std::size_t>(bytes.size()), reason));
    QCOMPARE(package.entries().size(), std::size_t{3});
    for (const auto& [name, wanted] :
         {std::pair("a/b.txt", QByteArray("small")), std::pair("large", large), std::pair("empty", QByteArray())}) {
        QByteArray read;
        QVERIFY(package.find(name));
        QCOMPARE(content(package, *package.find(name), read), QString());
        QCOMPARE(read, wanted);
    }
}

void ZipPackageTest::namesAreFoundWithoutRegardToCase()
{
    const QByteArray bytes = zip({{"3D/Model.model", "x"}});
    ZipPackage package;
    std::string reason;
    QVERIFY(package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                         static_cast<std::size_t>(bytes.size()), reason));
    QVERIFY(package.find("3d/mODEL.MODEL"));
    QVERIFY(!package.find("3D/Model"));
}

void ZipPackageTest::readingStopsWhenItIsToldTo()
{
    const QByteArray bytes = zip({{"large", QByteArray(3000000, 'x')}}, false);
    ZipPackage package;
    std::string reason;
    QVERIFY(package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                         static_cast<std::size_t>(bytes.size()), reason));
    int pieces = 0;
    QCOMPARE(package.read(package.entries().front(), [&pieces](std::string_view) { return ++pieces < 2; }),
             std::string());
    QCOMPARE(pieces, 2);
}

void ZipPackageTest::damagedPackagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const QByteArray sound = zip({{"a", "content"}}, false);
    const QString damaged = "is damaged: its list of parts cannot be read";
    QTest::newRow("another kind of file") << QByteArray("solid cube, and so on") << "is no 3MF package";
    QTest::newRow("no list of parts") << sound.left(40)
                                      << "ends in the middle of its data: the list of its parts is missing";
    QTest::newRow("two lists of parts") << sound + sound.right(kDirectoryEndBytes)
                                        << "is damaged: it has two lists of parts";
    QTest::newRow("encrypted") << withEntryField(sound, kFlagsAt, 1, 2) << "is encrypted";
    QTest::newRow("unknown method") << withEntryField(sound, kMethodAt, 14, 2)
                                    << "is packed by a method that cannot be read";
    QTest::newRow("part beyond the end") << withEntryField(sound, kHeaderAt, 0x7FFFFFFF, 4)
                                         << "has a part that reaches beyond its end";
    QTest::newRow("part longer than the file")
        << withEntryField(withEntryField(sound, kPackedAt, 5000, 4), kInflatedAt, 5000, 4)
        << "has a part that reaches beyond its end";
    QTest::newRow("stored part of two sizes") << withEntryField(sound, kInflatedAt, 8, 4) << damaged;
    QTest::newRow("sizes that should stand elsewhere") << withEntryField(sound, kInflatedAt, 0xFFFFFFFFU, 4) << damaged;
    QTest::newRow("one part twice") << zip({{"a", "1"}, {"A", "2"}}) << "is damaged: it holds a part twice";
}

void ZipPackageTest::damagedPackagesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QTEST(openReason(bytes), "reason");
}

void ZipPackageTest::smallPackageThatInflatesWithoutEndIsRefused()
{
    const QByteArray bomb = zip({{"3D/3dmodel.model", QByteArray(50000000, ' ')}});
    QVERIFY(bomb.size() < 100000);
    QCOMPARE(openReason(bomb), QString("unpacks to more data than allowed"));
}

void ZipPackageTest::sumOfAllPartsIsBounded()
{
    // Entries may share their bytes: five of 128 MB cost nothing on disk.
    ZipPackage package;
    QByteArray sound = zip({{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}, {"e", "5"}});
    const int directory = static_cast<int>(qFromLittleEndian<quint32>(sound.constData() + sound.size() - 6));
    constexpr int entryBytes = 46 + 1;
    for (int i = 0; i < 5; ++i) {
        qToLittleEndian<quint32>(128 * 1024 * 1024, sound.data() + directory + i * entryBytes + kInflatedAt);
        qToLittleEndian<quint32>(1024 * 1024, sound.data() + directory + i * entryBytes + kPackedAt);
    }
    // Long enough for what the parts claim, so that nothing but the sum is wrong.
    sound.insert(directory, QByteArray(2 * 1024 * 1024, '\0'));
    qToLittleEndian<quint32>(static_cast<quint32>(directory + 2 * 1024 * 1024), sound.data() + sound.size() - 6);
    QCOMPARE(openReason(sound), QString("unpacks to more data than allowed"));
}

void ZipPackageTest::partThatIsLargerPackedThanUnpackedIsRefused()
{
    const QByteArray noise = zip({{"a", QByteArray(100000, 'x')}}, false);
    const QByteArray bytes = withEntryField(withEntryField(noise, kMethodAt, 8, 2), kInflatedAt, 1, 4);
    QCOMPARE(openReason(bytes), QString("is damaged: its list of parts cannot be read"));
}

void ZipPackageTest::partThatHoldsMoreThanItsSizeIsCutOff()
{
    const QByteArray bytes = withEntryField(zip({{"a", QByteArray(1000000, 'x')}}), kInflatedAt, 1000, 4);
    ZipPackage package;
    std::string reason;
    QVERIFY(package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                         static_cast<std::size_t>(bytes.size()), reason));
    QByteArray read;
    QCOMPARE(content(package, package.entries().front(), read), QString("unpacks to more than its size"));
    QVERIFY(read.size() < 1000000);
}

void ZipPackageTest::partThatHoldsLessThanItsSizeIsReported()
{
    const QByteArray bytes = withEntryField(zip({{"a", QByteArray(1000, 'x')}}), kInflatedAt, 2000, 4);
    ZipPackage package;
    std::string reason;
    QVERIFY(package.open(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                         static_cast<std::size_t>(bytes.size()), reason));
    QByteArray read;
    QCOMPARE(content(package, package.entries().front(), read), QString("unpacks to less than its size"));
}

void ZipPackageTest::everyTruncationIsRefused()
{
    const QByteArray sound = zip({{"a", "content"}, {"b", "more"}});
    for (int size = 0; size < sound.size(); ++size)
        QVERIFY2(!openReason(sound.left(size)).isEmpty(), qPrintable(QString::number(size)));
    QCOMPARE(openReason(sound), QString());
}

OV3D_TEST_MAIN(ZipPackageTest)
#include "tst_zippackage.moc"
