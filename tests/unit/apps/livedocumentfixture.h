#pragma once

#include "apps/document/itemreaper.h"
#include "apps/document/livedocument.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTest>

#include <cstring>
#include <memory>

namespace ov3d::apps {

inline constexpr QSizeF kPageSize(1000, 800);
inline constexpr QRectF kFrame(100, 50, 400, 300);

/// A view that no fitting would give.
inline OV3DOBJECT::SceneStatus someView()
{
    OV3DOBJECT::SceneStatus status{};
    auto* numbers = reinterpret_cast<double*>(&status);
    for (std::size_t i = 0; i < sizeof status / sizeof(double); ++i)
        numbers[i] = 0.25 + static_cast<double>(i);
    return status;
}

inline bool isSame(const OV3DOBJECT::SceneStatus& one, const OV3DOBJECT::SceneStatus& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

/// Open documents with the plug-in's own items and a scripted viewer, for tests.
class LiveDocumentFixture : public TestBase
{
    Q_OBJECT

protected:
    DocumentServices services()
    {
        return {[this] {
                    auto* item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
                    m_items << item;
                    return item;
                },
                [this](const QString&, const std::function<void(const QString&)>& file, const std::function<bool()>&) {
                    for (const QString& name : m_sideFiles)
                        file(name);
                    return true;
                },
                [this] { m_fixture->viewer.allowFirstDraw(); }};
    }
    std::unique_ptr<LiveDocument> create()
    {
        QString error;
        auto document = LiveDocument::create(services(), error);
        if (!document)
            qWarning("%s", qPrintable(error));
        else
            document->addPage(kPageSize);
        return document;
    }
    std::unique_ptr<LiveDocument> open(bool isLoaded = true)
    {
        QString error;
        auto document = LiveDocument::open(path(), services(), error);
        if (!document) {
            qWarning("%s", qPrintable(error));
            return document;
        }
        if (isLoaded) {
            document->loadAll();
            document->loader().finishAll();
        }
        return document;
    }
    COv3DObject* insert(LiveDocument& document, const QString& model, const QRectF& frame = kFrame)
    {
        CBaseObject* arrived = nullptr;
        QString error;
        document.insertModel(*document.pages().page(0), model, frame, [&](CBaseObject* item, const QString& reason) {
            arrived = item;
            error = reason;
        });
        document.loader().finishAll();
        if (!arrived)
            qWarning("%s", qPrintable(error));
        return static_cast<COv3DObject*>(arrived);
    }
    /// Ends a document without the six seconds that its items would take.
    void close(std::unique_ptr<LiveDocument>& document)
    {
        for (const QPointer<COv3DObject>& item : m_items) {
            if (item)
                item->m_loadTimer.invalidate();
        }
        document.reset();
        QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
    }
    void save(LiveDocument& document)
    {
        QString error;
        QVERIFY2(document.save(path(), error), qPrintable(error));
    }
    [[nodiscard]] QByteArray savedBytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString model(const QString& name)
    {
        return m_fixture->writeFile(QStringLiteral("originals/") + name, QByteArray("content of ") + name.toUtf8());
    }
    [[nodiscard]] QString path() const { return m_fixture->folder() + QStringLiteral("page.ovb"); }
    static COv3DObject* itemAt(LiveDocument& document, int index)
    {
        return dynamic_cast<COv3DObject*>(document.items().value(index));
    }
    static QStringList resources(LiveDocument& document)
    {
        return QDir(document.working().root() + QStringLiteral("/resources"))
            .entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<ItemFixture> m_fixture;
    QList<QPointer<COv3DObject>> m_items;
    QStringList m_sideFiles;

protected Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture = std::make_unique<ItemFixture>();
        m_items.clear();
        m_sideFiles.clear();
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_fixture->folder() + QStringLiteral("cache")));
        m_fixture->viewer.setCommandResult(0);
    }
    void cleanup()
    {
        QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
        m_fixture.reset();
        TestBase::cleanup();
    }
};

} // namespace ov3d::apps
