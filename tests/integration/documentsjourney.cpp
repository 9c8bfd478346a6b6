#include "tests/integration/documentsjourney.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

constexpr int kLimitMs = 300'000;

/// Runs a program that has a home of its own. Through env, since the processes of several threads differ in it.
ProgramRun runAt(const QString& home, const QString& program, const QStringList& arguments)
{
    const QStringList words{QStringLiteral("XDG_CACHE_HOME=%1/cache").arg(home),
                            QStringLiteral("XDG_DATA_HOME=%1/data").arg(home), program};
    QDir().mkpath(home);
    return runProgram(QStringLiteral("/usr/bin/env"), words + arguments, home, kLimitMs);
}

} // namespace

QJsonObject Journey::item() const
{
    const QJsonObject document = QJsonDocument::fromJson(told.output).object();
    const QJsonObject page = document[QLatin1String("pages")].toArray()[0].toObject();
    return page[QLatin1String("items")].toArray()[0].toObject();
}

void travel(Journey& journey, const QString& folder)
{
    const QString here = folder + QStringLiteral("/here");
    const QString document = here + QStringLiteral("/first.ovb");
    const QString before = folder + QStringLiteral("/before.png");
    const QString after = folder + QStringLiteral("/after.png");
    const QString originals = folder + QStringLiteral("/originals");
    journey.made = runAt(
        here, QStringLiteral(OV3D_EDITOR),
        QStringList{QStringLiteral("make"), originals + QLatin1Char('/') + journey.model, document, before, after} +
            journey.changes);
    journey.before = QImage(before);
    journey.after = QImage(after);
    if (journey.made.exitCode != 0)
        return;

    const QString elsewhere = folder + QStringLiteral("/elsewhere/deep");
    const QString carried = elsewhere + QStringLiteral("/second.ovb");
    QDir().mkpath(elsewhere);
    journey.isDeleted =
        QDir(originals).removeRecursively() && QFile::rename(document, carried) && QDir(here).removeRecursively();
    const QString arrived = folder + QStringLiteral("/arrived.png");
    const QString program = QStringLiteral(OV3D_PROGRAM);
    journey.drawn = runAt(elsewhere, program,
                          {QStringLiteral("render"), QStringLiteral("second.ovb"), QStringLiteral("-o"), arrived});
    journey.told =
        runAt(elsewhere, program, {QStringLiteral("info"), QStringLiteral("--json"), QStringLiteral("second.ovb")});
    journey.arrived = QImage(arrived);
}

void travelAll(std::vector<Journey>& journeys, const QString& folder)
{
    // More than there are processors: an item's threads sleep much of the time.
    const std::size_t workers = std::min<std::size_t>(journeys.size(), std::thread::hardware_concurrency() + 1);
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < workers; ++i) {
        threads.emplace_back([&] {
            for (std::size_t mine = next++; mine < journeys.size(); mine = next++)
                travel(journeys[mine], QStringLiteral("%1/%2").arg(folder).arg(mine));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
