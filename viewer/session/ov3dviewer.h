#pragma once

/// The viewer library: the viewer function that a host registers with the plug-in, and a few plain functions for hosts
/// that want more than that contract. Nothing of the contract depends on the others.

#include <functional>

#define OV3DVIEWER_EXPORT __attribute__((visibility("default")))

/// The viewer function (docs/viewer-contract.md). `context` is a ViewContext.
///
/// argc 1: becomes the session of that view context and returns once it has been stopped; call it on a thread of its
/// own. argc 0: takes over what changed in the context, updates `scene_status`, and returns without waiting for a
/// picture; any thread, never two at once for one context. Never throws. A call for an address without a session does
/// nothing; a start at an address that still has a session ends that one first.
extern "C" OV3DVIEWER_EXPORT void ov3dViewer(int argc, const char** argv, void* context);

/// Starts a renderer that waits for the next load, and keeps one waiting from now on. Any thread; returns at once.
OV3DVIEWER_EXPORT void ov3dViewerPrepare();

/// How many sessions still owe a picture: asked for, to be refined, or not yet taken. Raised before a synchronous call
/// of the viewer function returns. A turning turntable owes nothing. Any thread.
OV3DVIEWER_EXPORT int ov3dViewerPending();

/// Receives one JSON object (UTF-8 text) an event; an empty function ends it. Called on any thread, one call at a time.
///
///     { "run": 3, "model": "/a/b.glb", "event": "shown" | "card" | "missing" | "restarted" | "note",
///       "reason": "plain words, or empty", "files": ["names", ...], "notes": ["plain words", ...] }
///
/// `run` is the context's `object_id`.
OV3DVIEWER_EXPORT void ov3dViewerSetObserver(std::function<void(const char* json)> observer);

/// Calls `file` for each file that the model needs (paths relative to the model's folder, "/" between, UTF-8), without
/// drawing it. Blocks on a renderer process of its own. @return false when the model could not be read.
OV3DVIEWER_EXPORT bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file);

/// The same; `failure` is called with the reason when the model could not be read: the rest of a sentence that begins
/// with the file's name, UTF-8.
OV3DVIEWER_EXPORT bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file,
                                           const std::function<void(const char* reason)>& failure);

/// The same; `cancelled` is asked several times a second, on a thread of its own, until the listing ends. Once it
/// answers true, the renderer is ended and the listing fails.
OV3DVIEWER_EXPORT bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file,
                                           const std::function<void(const char* reason)>& failure,
                                           const std::function<bool()>& cancelled);

/// Draws a model into width * height * 3 bytes of RGB, rows from top to bottom without padding: the function for a
/// host's `g_image_render`. `arg` is a JSON text (docs/viewer-contract.md) that names the model, its settings and the
/// camera. With default settings the background is the key colour, for the host to key out; another `bg_color` gives an
/// opaque picture.
///
/// What cannot be drawn becomes a card that says why. Does nothing without pixels or with a size that is not positive.
/// Any thread, several at once; blocks while a renderer process of its own reads and draws. Never throws.
OV3DVIEWER_EXPORT void ov3dViewerRenderImage(char* arg, unsigned char* pixels, int width, int height);

/// Ends the load of a run (`object_id`) with a card at once. Does nothing when the run is unknown or its first picture
/// has been drawn. Any thread.
OV3DVIEWER_EXPORT void ov3dViewerAbandon(int run);
