#include "tests/integration/corpusrun.h"
#include "tests/integration/documentsarchive.h"
#include "tests/integration/documentsfixture.h"
#include "tests/support/testmain.h"

#include <QBuffer>

/// Documents whose files, small as they lie in the archive, stand for more memory than there is: they are left out, and
/// the model is shown.
class HostileDocuments : public DocumentsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fileThatStandsForTooMuchIsLeftOut_data();
    void fileThatStandsForTooMuchIsLeftOut();

private:
    QByteArray m_hugePreview;
};

namespace {

constexpr qint64 kMegabyte = 1 << 20;
/// A program and its renderer take about a quarter of it; what is left out would take several times as much.
constexpr qint64 kMostPeakBytes = 1024 * kMegabyte;

/// Settings that are a proper text and have a list of numbers beside them.
QByteArray hugeSettings()
{
    return "{\"wireframe\":1,\"numbers\":[0" + QByteArray(",0").repeated(25 * static_cast<int>(kMegabyte)) + "]}";
}

} // namespace

void HostileDocuments::initTestCase()
{
    // One bit a pixel, and black: small in memory and smaller on disk, but as large as any other once it is shown.
    QImage image(40000, 30000, QImage::Format_Mono);
    image.fill(0);
    QBuffer file(&m_hugePreview);
    QVERIFY(file.open(QIODevice::WriteOnly) && image.save(&file, "PNG"));
    QVERIFY(m_hugePreview.size() < kMegabyte);
}

void HostileDocuments::fileThatStandsForTooMuchIsLeftOut_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("replacement");
    QTest::newRow("preview of 1,200 million pixels") << "cube_3dpreview.png" << m_hugePreview;
    QTest::newRow("settings of 50 megabytes") << "cube_view.json" << hugeSettings();
    QTest::newRow("scene status of 50 megabytes") << "cube.opt" << QByteArray(50 * static_cast<int>(kMegabyte), '\0');
}

void HostileDocuments::fileThatStandsForTooMuchIsLeftOut()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, replacement);
    make(QStringLiteral("good.ovb"), {QStringLiteral("cube.stl")});
    int replaced = 0;
    QVERIFY(copyArchive(at(QStringLiteral("good.ovb")), at(QStringLiteral("bad.ovb")),
                        [&](const QString& path, QByteArray& content) {
                            if (path.endsWith(QLatin1Char('/') + name)) {
                                content = replacement;
                                ++replaced;
                            }
                            return true;
                        }));
    QCOMPARE(replaced, 1);

    const QString picture = at(QStringLiteral("bad.png"));
    const std::vector<WatchedRun> runs =
        runWatched(QStringLiteral(OV3D_PROGRAM),
                   {{QStringLiteral("render"), at(QStringLiteral("bad.ovb")), QStringLiteral("-o"), picture}});
    QVERIFY2(runs[0].exitCode == 0, runs[0].errors.constData());
    QVERIFY(opaqueShare(QImage(picture)) > 0.02);
    QVERIFY2(runs[0].peakBytes < kMostPeakBytes, qPrintable(QString::number(runs[0].peakBytes / kMegabyte)));
    QCOMPARE(runs[0].renderersLeft, 0);
}

OV3D_TEST_MAIN(HostileDocuments)
#include "hostiledocuments.moc"
