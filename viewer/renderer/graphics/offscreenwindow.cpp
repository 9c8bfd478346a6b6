#include "viewer/renderer/graphics/offscreenwindow.h"

#include "viewer/renderer/graphics/eglcontext.h"

#include <vtkNew.h>
#include <vtkObject.h>
#include <vtkObjectFactory.h>
#include <vtkOutputWindow.h>
#include <vtk_glew.h>

namespace ov3d::renderer {
namespace {

/// Messages go to the log, which is nowhere unless somebody asks for it.
class LogOutput : public vtkOutputWindow
{
public:
    static LogOutput* New();
    vtkTypeMacro(LogOutput, vtkOutputWindow)

        protected : LogOutput()
    {
        this->SetDisplayModeToAlwaysStdErr();
    }
};
vtkStandardNewMacro(LogOutput)

} // namespace

vtkStandardNewMacro(OffscreenWindow)

    OffscreenWindow::OffscreenWindow()
{
    this->SetOffScreenRendering(1);
    this->SetShowWindow(false);
    this->SetUseOffScreenBuffers(true);
    this->SetFrameBlitModeToNoBlit();
    this->SetMultiSamples(0);
    this->SetSupportsOpenGL(1);
    this->SetIsDirect(1);
    this->SetIsCurrent(true);
    this->SetOwnContext(0);
}

void OffscreenWindow::setContext(EglContext* context)
{
    m_context = context;
}

void OffscreenWindow::OpenGLInitContext()
{
    if (this->Initialized)
        return;
    // The packaged GLEW is built for GLX and says that there is no display, after it has found all the functions.
    const GLenum result = glewInit();
    this->GlewInitValid = result == GLEW_OK || result == GLEW_ERROR_NO_GLX_DISPLAY;
    this->Initialized = this->GlewInitValid;
}

void OffscreenWindow::MakeCurrent()
{
    if (m_context)
        m_context->makeCurrent();
}

bool OffscreenWindow::IsCurrent()
{
    return m_context && m_context->isCurrent();
}

void silenceVtk()
{
    vtkNew<LogOutput> output;
    vtkOutputWindow::SetInstance(output);
}

} // namespace ov3d::renderer
