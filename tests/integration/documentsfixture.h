#pragma once

#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// A test of documents through the command line, in a folder of its own that stands in for a person's home.
class DocumentsFixture : public TestBase
{
    Q_OBJECT

protected:
    [[nodiscard]] QString at(const QString& name) const { return m_folder->filePath(name); }

    /// @param folder  the folder that the program is called in; the test's own without one.
    [[nodiscard]] ProgramRun run(const QStringList& arguments, const QString& folder = {}) const
    {
        return runProgram(QStringLiteral(OV3D_PROGRAM), arguments, folder.isEmpty() ? m_folder->path() : folder);
    }
    /// @param words  as a person types them, a blank between two.
    [[nodiscard]] ProgramRun run(const QString& words) const { return run(words.split(QLatin1Char(' '))); }

    /// Makes a document with the samples of these names, a page each.
    void make(const QString& document, const QStringList& samples) const
    {
        QStringList words{QStringLiteral("new"), document};
        for (const QString& sample : samples)
            words << QStringLiteral(OV3D_SAMPLES "/") + sample;
        const ProgramRun made = run(words);
        QVERIFY2(made.exitCode == 0, made.errors.constData());
    }

    /// Writes a file and the folders above it. @return false when that fails.
    [[nodiscard]] bool write(const QString& name, const QByteArray& content) const
    {
        const QString path = at(name);
        QFile file(path);
        return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
               file.write(content) == content.size();
    }
    [[nodiscard]] QByteArray bytesOf(const QString& name) const
    {
        QFile file(at(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;

protected Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_folder = std::make_unique<QTemporaryDir>();
        // A person's own folders, for the working folders of documents and the program's data.
        qputenv("XDG_CACHE_HOME", QFile::encodeName(at(QStringLiteral("cache"))));
        qputenv("XDG_DATA_HOME", QFile::encodeName(at(QStringLiteral("data"))));
    }
    void cleanup()
    {
        m_folder.reset();
        TestBase::cleanup();
    }
};
