// Loads the built plug-in into a process that has only the second host library, and drives one item without a viewer.

#include "host/framework/framework.h"

#include <QApplication>
#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {

void require(bool holds, const char* rule)
{
    if (holds)
        return;
    std::fprintf(stderr, "hostsdk_check: does not hold: %s\n", rule);
    std::exit(1);
}

void checkRecord()
{
    CEL3DObjectParams written;
    written.view_type = 5;
    written.camera_values[5] = 2.5;
    written.command_text = "spin";
    CEL3DObjectParams readBack;
    require(CEffectLayerParams::fromJson(CEffectLayerParams::toJson(written), readBack), "a record reads its own text");
    require(readBack.view_type == 5 && readBack.camera_values[5] == 2.5 && readBack.command_text == "spin",
            "a record comes back as it was written");
}

void checkItem(COVRootObject* item)
{
    require(item->GetType() == 11600, "the item's type is 11600");
    require(item->getObjRect() == QRectF(0.0, 0.0, 1280.0, 960.0), "a new item is 1280 x 960");
    require(item->rectUpdates() > 0, "the constructor tells the host of its rectangle");

    QGraphicsScene scene;
    scene.addItem(item->GetGraphicsItemPtr());
    item->setSize(QSizeF(401.0, 301.0), true, false);
    require(item->getSize() == QSizeF(404.0, 301.0), "the width is raised to a multiple of four");
    require(item->handlePaths() > 0, "the outline goes to the host");
    require(item->notices().size() == 1 && item->notices().front().code == 1002, "the first frame is told once");

    item->setPos(QPointF(50.0, 60.0), true);
    require(item->getPos().isNull() && item->GetGraphicsItemPtr()->pos().isNull(), "setPos moves nothing");
    item->setObjRect(QRectF(50.0, 60.0, 404.0, 301.0));
    item->updateAfterObjRectChanged(item->GetGraphicsItemPtr(), true);
    require(item->GetGraphicsItemPtr()->pos() == QPointF(50.0, 60.0), "the rectangle moves the item");

    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::ReadWrite);
    require(item->GetSpecialProperty(104, stream), "property 104 is answered at any time");
    require(bytes.size() == 4, "property 104 is one 32-bit number");
    require(!item->GetSpecialProperty(101, stream), "property 101 waits for the viewer");
    require(!item->loadFromFile("/no/such/model.txt"), "an unknown suffix is refused");

    scene.removeItem(item->GetGraphicsItemPtr());
    item->Release();
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    require(argc == 2, "usage: hostsdk_check <libov3dobject.so.1>");
    checkRecord();

    // Without a framework the plug-in's log goes to the current directory.
    const QByteArray plugin = QFileInfo(QFile::decodeName(argv[1])).absoluteFilePath().toLocal8Bit();
    const QTemporaryDir folder;
    require(QDir::setCurrent(folder.path()), "there is a folder to work in");

    void* library = dlopen(plugin.constData(), RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr)
        std::fprintf(stderr, "%s\n", dlerror());
    require(library != nullptr, "the plug-in loads");
    auto create = reinterpret_cast<void* (*)(int, int, bool)>(dlsym(library, "_Z23createObject_ov3dobjectiib"));
    require(create != nullptr, "the factory is found by its mangled name");
    // CBaseObject is the item's first base, so both stand at the same address.
    checkItem(static_cast<CBaseObject*>(create(0, 0, false)));
    return 0;
}
