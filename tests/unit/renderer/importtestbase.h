#pragma once

#include "tests/support/testbase.h"
#include "tests/unit/renderer/gltffiles.h"
#include "tests/unit/renderer/importing.h"

#include <memory>

/// Base of tests that import whole files: every test function has an empty folder for them.
class ImportTestBase : public TestBase
{
    Q_OBJECT

protected:
    importing::ImportResult obj(const QByteArray& text)
    {
        return importing::importFile(*m_folder, "model.obj", text, kFormatObj);
    }

    importing::ImportResult gltf(const gltffiles::Builder& builder)
    {
        return importing::importFile(*m_folder, "model.gltf", builder.text(), kFormatGltf);
    }

    std::unique_ptr<ModelFolder> m_folder;

protected Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_folder = std::make_unique<ModelFolder>();
    }
};
