#include "tests/unit/host/documenttestbase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

void DocumentTestBase::writeFile(const QString& path, const QByteArray& bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

void DocumentTestBase::store(const QString& name, const QString& directory)
{
    storePath(m_source + name, directory);
}

void DocumentTestBase::storePath(QString path, QString directory)
{
    m_document->transferResourceFile(m_entries, path, QStringLiteral("3D_OBJECT_KEY"), true, directory);
}

QString DocumentTestBase::restore(int index, QString path)
{
    QJsonArray rest;
    for (int i = index; i < m_entries.size(); ++i)
        rest.append(m_entries.at(i));
    QString directory;
    m_document->transferResourceFile(rest, path, QStringLiteral("3D_OBJECT_KEY"), false, directory);
    return path;
}

void DocumentTestBase::init()
{
    TestBase::init();
    m_folder = std::make_unique<QTemporaryDir>();
    m_source = m_folder->path() + QStringLiteral("/from");
    m_document = std::make_unique<COvDocument>(m_folder->path() + QStringLiteral("/document"));
    m_entries = QJsonArray();
}

void DocumentTestBase::cleanup()
{
    m_document.reset();
    m_folder.reset();
    TestBase::cleanup();
}
