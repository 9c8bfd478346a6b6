#include "tests/unit/document/documentfixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <random>

void DocumentTestBase::init()
{
    TestBase::init();
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CACHE_HOME", QFile::encodeName(file(QStringLiteral("cache"))));
}

void DocumentTestBase::cleanup()
{
    m_folder.reset();
    TestBase::cleanup();
}

QStringList DocumentTestBase::workingFolders() const
{
    return QDir(workPlace()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

QStringList DocumentTestBase::namesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qCritical("cannot write %s", qUtf8Printable(path));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no such file>");
}

QByteArray noise(int count, quint32 seed)
{
    std::mt19937 generator(seed);
    QByteArray bytes(count, 0);
    for (int i = 0; i < count; i += 4) {
        const auto word = static_cast<quint32>(generator());
        std::memcpy(bytes.data() + i, &word, static_cast<std::size_t>(std::min(4, count - i)));
    }
    return bytes;
}

OvDocumentContent contentWith(const QStringList& files)
{
    OvDocumentItem item;
    item.model = files.value(0);
    item.files = files;
    OvDocumentPage page;
    page.size = QSizeF(1920.0, 1080.0);
    page.items.append(item);
    OvDocumentContent content;
    content.pages.append(page);
    return content;
}

QByteArray emptyContentText()
{
    return "{ \"format\": \"ov3d-document\", \"version\": 1, \"pages\": [] }";
}
