#pragma once

#include "src/render/drawbyopengl.h"
#include "tests/support/singleitemtestbase.h"

#include <QImage>
#include <QString>

/// Base of tests in which the item's render thread really runs. What the viewer's runs shall do is set before the
/// start.
class RunTestBase : public SingleItemTestBase
{
protected:
    /// Starts an item's render thread as a load of that model does.
    static void start(COv3DObject* item, const QString& modelPath = QStringLiteral("x.stl"))
    {
        item->m_drawThread->m_modelPath = modelPath;
        item->m_drawThread->startRunning();
        item->m_drawThread->startDraw(1280, 960);
    }

    /// Runs do not set `first_draw` before ScriptedViewer::allowFirstDraw().
    void withholdFirstDraw()
    {
        ScriptedViewer::Script script;
        script.setsFirstDraw = false;
        m_fixture->viewer.setScript(script);
    }

    /// Runs set `first_draw` although no frame waits.
    void withholdFirstFrame()
    {
        ScriptedViewer::Script script;
        script.sendsFirstFrame = false;
        m_fixture->viewer.setScript(script);
    }

    void setFirstFrame(const QImage& frame)
    {
        ScriptedViewer::Script script;
        script.firstFrame = frame;
        m_fixture->viewer.setScript(script);
    }
};
