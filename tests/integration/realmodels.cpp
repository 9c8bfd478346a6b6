#include "tests/integration/corpusrun.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <vector>

/// Draws every real model of one format ($OV3D_TEST_FORMAT). realmodels.json lists the files that cannot be shown, with
/// the exit code and why, and those that cover less of the picture; a file that is listed there and can be shown after
/// all fails too.
class RealModels : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyModelIsAnswered_data() { addRows(); }
    void everyModelIsAnswered();
    void everyGoodModelIsDrawn_data() { addRows(); }
    void everyGoodModelIsDrawn();
    void memoryStaysUnderHalfOfTheMachines_data() { addRows(); }
    void memoryStaysUnderHalfOfTheMachines();
    void twoRunsGiveTheSameBytes();

private:
    struct Model
    {
        QString name; ///< relative to the folder of all models
        QString path;
        QString picture;
        QJsonObject exception;
        WatchedRun run;

        [[nodiscard]] int exitCode() const { return exception.value(QLatin1String("exit")).toInt(0); }
    };

    [[nodiscard]] static QStringList arguments(const QString& path, const QString& picture);
    void addRows() const;
    [[nodiscard]] const Model& current() const;

    const QString m_format = qEnvironmentVariable("OV3D_TEST_FORMAT");
    QTemporaryDir m_folder;
    std::vector<Model> m_models;
};

QStringList RealModels::arguments(const QString& path, const QString& picture)
{
    return {QStringLiteral("render"), path,
            QStringLiteral("-o"),     picture,
            QStringLiteral("--size"), QStringLiteral("640x480"),
            QStringLiteral("--json")};
}

void RealModels::initTestCase()
{
    QFile file(QStringLiteral(OV3D_EXCEPTIONS));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject exceptions = QJsonDocument::fromJson(file.readAll()).object();
    const QDir root(QStringLiteral(OV3D_REAL_MODELS));
    QStringList found;
    QDirIterator iterator(root.path(), QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        if (QFileInfo(path).suffix().toLower() == m_format)
            found << path;
    }
    found.sort();
    QVERIFY2(!found.isEmpty(), "no real models: is the package assimp-testmodels installed?");

    std::vector<QStringList> commands;
    for (const QString& path : qAsConst(found)) {
        const QString name = root.relativeFilePath(path);
        const QString picture = m_folder.filePath(QStringLiteral("%1.png").arg(m_models.size()));
        m_models.push_back({name, path, picture, exceptions.value(name).toObject(), {}});
        commands.push_back(arguments(path, picture));
    }
    const std::vector<WatchedRun> runs = runWatched(QStringLiteral(OV3D_PROGRAM), commands);
    for (std::size_t i = 0; i < runs.size(); ++i)
        m_models[i].run = runs[i];
}

void RealModels::addRows() const
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < m_models.size(); ++i)
        QTest::newRow(qPrintable(m_models[i].name)) << static_cast<int>(i);
}

const RealModels::Model& RealModels::current() const
{
    QFETCH(int, index);
    return m_models[static_cast<std::size_t>(index)];
}

void RealModels::everyModelIsAnswered()
{
    const Model& model = current();
    QVERIFY(!model.run.isTimedOut);
    QCOMPARE(model.run.signal, 0);
    QVERIFY2(model.run.exitCode == model.exitCode(), model.run.errors.constData());
    QCOMPARE(model.run.renderersLeft, 0);

    const QJsonObject report = QJsonDocument::fromJson(model.run.output).object();
    QCOMPARE(report.value(QLatin1String("error")).isNull(), model.exitCode() == 0);
    const bool misses = !report.value(QLatin1String("missing")).toArray().isEmpty();
    QCOMPARE(model.run.errors.count('\n'), model.exitCode() != 0 || misses ? 1 : 0);
    if (model.exitCode() == 0)
        return;
    QVERIFY2(model.run.errors.startsWith("ov3d: " + model.path.toUtf8() + ": "), model.run.errors.constData());
    const QString reason = model.exception.value(QLatin1String("reason")).toString();
    QVERIFY2(!reason.isEmpty() && model.run.errors.contains(reason.toUtf8()), model.run.errors.constData());
}

void RealModels::everyGoodModelIsDrawn()
{
    const Model& model = current();
    if (model.exitCode() != 0)
        return;
    const QImage image(model.picture);
    QCOMPARE(image.size(), QSize(640, 480));
    const double share = opaqueShare(image);
    if (model.exception.value(QLatin1String("blank")).toBool()) {
        QVERIFY(share < 0.001);
        return;
    }
    const double least = model.exception.value(QLatin1String("least_share")).toDouble(0.01);
    QVERIFY2(share >= least && share <= 0.90, qPrintable(QStringLiteral("opaque share %1").arg(share)));
    QVERIFY(isNotAllBlack(image));
    QCOMPARE(keyColouredEdgePixels(image), 0);
}

void RealModels::memoryStaysUnderHalfOfTheMachines()
{
    const Model& model = current();
    QVERIFY(model.run.peakBytes > 0);
    QVERIFY2(model.run.peakBytes < halfOfTheMemory(),
             qPrintable(QStringLiteral("%1 megabytes").arg(model.run.peakBytes >> 20)));
}

void RealModels::twoRunsGiveTheSameBytes()
{
    const auto good =
        std::find_if(m_models.begin(), m_models.end(), [](const Model& model) { return model.exitCode() == 0; });
    QVERIFY(good != m_models.end());
    const QString again = m_folder.filePath(QStringLiteral("again.png"));
    QCOMPARE(runProgram(QStringLiteral(OV3D_PROGRAM), arguments(good->path, again)).exitCode, 0);
    QFile first(good->picture);
    QFile second(again);
    QVERIFY(first.open(QIODevice::ReadOnly) && second.open(QIODevice::ReadOnly));
    QCOMPARE(first.readAll(), second.readAll());
}

OV3D_TEST_MAIN(RealModels)
#include "realmodels.moc"
