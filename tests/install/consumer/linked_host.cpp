// A host that is linked with the plug-in. A position-independent program holds copies of the variables that it names,
// and the plug-in must use those.

#include "host/framework/framework.h"
#include "require.h"
#include "src/plugin/ov3dobject_shared_global.h"

#include <QApplication>
#include <QImage>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    g_progress = 42;
    COVRootObject* item = static_cast<CBaseObject*>(createObject_ov3dobject(0, 0, false));
    require(g_progress == 0, "the plug-in writes the program's g_progress");

    SetRunHandle([](int, const char**, void*) {});
    require(g_run_view != nullptr, "the plug-in writes the program's g_run_view");

    QImage image(4, 4, QImage::Format_RGB888);
    render3DObject(nullptr, image, 4, 4);
    require(g_3d_handle != nullptr && image.constBits() == g_3d_handle, "the plug-in writes the program's g_3d_handle");

    g_match = &argc;
    require(getOpenglMatch() == 0, "no match whatever the program keeps");
    item->Release();
    return 0;
}
