/// An editor in one file, written from docs/embedding.md and docs/host-contract.md: it shows a model on a page and
/// writes the page as a picture.
///
///     editor MODEL PICTURE [VIEWER_LIBRARY SYMBOL]
///
/// Without a viewer's name the one that it was linked with draws.

#include "host/framework/framework.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

namespace {

using ViewerFunction = void (*)(int argc, const char** argv, void* context);

constexpr int kMostMs = 120000; // for the picture in final quality
const QSizeF kSize(400, 300);

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "editor: %s\n", what);
    std::exit(1);
}

template <typename Pointer> Pointer resolve(void* library, const char* symbol)
{
    void* found = library ? dlsym(library, symbol) : nullptr;
    if (!found)
        std::fprintf(stderr, "%s\n", dlerror());
    require(found != nullptr, symbol);
    return reinterpret_cast<Pointer>(found);
}

void* open(const QString& path)
{
    return dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
}

/// A folder of the program's own: the plug-in demands that its working folder has a "resources" in it.
void makeWorkplace(const QTemporaryDir& folder, COvProgramFramework& framework)
{
    require(folder.isValid() && QDir(folder.path()).mkdir(QStringLiteral("resources")), "there is a working folder");
    require(QDir::setCurrent(folder.path()) && framework.paths().setFolder(folder.path()), "it can be used");
    SetFramework(&framework);
}

/// Lets the item's frames come until our viewer owes none; another viewer gets a second for its picture at rest.
void awaitPicture(bool isOurs)
{
    QElapsedTimer clock;
    clock.start();
    const auto isDone = [&] { return isOurs ? ov3dViewerPending() == 0 : clock.elapsed() > 1000; };
    while (!isDone() && clock.elapsed() < kMostMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    require(isDone(), "the picture comes");
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    require(argc == 3 || argc == 5, "usage: editor MODEL PICTURE [VIEWER_LIBRARY SYMBOL]");
    const QString model = QFileInfo(arguments[1]).absoluteFilePath();
    const QString picture = QFileInfo(arguments[2]).absoluteFilePath();
    ViewerFunction viewer = &ov3dViewer;
    if (argc == 5)
        viewer = resolve<ViewerFunction>(open(QFileInfo(arguments[3]).absoluteFilePath()), argv[4]);

    const QTemporaryDir folder;
    COvProgramFramework framework;
    makeWorkplace(folder, framework);

    void* plugin = open(QStringLiteral(PLUGIN));
    resolve<void (*)(ViewerFunction)>(plugin, "_Z12SetRunHandlePFviPPKcPvE")(viewer);
    const auto create = resolve<void* (*)(int, int, bool)>(plugin, "_Z23createObject_ov3dobjectiib");

    COvPage page(nullptr, kSize);
    auto* item = static_cast<CBaseObject*>(create(0, 0, false));
    page.addObject(item);
    item->setSize(kSize, false, false);
    require(static_cast<COVRootObject*>(item)->loadFromFile(model), "the model is shown");
    awaitPicture(viewer == &ov3dViewer);

    QImage image(kSize.toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    page.scene()->render(&painter, QRectF(QPointF(), kSize), QRectF(QPointF(), kSize));
    painter.end();
    require(image.save(picture), "the picture can be written");
    return 0; // the page releases its item
}
