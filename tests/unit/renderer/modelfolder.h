#pragma once

#include "tests/unit/renderer/modelfiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

/// A folder of model files that goes away with the test.
class ModelFolder
{
public:
    [[nodiscard]] QString path(const QString& relative) const { return m_folder.filePath(relative); }

    /// Writes a file, with the folders above it. @return its path.
    QString write(const QString& relative, const QByteArray& bytes)
    {
        const QString target = path(relative);
        QDir().mkpath(QFileInfo(target).path());
        QFile file(target);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write a test file");
        return target;
    }

    /// The cube of many colours with its material library.
    QString writeCube()
    {
        write("colours.mtl", modelfiles::cubeMtl());
        return write("cube.obj", modelfiles::cubeObj());
    }

private:
    QTemporaryDir m_folder;
};
