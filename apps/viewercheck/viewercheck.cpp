#include "apps/viewercheck/viewercheck.h"

#include "apps/viewercheck/check.h"
#include "apps/viewercheck/checkprocess.h"
#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testmodels.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <vector>

#include <dlfcn.h>
#include <poll.h>

namespace ov3d::viewercheck {

namespace {

constexpr int kLookIntervalMs = 50;

/// A file of this name wins over what the dynamic linker would look for.
QByteArray nameForLinker(const QString& library)
{
    const QFileInfo file(library);
    return QFile::encodeName(file.isFile() ? file.absoluteFilePath() : library);
}

/// @return null, with `why` saying why.
ViewerFunction load(const Options& options, std::string& why)
{
    void* library = dlopen(nameForLinker(options.library).constData(), RTLD_NOW | RTLD_LOCAL);
    void* symbol = library ? dlsym(library, options.symbol.toUtf8().constData()) : nullptr;
    if (!symbol) {
        const char* error = dlerror();
        why = error ? error : "the symbol is null";
    }
    return reinterpret_cast<ViewerFunction>(symbol);
}

/// A host always has one; without a display, and with no options of the user's.
void makeApplication()
{
    static char name[] = "ov3d";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    new QApplication(count, arguments); // never deleted: the process ends without destructors
}

/// @return why the library cannot be loaded, or an empty text.
QString tryToLoad(const Options& options)
{
    Findings ignored;
    CheckProcess process(
        [&options](int report) {
            makeApplication();
            std::string why;
            Check check(nullptr, TestModels(), options.limit, report);
            check.step(Rule::firstFrame, load(options, why) ? "" : why);
        },
        options.limit, ignored);
    while (process.isRunning()) {
        pollfd entry = {process.descriptor(), POLLIN, 0};
        poll(&entry, 1, kLookIntervalMs);
        process.serve();
    }
    if (!process.fault().empty())
        return QStringLiteral("loading it: the process %1").arg(QString::fromStdString(process.fault()));
    return process.last() ? QString::fromUtf8(process.last()->text) : QStringLiteral("loading it ended the process");
}

CheckProcess begin(Scenario scenario, const Options& options, const TestModels& models, Findings& findings)
{
    return CheckProcess(
        [&](int report) {
            makeApplication();
            std::string why;
            Check check(load(options, why), models, options.limit, report);
            scenario(check);
        },
        options.limit, findings);
}

void runAll(const std::vector<Scenario>& all, const Options& options, const TestModels& models, Findings& findings)
{
    std::vector<CheckProcess> running;
    auto next = all.begin();
    while (next != all.end() || !running.empty()) {
        while (next != all.end() && static_cast<int>(running.size()) < std::max(1, options.jobs))
            running.push_back(begin(*next++, options, models, findings));
        std::vector<pollfd> entries;
        for (const CheckProcess& process : running)
            entries.push_back({process.descriptor(), POLLIN, 0});
        poll(entries.data(), entries.size(), kLookIntervalMs);
        std::vector<CheckProcess> left;
        for (CheckProcess& process : running) {
            process.serve();
            if (process.isRunning())
                left.push_back(std::move(process));
        }
        running.swap(left);
    }
}

} // namespace

QString checkViewer(const Options& options, Findings& findings)
{
    if (const QString why = tryToLoad(options); !why.isEmpty())
        return why;
    const QTemporaryDir folder;
    TestModels models;
    if (!folder.isValid() || !writeTestModels(folder.path(), models))
        return QStringLiteral("no models can be written to the temporary folder");

    // Whoever draws no first frame would keep every other stretch waiting for one.
    const std::vector<Scenario>& all = scenarios();
    runAll({all.front()}, options, models, findings);
    if (findings.of(Rule::firstFrame).verdict != Verdict::failed)
        runAll({all.begin() + 1, all.end()}, options, models, findings);
    return {};
}

} // namespace ov3d::viewercheck
