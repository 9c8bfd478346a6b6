#pragma once

#include "apps/common/plugin.h"
#include "apps/document/documentservices.h"
#include "apps/document/viewerrun.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>

namespace ov3d::apps {

/// The services of a program that uses our viewer library. Header only, so that documents themselves need no viewer.
/// @param plugin  outlives the services.
inline DocumentServices ov3dServices(const Plugin& plugin)
{
    DocumentServices services;
    services.createItem = [&plugin] { return plugin.createItem(); };
    services.listFiles = [](const QString& model, const std::function<void(const QString&)>& file,
                            const std::function<bool()>& cancelled) {
        return ov3dViewerListFiles(
            QFile::encodeName(model).constData(), [&file](const char* name) { file(QString::fromUtf8(name)); }, {},
            cancelled);
    };
    services.abandonLoad = [] {
        if (const int run = lastViewerRun(); run > 0)
            ov3dViewerAbandon(run);
    };
    return services;
}

} // namespace ov3d::apps
