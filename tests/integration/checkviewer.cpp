#include "tests/integration/picturefacts.h"
#include "tests/support/brokenviewers/breaches.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QThreadPool>

#include <iterator>
#include <mutex>
#include <vector>

namespace {

constexpr int kCheckLimitMs = 600000;
constexpr int kChecksAtOnce = 6; // they wait most of the time

/// What a check of a variant of the flat viewer has to report.
struct Expectation
{
    const char* symbol;
    const char* failed; ///< the one rule that fails, or null
    const char* advice; ///< a rule that gets advice, or null
};

#define OV3D_BREACH(name, rule) Expectation{"flatViewer_" #name, rule, nullptr},
#define OV3D_HABIT(name, rule) Expectation{"flatViewer_" #name, nullptr, rule},
constexpr Expectation kNothing{"flatViewer", nullptr, nullptr};
constexpr Expectation kBreaches[] = {FLAT_VIEWER_BREACHES(OV3D_BREACH)};
constexpr Expectation kHabits[] = {FLAT_VIEWER_HABITS(OV3D_HABIT)};
#undef OV3D_BREACH
#undef OV3D_HABIT

ProgramRun check(const QString& library, const QString& symbol, const QStringList& more)
{
    return runProgram(QStringLiteral(OV3D_PROGRAM), QStringList{QStringLiteral("check-viewer"), library, symbol} + more,
                      QString(), kCheckLimitMs);
}

/// The rules of the lines that begin with a verdict.
QStringList rulesWith(const QByteArray& output, const char* verdict)
{
    QStringList rules;
    const QString begin = QString::fromLatin1(verdict) + QStringLiteral(": ");
    for (const QString& line : QString::fromUtf8(output).split(QLatin1Char('\n')))
        if (line.startsWith(begin))
            rules << line.mid(begin.size()).section(QLatin1Char(' '), 0, 0);
    return rules;
}

bool isAsExpected(const ProgramRun& run, const Expectation& expectation)
{
    const QStringList failed =
        expectation.failed ? QStringList{QString::fromLatin1(expectation.failed)} : QStringList();
    return run.exitCode == (expectation.failed ? 1 : 0) && rulesWith(run.output, "FAILED") == failed &&
           (!expectation.advice || rulesWith(run.output, "advice").contains(QString::fromLatin1(expectation.advice)));
}

} // namespace

/// "ov3d check-viewer" on our viewer, on the smallest viewer that keeps the contract, and on that one with each breach.
class CheckViewer : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void ourViewerKeepsEveryRule();
    void aViewerThatKeepsTheContractPasses();
    void eachBreachIsReportedUnderItsRuleAlone_data();
    void eachBreachIsReportedUnderItsRuleAlone();
    void whatHostsCanLiveWithGetsAdviceAndPasses_data();
    void whatHostsCanLiveWithGetsAdviceAndPasses();
    void jsonTellsEveryRule();
    void missingLibraryEndsWithItsName();
    void missingSymbolEndsWithItsName();
    void wrongWordsAreExplained_data();
    void wrongWordsAreExplained();

private:
    QMap<QString, ProgramRun> m_runs; ///< by symbol
};

/// All checks of the flat viewer's variants, side by side: one after the other would take a quarter of an hour. A
/// machine that is busy with other tests can make any program late by more than a rule allows, so a check that reported
/// something else is repeated, by itself and with more patience, and its second report is the one that counts.
void CheckViewer::initTestCase()
{
    std::vector<Expectation> all{kNothing};
    all.insert(all.end(), std::begin(kBreaches), std::end(kBreaches));
    all.insert(all.end(), std::begin(kHabits), std::end(kHabits));

    std::mutex mutex;
    QThreadPool pool;
    pool.setMaxThreadCount(kChecksAtOnce);
    for (const Expectation& expectation : all) {
        pool.start([this, &mutex, symbol = QString::fromLatin1(expectation.symbol)] {
            const ProgramRun run =
                check(QStringLiteral(OV3D_FLAT_VIEWER), symbol,
                      {QStringLiteral("--limit"), QStringLiteral("8"), QStringLiteral("--jobs"), QStringLiteral("10")});
            const std::lock_guard lock(mutex);
            m_runs.insert(symbol, run);
        });
    }
    pool.waitForDone();
    for (const Expectation& expectation : all) {
        ProgramRun& run = m_runs[QString::fromLatin1(expectation.symbol)];
        if (isAsExpected(run, expectation))
            continue;
        qInfo("%s is checked again; beside the others it came out as:\n%s", expectation.symbol, run.output.constData());
        run = check(QStringLiteral(OV3D_FLAT_VIEWER), QString::fromLatin1(expectation.symbol),
                    {QStringLiteral("--limit"), QStringLiteral("20"), QStringLiteral("--jobs"), QStringLiteral("10")});
    }
    QCOMPARE(m_runs.size(), static_cast<int>(all.size()));
}

void CheckViewer::ourViewerKeepsEveryRule()
{
    const ProgramRun run = check(QStringLiteral(OV3D_VIEWER), QStringLiteral("ov3dViewer"),
                                 {QStringLiteral("--jobs"), QStringLiteral("2")});
    QVERIFY2(rulesWith(run.output, "FAILED").isEmpty(), run.output.constData());
    QVERIFY2(rulesWith(run.output, "not checked").isEmpty(), run.output.constData());
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QVERIFY(rulesWith(run.output, "ok").contains(QStringLiteral("stop-busy")));
}

void CheckViewer::aViewerThatKeepsTheContractPasses()
{
    const ProgramRun run = m_runs.value(QStringLiteral("flatViewer"));
    QVERIFY2(rulesWith(run.output, "FAILED").isEmpty(), run.output.constData());
    QVERIFY2(rulesWith(run.output, "not checked").isEmpty(), run.output.constData());
    QCOMPARE(run.exitCode, 0);
}

void CheckViewer::eachBreachIsReportedUnderItsRuleAlone_data()
{
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QString>("rule");
    for (const Expectation& breach : kBreaches)
        QTest::newRow(breach.symbol) << QString::fromLatin1(breach.symbol) << QString::fromLatin1(breach.failed);
}

void CheckViewer::eachBreachIsReportedUnderItsRuleAlone()
{
    QFETCH(QString, symbol);
    QFETCH(QString, rule);
    const ProgramRun run = m_runs.value(symbol);
    QVERIFY2(rulesWith(run.output, "FAILED") == QStringList{rule}, run.output.constData());
    QCOMPARE(run.exitCode, 1);
}

void CheckViewer::whatHostsCanLiveWithGetsAdviceAndPasses_data()
{
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QString>("rule");
    for (const Expectation& habit : kHabits)
        QTest::newRow(habit.symbol) << QString::fromLatin1(habit.symbol) << QString::fromLatin1(habit.advice);
}

void CheckViewer::whatHostsCanLiveWithGetsAdviceAndPasses()
{
    QFETCH(QString, symbol);
    QFETCH(QString, rule);
    const ProgramRun run = m_runs.value(symbol);
    QVERIFY2(rulesWith(run.output, "FAILED").isEmpty(), run.output.constData());
    QVERIFY2(rulesWith(run.output, "advice").contains(rule), run.output.constData());
    QCOMPARE(run.exitCode, 0);
}

void CheckViewer::jsonTellsEveryRule()
{
    const ProgramRun run = check(QStringLiteral(OV3D_FLAT_VIEWER), QStringLiteral("flatViewer_KeyOffByOne"),
                                 {QStringLiteral("--json"), QStringLiteral("--jobs"), QStringLiteral("10")});
    QCOMPARE(run.exitCode, 1);
    const QJsonObject report = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(report.value(QLatin1String("symbol")).toString(), QStringLiteral("flatViewer_KeyOffByOne"));
    QCOMPARE(report.value(QLatin1String("passed")).toBool(true), false);
    QStringList failed;
    const QJsonArray rules = report.value(QLatin1String("rules")).toArray();
    for (const QJsonValue& rule : rules)
        if (rule[QLatin1String("verdict")].toString() == QLatin1String("failed"))
            failed << rule[QLatin1String("rule")].toString();
    QCOMPARE(failed, QStringList{QStringLiteral("key-colour")});
    QCOMPARE(rules.size(),
             QString::fromUtf8(m_runs.value(QStringLiteral("flatViewer")).output).count(QLatin1Char('\n')));
}

void CheckViewer::missingLibraryEndsWithItsName()
{
    const ProgramRun run = check(QStringLiteral("/no/such/library.so"), QStringLiteral("viewer"), {});
    QCOMPARE(run.exitCode, 4);
    QVERIFY2(run.errors.contains("/no/such/library.so"), run.errors.constData());
    QCOMPARE(run.output, QByteArray());
}

void CheckViewer::missingSymbolEndsWithItsName()
{
    const ProgramRun run = check(QStringLiteral(OV3D_FLAT_VIEWER), QStringLiteral("noSuchViewer"), {});
    QCOMPARE(run.exitCode, 4);
    QVERIFY2(run.errors.contains("noSuchViewer"), run.errors.constData());
}

void CheckViewer::wrongWordsAreExplained_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("no symbol") << QStringList{QStringLiteral("a.so")} << QByteArray("needs a library and the name");
    QTest::newRow("too many names") << QStringList{QStringLiteral("a.so"), QStringLiteral("b"), QStringLiteral("c")}
                                    << QByteArray("needs a library and the name");
    QTest::newRow("limit of zero") << QStringList{QStringLiteral("a.so"), QStringLiteral("b"),
                                                  QStringLiteral("--limit"), QStringLiteral("0")}
                                   << QByteArray("the option --limit needs a whole number");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("a.so"), QStringLiteral("b"),
                                                   QStringLiteral("--fast")}
                                    << QByteArray("unknown option --fast");
}

void CheckViewer::wrongWordsAreExplained()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, reason);
    const ProgramRun run =
        runProgram(QStringLiteral(OV3D_PROGRAM), QStringList{QStringLiteral("check-viewer")} + words);
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.errors.contains(reason), run.errors.constData());
}

OV3D_TEST_MAIN(CheckViewer)
#include "checkviewer.moc"
