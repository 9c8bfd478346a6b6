#include "tests/integration/corpusrun.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

/// Draws every file of the corpus of one format ($OV3D_TEST_FORMAT) once, and holds what came of it against the table.
class Corpus : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void exitCodeIsTheOneInTheTable_data() { addRows(); }
    void exitCodeIsTheOneInTheTable();
    void oneLineNamesFileAndReason_data() { addRows(); }
    void oneLineNamesFileAndReason();
    void reportSaysTheSame_data() { addRows(); }
    void reportSaysTheSame();
    void pictureIsThere_data() { addRows(); }
    void pictureIsThere();
    void memoryStaysUnderHalfOfTheMachines_data() { addRows(); }
    void memoryStaysUnderHalfOfTheMachines();
    void noRendererIsLeft_data() { addRows(); }
    void noRendererIsLeft();

private:
    struct File
    {
        QJsonObject row;
        QString path;
        QString picture;
        WatchedRun run;

        [[nodiscard]] QString text(const char* key) const { return row.value(QLatin1String(key)).toString(); }
        [[nodiscard]] int exitCode() const { return row.value(QLatin1String("exit")).toInt(-1); }
        [[nodiscard]] QJsonObject report() const { return QJsonDocument::fromJson(run.output).object(); }
    };

    void addRows() const;
    [[nodiscard]] const File& current() const;

    QTemporaryDir m_folder;
    std::vector<File> m_files;
};

namespace {

enum class Hue
{
    red,
    blue,
};

/// Where the pixels of a hue lie.
struct Spread
{
    int count = 0;
    double meanY = 0;
};

Spread spreadOf(const QImage& image, Hue hue)
{
    Spread spread;
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y).toHsv();
            if (colour.alpha() == 0 || colour.hsvSaturation() < 90 || colour.value() < 40)
                continue;
            const bool isRed = colour.hsvHue() < 18 || colour.hsvHue() > 342;
            const bool isBlue = colour.hsvHue() > 212 && colour.hsvHue() < 260;
            if (hue == Hue::red ? !isRed : !isBlue)
                continue;
            ++spread.count;
            sum += y;
        }
    }
    spread.meanY = spread.count > 0 ? sum / spread.count : 0;
    return spread;
}

} // namespace

void Corpus::initTestCase()
{
    const QDir root(QStringLiteral(OV3D_CORPUS));
    QFile table(root.filePath(QStringLiteral("corpus.json")));
    QVERIFY2(table.open(QIODevice::ReadOnly), qPrintable(table.fileName()));
    const QString format = qEnvironmentVariable("OV3D_TEST_FORMAT");
    const QJsonArray rows = QJsonDocument::fromJson(table.readAll()).array();
    std::vector<QStringList> arguments;
    for (const QJsonValue& value : rows) {
        File file;
        file.row = value.toObject();
        if (file.text("format") != format)
            continue;
        file.path = root.absoluteFilePath(file.text("file"));
        file.picture = m_folder.filePath(QStringLiteral("%1.png").arg(m_files.size()));
        arguments.push_back({QStringLiteral("render"), file.path, QStringLiteral("-o"), file.picture,
                             QStringLiteral("--size"), QStringLiteral("320x240"), QStringLiteral("--json")});
        m_files.push_back(file);
    }
    QVERIFY(!m_files.empty());
    const std::vector<WatchedRun> runs = runWatched(QStringLiteral(OV3D_PROGRAM), arguments);
    for (std::size_t i = 0; i < runs.size(); ++i)
        m_files[i].run = runs[i];
}

void Corpus::addRows() const
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < m_files.size(); ++i)
        QTest::newRow(qPrintable(m_files[i].text("file"))) << static_cast<int>(i);
}

const Corpus::File& Corpus::current() const
{
    QFETCH(int, index);
    return m_files[static_cast<std::size_t>(index)];
}

void Corpus::exitCodeIsTheOneInTheTable()
{
    const File& file = current();
    QVERIFY2(!file.run.isTimedOut, qPrintable(QStringLiteral("no answer within %1 ms").arg(kAnswerLimitMs)));
    QVERIFY2(file.run.signal == 0, qPrintable(QStringLiteral("the program crashed: signal %1").arg(file.run.signal)));
    const QByteArray found = "exit code " + QByteArray::number(file.run.exitCode) + " instead of " +
                             QByteArray::number(file.exitCode()) + ": " + file.run.errors;
    QVERIFY2(file.run.exitCode == file.exitCode(), found.constData());
}

void Corpus::oneLineNamesFileAndReason()
{
    const File& file = current();
    const QByteArray errors = file.run.errors;
    if (file.row.value(QLatin1String("words")).isNull()) {
        QCOMPARE(errors, QByteArray());
        return;
    }
    QVERIFY2(errors.endsWith('\n') && errors.count('\n') == 1, errors.constData());
    const QByteArray begin = "ov3d: " + file.path.toUtf8() + ": ";
    QVERIFY2(errors.startsWith(begin) && errors.size() > begin.size() + 5, errors.constData());
    // Behind the file's name, which often tells what is wrong with it.
    QVERIFY2(errors.mid(begin.size()).contains(file.text("words").toUtf8()), errors.constData());
    // A file that the checks know is refused before it can cost a renderer.
    QVERIFY2(!errors.contains("the renderer"), errors.constData());
}

void Corpus::reportSaysTheSame()
{
    const File& file = current();
    const QJsonObject report = file.report();
    QVERIFY(!report.isEmpty());
    QCOMPARE(report.value(QLatin1String("error")).isNull(), file.exitCode() == 0);
    const bool misses = file.exitCode() == 0 && !file.text("words").isEmpty();
    QCOMPARE(!report.value(QLatin1String("missing")).toArray().isEmpty(), misses);
    QString notes;
    for (const QJsonValue& note : report.value(QLatin1String("notes")).toArray())
        notes += note.toString() + QLatin1Char('\n');
    if (!file.text("notes").isEmpty())
        QVERIFY2(notes.contains(file.text("notes")), qPrintable(notes));
    if (!file.row.value(QLatin1String("broken")).toBool())
        QCOMPARE(notes.isEmpty(), file.text("notes").isEmpty());
}

void Corpus::pictureIsThere()
{
    const File& file = current();
    if (file.exitCode() == 3 || file.exitCode() == 4) {
        QVERIFY(!QFile::exists(file.picture));
        return;
    }
    const QImage image(file.picture);
    QCOMPARE(image.size(), QSize(320, 240));
    if (file.exitCode() == 1) {
        QCOMPARE(opaqueShare(image), 1.0); // the card
        return;
    }
    if (file.row.value(QLatin1String("least")).toDouble() <= 0)
        return; // nothing of it need show
    const double share = opaqueShare(image);
    const double least = file.row.value(QLatin1String("least")).toDouble();
    QVERIFY2(share >= least && share < 0.95, qPrintable(QStringLiteral("opaque share %1").arg(share)));
    QVERIFY(isNotAllBlack(image));
    QCOMPARE(keyColouredEdgePixels(image), 0);

    double above = -1;
    for (const QJsonValue& colour : file.row.value(QLatin1String("see")).toArray()) {
        const Spread spread = spreadOf(image, colour.toString() == QLatin1String("red") ? Hue::red : Hue::blue);
        QVERIFY2(spread.count > 20, qPrintable(QStringLiteral("no %1").arg(colour.toString())));
        QVERIFY2(spread.meanY > above, qPrintable(QStringLiteral("%1 stands too high").arg(colour.toString())));
        above = spread.meanY;
    }
}

void Corpus::memoryStaysUnderHalfOfTheMachines()
{
    const File& file = current();
    constexpr qint64 kLeast = 1 << 20; // or nothing has been measured
    QVERIFY(file.run.peakBytes > kLeast);
    QVERIFY2(file.run.peakBytes < halfOfTheMemory(),
             qPrintable(QStringLiteral("%1 megabytes").arg(file.run.peakBytes >> 20)));
}

void Corpus::noRendererIsLeft()
{
    const File& file = current();
    QCOMPARE(file.run.renderersLeft, 0);
    if (file.exitCode() == 3)
        QCOMPARE(file.run.renderersSeen, 0);
}

OV3D_TEST_MAIN(Corpus)
#include "corpus.moc"
