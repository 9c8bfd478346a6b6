#include "tests/integration/corpusrun.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <map>
#include <random>

#include <signal.h>

/// Renderers killed at random moments of a load: there is always an answer.
class Kills : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everyKilledLoadIsAnswered_data();
    void everyKilledLoadIsAnswered();
};

namespace {

constexpr int kLoads = 25; ///< a row; two rows are fifty
constexpr int kMostRounds = 40;

/// Ends the renderers of one run at moments that were drawn beforehand.
class Killer
{
public:
    Killer(std::vector<int> moments)
        : m_moments(std::move(moments))
    {
    }

    /// @return whether a renderer has been ended.
    bool look(const std::vector<int>& renderers)
    {
        if (renderers.empty() || m_kills == static_cast<int>(m_moments.size()))
            return false;
        // Each renderer's time counts from its own first sight.
        if (renderers.back() != m_pid) {
            m_pid = renderers.back();
            m_sinceSeen.start();
            m_isKilled = false;
        }
        if (m_isKilled || m_sinceSeen.elapsed() < m_moments[static_cast<std::size_t>(m_kills)])
            return false;
        ::kill(m_pid, SIGKILL);
        m_isKilled = true;
        ++m_kills;
        return true;
    }

    [[nodiscard]] int kills() const { return m_kills; }

private:
    std::vector<int> m_moments; ///< milliseconds after a renderer has been seen, one a kill
    int m_kills = 0;
    int m_pid = 0;
    bool m_isKilled = false;
    QElapsedTimer m_sinceSeen;
};

} // namespace

void Kills::everyKilledLoadIsAnswered_data()
{
    QTest::addColumn<int>("killsOfALoad");
    QTest::newRow("once in each load") << 1;
    QTest::newRow("twice in each load") << 2;
}

void Kills::everyKilledLoadIsAnswered()
{
    QFETCH(int, killsOfALoad);
    QTemporaryDir folder;
    const auto argumentsOf = [&](std::size_t number) {
        return QStringList{QStringLiteral("render"), QStringLiteral(OV3D_SAMPLES "/sample.glb"),
                           QStringLiteral("-o"),     folder.filePath(QStringLiteral("%1.png").arg(number)),
                           QStringLiteral("--size"), QStringLiteral("320x240")};
    };

    // How long a renderer lives in an undisturbed run on this machine, now.
    QElapsedTimer sinceSeen;
    const std::vector<WatchedRun> undisturbed = runWatched(QStringLiteral(OV3D_PROGRAM), {argumentsOf(0)}, 1,
                                                           [&](std::size_t, int, const std::vector<int>& renderers) {
                                                               if (!renderers.empty() && !sinceSeen.isValid())
                                                                   sinceSeen.start();
                                                           });
    QVERIFY2(undisturbed.front().exitCode == 0, undisturbed.front().errors.constData());
    QVERIFY(sinceSeen.isValid());
    const int lifetime = static_cast<int>(sinceSeen.elapsed());

    bool isGiven = false;
    unsigned seed = qEnvironmentVariable("OV3D_TEST_SEED").toUInt(&isGiven);
    if (!isGiven)
        seed = std::random_device()();
    std::printf("seed %u (OV3D_TEST_SEED repeats it), a renderer lives about %d ms\n", seed, lifetime);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> moment(0, lifetime);

    // A moment can lie behind the end of a load: such a load is no case of this test, and another one takes its place.
    int answered = 0;
    int shown = 0;
    for (int round = 0; answered < kLoads && round < kMostRounds; ++round) {
        std::vector<QStringList> arguments;
        std::map<std::size_t, Killer> killers;
        for (int i = 0; i < 2 * runsAtOnce(); ++i) {
            std::vector<int> moments(static_cast<std::size_t>(killsOfALoad));
            for (int& each : moments)
                each = moment(random);
            killers.emplace(arguments.size(), Killer(moments));
            arguments.push_back(argumentsOf(arguments.size() + 1));
        }
        const std::vector<WatchedRun> runs = runWatched(
            QStringLiteral(OV3D_PROGRAM), arguments, runsAtOnce(),
            [&](std::size_t run, int, const std::vector<int>& renderers) { killers.at(run).look(renderers); });
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const QByteArray words = "load " + QByteArray::number(answered) + " of seed " + QByteArray::number(seed) +
                                     ": exit code " + QByteArray::number(runs[i].exitCode) + ", " + runs[i].errors;
            QVERIFY2(!runs[i].isTimedOut && runs[i].signal == 0, words.constData());
            QVERIFY2(runs[i].exitCode == 0 || runs[i].exitCode == 1, words.constData());
            QVERIFY2(runs[i].errors.count('\n') == runs[i].exitCode, words.constData());
            QCOMPARE(runs[i].renderersLeft, 0);
            const QImage image(folder.filePath(QStringLiteral("%1.png").arg(i + 1)));
            QVERIFY2(isNotAllBlack(image), words.constData());
            QFile::remove(folder.filePath(QStringLiteral("%1.png").arg(i + 1)));
            if (killers.at(i).kills() == 0)
                continue;
            ++answered;
            shown += runs[i].exitCode == 0 ? 1 : 0;
            // One loss is made good.
            if (killers.at(i).kills() == 1)
                QVERIFY2(runs[i].exitCode == 0, words.constData());
        }
    }
    std::printf("%d loads with killed renderers: %d shown, %d cards\n", answered, shown, answered - shown);
    QVERIFY(answered >= kLoads);
}

OV3D_TEST_MAIN(Kills)
#include "kills.moc"
