#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

/// Draws every real model of one format ($OV3D_TEST_FORMAT). realmodels.json lists the files that cannot be shown, with
/// the exit code and why, and those that cover less of the picture; a file that is listed there and can be shown after
/// all fails too.
class RealModels : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void thereAreModels();
    void everyModelIsDrawn_data();
    void everyModelIsDrawn();
    void twoRunsGiveTheSameBytes();

private:
    [[nodiscard]] QStringList models() const;
    [[nodiscard]] ProgramRun render(const QString& model, const QString& picture) const;

    const QString m_format = qEnvironmentVariable("OV3D_TEST_FORMAT");
    QTemporaryDir m_folder;
};

QStringList RealModels::models() const
{
    QStringList found;
    QDirIterator iterator(QStringLiteral(OV3D_REAL_MODELS), QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        if (QFileInfo(path).suffix().toLower() == m_format)
            found << path;
    }
    found.sort();
    return found;
}

ProgramRun RealModels::render(const QString& model, const QString& picture) const
{
    return runProgram(QStringLiteral(OV3D_PROGRAM),
                      {QStringLiteral("render"), model, QStringLiteral("-o"), picture, QStringLiteral("--size"),
                       QStringLiteral("640x480"), QStringLiteral("--json")});
}

void RealModels::thereAreModels()
{
    QVERIFY2(!models().isEmpty(), "no real models: is the package assimp-testmodels installed?");
}

void RealModels::everyModelIsDrawn_data()
{
    QFile file(QStringLiteral(OV3D_EXCEPTIONS));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject exceptions = QJsonDocument::fromJson(file.readAll()).object();
    const QDir root(QStringLiteral(OV3D_REAL_MODELS));

    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<double>("leastShare");
    QTest::addColumn<bool>("isBlank");
    const QStringList paths = models();
    for (const QString& path : paths) {
        const QString name = root.relativeFilePath(path);
        const QJsonObject exception = exceptions.value(name).toObject();
        QTest::newRow(qPrintable(name)) << path << exception.value(QLatin1String("exit")).toInt(0)
                                        << exception.value(QLatin1String("least_share")).toDouble(0.01)
                                        << exception.value(QLatin1String("blank")).toBool();
    }
}

void RealModels::everyModelIsDrawn()
{
    QFETCH(QString, path);
    QFETCH(int, exitCode);
    QFETCH(double, leastShare);
    QFETCH(bool, isBlank);

    const QString picture = m_folder.filePath(QStringLiteral("picture.png"));
    QFile::remove(picture);
    const ProgramRun run = render(path, picture);
    QVERIFY2(run.exitCode == exitCode, run.errors.constData());

    const QJsonObject report = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(report.value(QLatin1String("error")).isNull(), exitCode == 0);
    if (exitCode != 0)
        return;

    const QImage image(picture);
    QCOMPARE(image.size(), QSize(640, 480));
    const double share = opaqueShare(image);
    if (isBlank) {
        QVERIFY(share < 0.001);
        return;
    }
    QVERIFY2(share >= leastShare && share <= 0.90, qPrintable(QStringLiteral("opaque share %1").arg(share)));
    QVERIFY(isNotAllBlack(image));
    QCOMPARE(keyColouredEdgePixels(image), 0);
}

void RealModels::twoRunsGiveTheSameBytes()
{
    QString model;
    const QStringList paths = models();
    for (const QString& path : paths) {
        if (render(path, m_folder.filePath(QStringLiteral("first.png"))).exitCode == 0) {
            model = path;
            break;
        }
    }
    QVERIFY(!model.isEmpty());
    QCOMPARE(render(model, m_folder.filePath(QStringLiteral("second.png"))).exitCode, 0);
    QFile first(m_folder.filePath(QStringLiteral("first.png")));
    QFile second(m_folder.filePath(QStringLiteral("second.png")));
    QVERIFY(first.open(QIODevice::ReadOnly) && second.open(QIODevice::ReadOnly));
    QCOMPARE(first.readAll(), second.readAll());
}

OV3D_TEST_MAIN(RealModels)
#include "realmodels.moc"
