#pragma once

#include <vtkGenericOpenGLRenderWindow.h>

namespace ov3d::renderer {

class EglContext;

/// VTK's window over a context of ours: nothing is ever shown, the picture is read back.
class OffscreenWindow : public vtkGenericOpenGLRenderWindow
{
public:
    static OffscreenWindow* New();
    vtkTypeMacro(OffscreenWindow, vtkGenericOpenGLRenderWindow)

        /// The context outlives the window.
        void setContext(EglContext* context);

    void OpenGLInitContext() override;
    void MakeCurrent() override;
    bool IsCurrent() override;

protected:
    OffscreenWindow();

private:
    EglContext* m_context = nullptr;
};

/// Keeps VTK's messages away from the terminal. Call once, before anything else of VTK.
void silenceVtk();

} // namespace ov3d::renderer
