#pragma once

#include "host/framework/framework.h"

#include <QString>

namespace ov3d::apps {

/// The pages of a live document over its working folder, "resources/<n>/..." with a number an item.
///
/// Files that an item names outside its own folder are not taken: a model could name any file of the user's as its
/// texture, and it would leave the machine with the document. The entry then restores nothing.
class WorkingDocument : public COvDocument
{
public:
    using COvDocument::COvDocument;

    /// Any thread: items are loaded on the loader thread.
    void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName) override;

private:
    [[nodiscard]] QString relativePath(const QString& path) const;
};

} // namespace ov3d::apps
