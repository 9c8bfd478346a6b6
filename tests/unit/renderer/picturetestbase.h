#pragma once

#include "tests/support/testbase.h"
#include "tests/unit/renderer/modelfolder.h"

#include <QScopedPointer>

/// Base of tests that draw models: every test function has an empty folder for them.
class PictureTestBase : public TestBase
{
    Q_OBJECT

protected:
    QScopedPointer<ModelFolder> m_folder;

protected Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_folder.reset(new ModelFolder);
    }

    void cleanup()
    {
        m_folder.reset();
        TestBase::cleanup();
    }
};
