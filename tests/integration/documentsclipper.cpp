/// Copies the first item of a document into a file, or pastes such a file into a new document: one of two programs that
/// share a clipboard.
///
///     document_clipper copy DOCUMENT CLIP
///     document_clipper paste CLIP DOCUMENT

#include "apps/common/plugin.h"
#include "apps/common/workplace.h"
#include "apps/document/livedocument.h"
#include "apps/document/ov3dservices.h"

#include <QApplication>
#include <QFile>
#include <QThread>

#include <cstdio>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

void settle()
{
    while (ov3dViewerPending() > 0) {
        QCoreApplication::processEvents();
        QThread::msleep(4);
    }
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
    error = document->pasteItems(*document->addPage(QSizeF(1920, 1080)), file.readAll(), {}, arrival);
    document->loader().finishAll();
    settle();
    if (error.isEmpty() && refusal.isEmpty())
        document->save(path, error);
    return error + refusal;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("document_clipper"));
    const QStringList words = QApplication::arguments();
    Plugin plugin;
    Workplace workplace;
    QString error = workplace.error();
    if (error.isEmpty() && !plugin.load(QStringLiteral(OV3D_PLUGIN)))
        error = plugin.error();
    if (error.isEmpty()) {
        plugin.setViewer(&ov3dViewer);
        error = words.value(1) == QLatin1String("copy") ? copy(plugin, words.value(2), words.value(3))
                                                        : paste(plugin, words.value(2), words.value(3));
    }
    if (!error.isEmpty())
        std::fprintf(stderr, "%s\n", qPrintable(error));
    workplace.cleanUp();
    ::_exit(error.isEmpty() ? 0 : 1);
}
