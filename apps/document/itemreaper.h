#pragma once

class CBaseObject;

namespace ov3d::apps {

/// Disposes of an item that is in no scene and in no load, on a thread of its own: Release() takes 0.3 s, and up to six
/// seconds after a load. GUI thread; returns at once. A program that ends does not wait for it.
void reapItem(CBaseObject* item);

/// How many items have been handed over and are not gone yet. Any thread.
int itemsBeingReaped();

} // namespace ov3d::apps
