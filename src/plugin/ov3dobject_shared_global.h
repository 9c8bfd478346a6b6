#pragma once

/// Everything that a host reaches directly: six functions and sixteen variables, resolved by their mangled names. The
/// parameter lists are part of those names and never change. Variables carry no lock; set them before the first item
/// loads a model.

#include <QMap>
#include <QString>

class QImage;

#define OV3DOBJECT_EXPORT __attribute__((visibility("default")))

using RunViewFunction = void (*)(int argc, const char** argv, void* ctx);
using RenderHook = int (*)();
using ImageRenderFunction = void (*)(char* arg, unsigned char* pixels, int width, int height);

/// Creates one 3D object item (a COv3DObject) that the caller disposes of through Release(). The arguments change
/// nothing. GUI thread.
OV3DOBJECT_EXPORT void* createObject_ov3dobject(int, int, bool);

/// Registers the external viewer function, before any model is loaded. A later call replaces it for all future calls.
OV3DOBJECT_EXPORT void SetRunHandle(void (*run)(int, const char**, void*));

/// Call the host's hooks and return their results; 0 when none is set.
OV3DOBJECT_EXPORT int beginRender3DObject();
OV3DOBJECT_EXPORT int endRender3DObject();

/// Off-screen rendering through `g_image_render`: `width` x `height` pixels of 8-bit RGB.
///
/// Does nothing unless `image` has as many pixels as asked for. Afterwards `image` wraps the buffer `g_3d_handle`
/// without owning it: the next call overwrites it, or frees it when the buffer grows; copy what is needed longer.
/// Widths that are multiples of four are the supported case. Not reentrant.
OV3DOBJECT_EXPORT void render3DObject(char* arg, QImage& image, int width, int height);

/// @return 0, always; `g_match` is not consulted.
OV3DOBJECT_EXPORT int getOpenglMatch();

OV3DOBJECT_EXPORT extern RunViewFunction g_run_view;
OV3DOBJECT_EXPORT extern RenderHook g_begin_render;
OV3DOBJECT_EXPORT extern RenderHook g_end_render;
OV3DOBJECT_EXPORT extern ImageRenderFunction g_image_render;
OV3DOBJECT_EXPORT extern unsigned char* g_3d_handle;   ///< the pixels of render3DObject
OV3DOBJECT_EXPORT extern void* g_match;                ///< storage for the host, read by nothing here
OV3DOBJECT_EXPORT extern void* g_run;                  ///< the same
OV3DOBJECT_EXPORT extern int cntx;                     ///< the same
OV3DOBJECT_EXPORT extern QString g_app_path;           ///< application folder
OV3DOBJECT_EXPORT extern QString g_app_path_log;       ///< path of the log file
OV3DOBJECT_EXPORT extern QMap<QString, int> g_dir_map; ///< resource directory names handed out so far
OV3DOBJECT_EXPORT extern int g_dirNum;                 ///< number appended to the next repeated directory name
OV3DOBJECT_EXPORT extern int g_progress;               ///< percent of the current load; 100 once it has ended
OV3DOBJECT_EXPORT extern int g_object_id;              ///< serial of the latest viewer run
OV3DOBJECT_EXPORT extern int whell_call;               ///< wheel events so far
OV3DOBJECT_EXPORT extern bool m_pyramidUpdate;         ///< whether frames may be reduced before they are analysed
