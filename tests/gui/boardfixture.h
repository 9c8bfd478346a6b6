#pragma once

#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"
#include "apps/common/environment.h"
#include "apps/common/workplace.h"
#include "apps/document/ov3dservices.h"
#include "tests/support/testbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QTest>

#include <cstdio>
#include <memory>
#include <utility>

#include <unistd.h>

/// A window with the real plug-in and the real viewer behind it.
class BoardFixture : public TestBase
{
    Q_OBJECT

protected:
    /// @return null when no document can be made.
    std::unique_ptr<ov3d::apps::BoardWindow> makeWindow()
    {
        QString error;
        auto file = COvDocumentFile::create(error);
        return file ? makeWindow(std::move(file)) : nullptr;
    }
    std::unique_ptr<ov3d::apps::BoardWindow> makeWindow(std::unique_ptr<COvDocumentFile> file)
    {
        return std::make_unique<ov3d::apps::BoardWindow>(
            ov3d::apps::BoardWindow::Services{m_plugin, m_streams, m_workplace.framework(),
                                              ov3d::apps::ov3dServices(m_plugin)},
            ov3d::apps::LiveDocument::fromFile(std::move(file), ov3d::apps::ov3dServices(m_plugin)));
    }

    /// Shows the window that the test functions use.
    bool showWindow() { return loadPlugin() && showWindow(makeWindow()); }
    bool loadPlugin()
    {
        if (!m_plugin.load(QStringLiteral(OV3D_PLUGIN)))
            return false;
        m_plugin.setViewer(&ov3dViewer);
        return true;
    }
    bool showWindow(std::unique_ptr<ov3d::apps::BoardWindow> window)
    {
        m_window = window.release();
        if (!m_window)
            return false;
        m_window->resize(1280, 800);
        m_window->show();
        m_window->activateWindow();
        return QTest::qWaitForWindowExposed(m_window);
    }

    static QString sample(const char* name)
    {
        return QDir(QStringLiteral(OV3D_SAMPLES)).absoluteFilePath(QString::fromLatin1(name));
    }

    [[nodiscard]] QWidget* viewport() const { return m_window->view()->viewport(); }
    [[nodiscard]] QImage page() const { return viewport()->grab().toImage(); }
    [[nodiscard]] QString status() const { return m_window->findChild<QLabel*>(QStringLiteral("statusText"))->text(); }
    [[nodiscard]] QPoint at(double x, double y) const { return m_window->view()->mapFromScene(QPointF(x, y)); }
    void press(int key, Qt::KeyboardModifiers modifiers) const { QTest::keyClick(m_window, Qt::Key(key), modifiers); }

    /// Waits until the viewer owes nothing and the page no longer changes.
    bool settle() const
    {
        QImage last;
        return waitFor(
            [&] {
                if (m_window->isLoading() || ov3dViewerPending() != 0)
                    return false;
                QTest::qWait(150); // longer than the item's pause between two frames
                const QImage now = page();
                const bool rests = now == last && ov3dViewerPending() == 0;
                last = now;
                return rests;
            },
            30000);
    }

    const QString m_folder = QDir::currentPath(); ///< before the workplace changes it
    ov3d::apps::StandardStreams m_streams;
    ov3d::apps::Workplace m_workplace;
    ov3d::apps::Plugin m_plugin;
    ov3d::apps::BoardWindow* m_window = nullptr;
};

/// The main function of a test with a window.
template <typename Test> [[noreturn]] void runBoardTest(int argc, char** argv)
{
    ov3d::apps::makeLocaleUtf8();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    auto* test = new Test;
    const int failures = QTest::qExec(test, argc, argv);
    std::fflush(nullptr);
    // As the program itself does: items need seconds to end, and the renderers end with this process.
    ::_exit(failures);
}
