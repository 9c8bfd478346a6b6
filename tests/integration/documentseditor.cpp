/// An editor without a window, for what takes more than one process: it makes a document as a person would, copies the
/// first item of a document into a file, and pastes such a file into a new document. All paths are absolute.
///
///     document_editor make MODEL DOCUMENT BEFORE.png AFTER.png key=value...
///     document_editor copy DOCUMENT CLIP
///     document_editor paste CLIP DOCUMENT
///
/// `make` draws its page before the changes and after them, and saves then.

#include "apps/cli/itemchanges.h"
#include "apps/common/plugin.h"
#include "apps/common/workplace.h"
#include "apps/document/livedocument.h"
#include "apps/document/ov3dservices.h"
#include "apps/document/pagepicture.h"

#include <QApplication>
#include <QFile>
#include <QThread>

#include <cstdio>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

constexpr QSize kPageSize(1920, 1080);
constexpr QRectF kItemFrame(320, 60, 1280, 960);

void settle()
{
    while (ov3dViewerPending() > 0) {
        QCoreApplication::processEvents();
        QThread::msleep(4);
    }
}

bool draw(COvPage& page, const QString& picture)
{
    settle();
    return paintPage(page, kPageSize, Qt::transparent).save(picture);
}

QString make(const Plugin& plugin, const QStringList& words)
{
    QString error;
    ItemChanges changes;
    if (!parseItemChanges(words.mid(4), changes, error))
        return error;
    auto document = LiveDocument::create(ov3dServices(plugin), error);
    if (!document)
        return error;
    COvPage* page = document->addPage(kPageSize);
    CBaseObject* item = nullptr;
    document->insertModel(*page, words[0], kItemFrame, [&item, &error](CBaseObject* arrived, const QString& reason) {
        item = arrived;
        error = reason;
    });
    document->loader().finishAll();
    if (!item)
        return error;
    if (!draw(*page, words[2]))
        return words[2];
    if (error = applyItemChanges(*item, changes); !error.isEmpty())
        return error;
    if (!draw(*page, words[3]))
        return words[3];
    document->save(words[1], error);
    return error;
}

QString copy(const Plugin& plugin, const QString& path, const QString& clip)
{
    QString error;
    auto document = LiveDocument::open(path, ov3dServices(plugin), error);
    if (!document)
        return error;
    document->loadAll();
    document->loader().finishAll();
    settle();
    const QByteArray bytes = document->copyItems({document->items().value(0)}, error);
    QFile file(clip);
    if (error.isEmpty() && (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()))
        error = file.errorString();
    return error;
}

QString paste(const Plugin& plugin, const QString& clip, const QString& path)
{
    QFile file(clip);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    QString error;
    auto document = LiveDocument::create(ov3dServices(plugin), error);
    if (!document)
        return error;
    QString refusal;
    const auto arrival = [&refusal](CBaseObject*, const QString& reason) { refusal = reason; };
    error = document->pasteItems(*document->addPage(kPageSize), file.readAll(), {}, arrival);
    document->loader().finishAll();
    settle();
    if (error.isEmpty() && refusal.isEmpty())
        document->save(path, error);
    return error + refusal;
}

QString run(const Plugin& plugin, const QStringList& words)
{
    const QString verb = words.value(0);
    if (verb == QLatin1String("make") && words.size() >= 5)
        return make(plugin, words.mid(1));
    if (verb == QLatin1String("copy") && words.size() == 3)
        return copy(plugin, words[1], words[2]);
    if (verb == QLatin1String("paste") && words.size() == 3)
        return paste(plugin, words[1], words[2]);
    return QStringLiteral("wrong usage");
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("document_editor"));
    Plugin plugin;
    Workplace workplace;
    QString error = workplace.error();
    if (error.isEmpty() && !plugin.load(QStringLiteral(OV3D_PLUGIN)))
        error = plugin.error();
    if (error.isEmpty()) {
        plugin.setViewer(&ov3dViewer);
        error = run(plugin, QApplication::arguments().mid(1));
    }
    if (!error.isEmpty())
        std::fprintf(stderr, "%s\n", qPrintable(error));
    workplace.cleanUp();
    ::_exit(error.isEmpty() ? 0 : 1);
}
