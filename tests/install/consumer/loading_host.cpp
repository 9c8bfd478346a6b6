// A host that loads the plug-in at run time and knows nothing of it but the mangled names: loading_host <library>

#include "host/framework/framework.h"
#include "require.h"

#include <QApplication>
#include <QMap>

#include <dlfcn.h>

namespace {

void* g_library = nullptr;

template <typename T> T* resolve(const char* name)
{
    void* symbol = dlsym(g_library, name);
    require(symbol != nullptr, name);
    return reinterpret_cast<T*>(symbol);
}

bool contextWasGiven = false;

void viewer(int, const char**, void* context)
{
    contextWasGiven = context != nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    require(argc == 2, "usage: loading_host <library>");
    g_library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!g_library)
        std::fprintf(stderr, "%s\n", dlerror());
    require(g_library != nullptr, "the library loads");
    require(dlsym(g_library, "_Z4testNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE") == nullptr,
            "the log is not exported");
    require(dlsym(g_library, "g_3d_handle_size") == nullptr, "the buffer's size is not exported");

    using RunFunction = void (*)(int, const char**, void*);
    resolve<void(RunFunction)>("_Z12SetRunHandlePFviPPKcPvE")(&viewer);
    require(*resolve<RunFunction>("g_run_view") == &viewer, "SetRunHandle fills g_run_view");

    auto** beginHook = resolve<int (*)()>("g_begin_render");
    auto* begin = resolve<int()>("_Z19beginRender3DObjectv");
    require(begin() == 0, "without hook 0");
    *beginHook = [] { return 7; };
    require(begin() == 7, "the hook's answer");
    *resolve<int (*)()>("g_end_render") = [] { return 8; };
    require(resolve<int()>("_Z17endRender3DObjectv")() == 8, "the other hook's answer");
    require(resolve<int()>("_Z14getOpenglMatchv")() == 0, "no match");

    *resolve<void (*)(char*, unsigned char*, int, int)>("g_image_render") = [](char*, unsigned char* pixels, int, int) {
        pixels[0] = 99;
    };
    QImage image(8, 2, QImage::Format_RGB888);
    resolve<void(char*, QImage&, int, int)>("_Z14render3DObjectPcR6QImageii")(nullptr, image, 8, 2);
    require(image.constBits() == *resolve<unsigned char*>("g_3d_handle"), "the picture is the exported buffer");
    require(qRed(image.pixel(0, 0)) == 99, "the hook draws into it");

    int* progress = resolve<int>("g_progress");
    *progress = 5;
    // The factory answers the address of the item's first base.
    COVRootObject* item =
        static_cast<CBaseObject*>(resolve<void*(int, int, bool)>("_Z23createObject_ov3dobjectiib")(1, 2, true));
    require(*progress == 0, "a new item resets the progress");
    require(item->GetType() == 11600, "the item's type");
    require(!item->loadFromFile("model.txt"), "an unknown suffix is refused");
    require(*progress == 100, "a refusal ends the load");
    item->Release();
    require(!contextWasGiven, "a viewer that was never ready gets no stop request");

    require(resolve<QMap<QString, int>>("g_dir_map")->isEmpty(), "no directory names yet");
    require(*resolve<QString>("g_app_path") == QString(), "no framework, no path");
    require(!resolve<QString>("g_app_path_log")->isEmpty(), "the refusal was logged");
    for (const char* name : {"cntx", "g_dirNum", "g_object_id", "whell_call"})
        require(*resolve<int>(name) == 0, name);
    require(*resolve<void*>("g_match") == nullptr && *resolve<void*>("g_run") == nullptr, "storage for the host");
    require(*resolve<bool>("m_pyramidUpdate"), "frames may be reduced");

    require(dlclose(g_library) == 0, "the library may be closed");
    require(*progress == 100, "and stays all the same");
    return 0;
}
