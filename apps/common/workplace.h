#pragma once

#include "apps/common/linkfolder.h"
#include "apps/common/privatefolder.h"
#include "host/framework/framework.h"

namespace ov3d::apps {

/// What the plug-in needs around it: a private data folder that is the current directory and holds "resources", and a
/// host framework that answers that folder. Made once the application object exists and after every path of the command
/// line has been made absolute. GUI thread.
class Workplace
{
public:
    Workplace();

    /// Why there is no workplace; empty when there is one.
    [[nodiscard]] QString error() const { return m_error; }
    [[nodiscard]] QString folder() const { return m_folder.path(); }
    [[nodiscard]] COvProgramFramework& framework() { return m_framework; }
    [[nodiscard]] LinkFolder& links() { return m_links; }

    /// Removes what is not to stay; for programs that end without destructors.
    void cleanUp();

private:
    PrivateFolder m_folder;
    LinkFolder m_links;
    COvProgramFramework m_framework;
    QString m_error;
};

} // namespace ov3d::apps
