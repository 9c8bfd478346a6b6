#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/progress.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/support/zerobytes.h"

#include <QTest>

#include <cstring>

namespace {

struct Field
{
    const char* name;
    std::size_t offset;
    std::size_t size;
};

#define OV3D_FIELD(field) offsetof(ViewContext, field), sizeof(ViewContext::field)

/// What the records' declaration gives, next to what a separately built viewer expects.
const struct
{
    Field declared;
    std::size_t offset;
    std::size_t size;
} kLayout[] = {
    {{"op", OV3D_FIELD(op)}, 0, 4},
    {{"width", OV3D_FIELD(width)}, 4, 4},
    {{"height", OV3D_FIELD(height)}, 8, 4},
    {{"frame_width", OV3D_FIELD(frame_width)}, 12, 4},
    {{"frame_height", OV3D_FIELD(frame_height)}, 16, 4},
    {{"frame_buffer", OV3D_FIELD(frame_buffer)}, 24, 8},
    {{"model_path", OV3D_FIELD(model_path)}, 32, 256},
    {{"command_text", OV3D_FIELD(command_text)}, 32, 256},
    {{"mouse_type", OV3D_FIELD(mouse_type)}, 288, 4},
    {{"mouse_x", OV3D_FIELD(mouse_x)}, 292, 4},
    {{"mouse_y", OV3D_FIELD(mouse_y)}, 296, 4},
    {{"mouse_modifiers", OV3D_FIELD(mouse_modifiers)}, 300, 4},
    {{"mouse_buttons", OV3D_FIELD(mouse_buttons)}, 304, 4},
    {{"mouse_button", OV3D_FIELD(mouse_button)}, 308, 4},
    {{"mouse_count", OV3D_FIELD(mouse_count)}, 312, 4},
    {{"wheel_dx", OV3D_FIELD(wheel_dx)}, 316, 4},
    {{"wheel_dy", OV3D_FIELD(wheel_dy)}, 320, 4},
    {{"mouse_pending", OV3D_FIELD(mouse_pending)}, 324, 1},
    {{"view_settings", OV3D_FIELD(view_settings)}, 328, 8},
    {{"display_settings", OV3D_FIELD(display_settings)}, 336, 8},
    {{"material_settings", OV3D_FIELD(material_settings)}, 344, 8},
    {{"lighting_settings", OV3D_FIELD(lighting_settings)}, 352, 8},
    {{"first_draw", OV3D_FIELD(first_draw)}, 360, 1},
    {{"camera_settings", OV3D_FIELD(camera_settings)}, 368, 8},
    {{"is_history", OV3D_FIELD(is_history)}, 376, 1},
    {{"object_id", OV3D_FIELD(object_id)}, 380, 4},
    {{"scene_status", OV3D_FIELD(scene_status)}, 392, 376},
    {{"status_saved", OV3D_FIELD(status_saved)}, 769, 1},
    {{"file_list", OV3D_FIELD(file_list)}, 776, 2048},
    {{"progress_callback", OV3D_FIELD(progress_callback)}, 2824, 8},
    {{"app_path", OV3D_FIELD(app_path)}, 2832, 512},
    {{"model_format", OV3D_FIELD(model_format)}, 3344, 4},
    {{"result", OV3D_FIELD(result)}, 3348, 4},
    {{"command_result", OV3D_FIELD(command_result)}, 3348, 4},
};

#undef OV3D_FIELD

template <typename Number> Number numberAt(const ViewContext& context, std::size_t offset)
{
    Number value;
    std::memcpy(&value, reinterpret_cast<const char*>(&context) + offset, sizeof value);
    return value;
}

/// An absolute path of exactly that many characters that ends in ".stl"; no file is needed there.
QString pathOfLength(int length)
{
    return QLatin1Char('/') + QString(length - 5, QLatin1Char('p')) + QStringLiteral(".stl");
}

} // namespace

class ViewContextTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fieldsStandWhereViewersReadThem_data()
    {
        QTest::addColumn<quint64>("offset");
        QTest::addColumn<quint64>("size");
        QTest::addColumn<quint64>("expectedOffset");
        QTest::addColumn<quint64>("expectedSize");
        for (const auto& row : kLayout)
            QTest::newRow(row.declared.name) << quint64(row.declared.offset) << quint64(row.declared.size)
                                             << quint64(row.offset) << quint64(row.size);
    }

    void fieldsStandWhereViewersReadThem()
    {
        QFETCH(quint64, offset);
        QFETCH(quint64, size);
        QTEST(offset, "expectedOffset");
        QTEST(size, "expectedSize");
    }

    void recordsHaveTheirExactSizes()
    {
        QCOMPARE(sizeof(ViewContext), std::size_t{3352});
        QCOMPARE(alignof(ViewContext), std::size_t{8});
        QCOMPARE(sizeof(OV3DOBJECT::SceneStatus), std::size_t{376});
        QCOMPARE(alignof(OV3DOBJECT::SceneStatus), std::size_t{8});
        QCOMPARE(sizeof(OV3DOBJECT::SceneStatus), 47 * sizeof(double));
    }

    void operationCodesAreTheContracts()
    {
        QCOMPARE(int(kOperationStop), -1);
        QCOMPARE(int(kOperationStart), 1);
        QCOMPARE(int(kOperationInput), 2);
        QCOMPARE(int(kOperationRedraw), 3);
        QCOMPARE(int(kOperationApplyViewType), 4);
        QCOMPARE(int(kOperationRestore), 5);
    }

    void mouseRecordTypesAreTheContracts()
    {
        QCOMPARE(int(kMouseButtonDown), 1);
        QCOMPARE(int(kMouseDrag), 2);
        QCOMPARE(int(kMouseButtonUp), 3);
        QCOMPARE(int(kMouseWheel), 4);
    }

    void newContextHoldsTheInitialValuesAndZeros()
    {
        COv3DObject* item = m_fixture->createItem();
        ViewContext context;
        std::memcpy(&context, &item->m_context, sizeof context);
        QCOMPARE(context.width, 1280);
        QCOMPARE(context.height, 960);
        QCOMPARE(context.status_saved, std::uint8_t{1});
        QCOMPARE(context.model_format, -1);
        QCOMPARE(context.result, -1);

        context.width = 0;
        context.height = 0;
        context.status_saved = 0;
        context.model_format = 0;
        context.result = 0;
        QVERIFY(isZero(&context, sizeof context));
    }

    void runBeginsWithAPreparedContext()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QCOMPARE(m_fixture->viewer.starts().size(), std::size_t{1});
        const ViewContext context = m_fixture->viewer.starts().front().context;
        QCOMPARE(context.op, 1);
        QCOMPARE(context.object_id, 1);
        QCOMPARE(context.width, 1280);
        QCOMPARE(context.height, 960);
        QCOMPARE(context.frame_width, -1);
        QVERIFY(context.frame_buffer);
        QCOMPARE(context.first_draw, std::uint8_t{0});
        QCOMPARE(context.is_history, std::uint8_t{0});
        QCOMPARE(context.model_format, 3);
        QCOMPARE(QByteArray(context.model_path), (m_fixture->folder() + QStringLiteral("model.stl")).toLocal8Bit());
        QCOMPARE(QByteArray(context.app_path), m_fixture->folder().toLocal8Bit());
    }

    void settingsPointersLeadToTheThreadsBlocks()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        const ViewContext context = m_fixture->viewer.starts().front().context;
        QVERIFY(context.view_settings == &item->m_drawThread->m_viewSettings);
        QVERIFY(context.display_settings == &item->m_drawThread->m_displaySettings);
        QVERIFY(context.material_settings == &item->m_drawThread->m_materialSettings);
        QVERIFY(context.lighting_settings == &item->m_drawThread->m_lightingSettings);
    }

    void cameraPointerLeadsIntoTheParameterRecord()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_cameraSettings.camera_position[0] = 1.5;
        item->m_cameraSettings.camera_position[1] = -2.5;
        item->m_cameraSettings.camera_position[2] = 1e300;
        QVERIFY(m_fixture->load(item));
        const ScriptedViewer::Call start = m_fixture->viewer.starts().front();
        QCOMPARE(reinterpret_cast<quintptr>(start.context.camera_settings),
                 reinterpret_cast<quintptr>(&item->m_params) + 264);
        QCOMPARE(start.camera.camera_id, 0);
        QCOMPARE(start.camera.camera_values[0], 0.0);
        QCOMPARE(start.camera.camera_values[1], 90.0);
        QCOMPARE(start.camera.camera_values[2], 90.0);
        QCOMPARE(start.camera.camera_values[3], -180.0);
        QCOMPARE(start.camera.camera_position[0], 1.5);
        QCOMPARE(start.camera.camera_position[1], -2.5);
        QCOMPARE(start.camera.camera_position[2], 1e300);
    }

    void progressCallbackIsTheFreeFunctionItself()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        const ViewContext context = m_fixture->viewer.starts().front().context;
        QVERIFY(reinterpret_cast<void*>(context.progress_callback) == reinterpret_cast<void*>(&::updateProcess));
    }

    void viewerAlwaysGetsTheItemsOwnContext()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        item->forcedraw();
        QVERIFY(m_fixture->viewer.starts().front().contextAddress == &item->m_context);
        QVERIFY(m_fixture->viewer.callCount() > 0);
        for (const ScriptedViewer::Call& call : m_fixture->viewer.calls())
            QVERIFY(call.contextAddress == &item->m_context);
    }

    void startHasOneArgumentAndCallsHaveNone()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        item->forcedraw();
        const ScriptedViewer::Call start = m_fixture->viewer.starts().front();
        QCOMPARE(start.argc, 1);
        QCOMPARE(start.firstArgument, QByteArray("./"));
        const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
        QCOMPARE(call.argc, 0);
        QVERIFY(!call.hasArgv);
    }

    void everyRunHasASerialOfItsOwn()
    {
        g_object_id = 41;
        COv3DObject* first = m_fixture->createItem();
        COv3DObject* second = m_fixture->createItem();
        QVERIFY(m_fixture->load(first));
        QVERIFY(m_fixture->load(second));
        QCOMPARE(first->m_context.object_id, 42);
        QCOMPARE(second->m_context.object_id, 43);
        QCOMPARE(g_object_id, 43);
    }

    void modelPathIsCutAt256BytesWithoutATerminator_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("copied");
        QTest::newRow("255 bytes leave room for the zero") << 255 << 255;
        QTest::newRow("256 bytes fill the field") << 256 << 256;
        QTest::newRow("300 bytes are cut short") << 300 << 256;
    }

    void modelPathIsCutAt256BytesWithoutATerminator()
    {
        QFETCH(int, length);
        QFETCH(int, copied);
        COv3DObject* item = m_fixture->createItem();
        std::memset(item->m_context.model_path, 0x7f, sizeof item->m_context.model_path);
        const QString path = pathOfLength(length);
        QVERIFY(item->loadFromFile(path));
        const ViewContext context = m_fixture->viewer.starts().front().context;
        QCOMPARE(QByteArray(context.model_path, copied), path.toLocal8Bit().left(copied));
        QVERIFY(isZero(context.model_path + copied, sizeof context.model_path - std::size_t(copied)));
        QCOMPARE(context.mouse_type, 0); // the next field
    }

    void modelPathIsInTheLocalEncoding()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString path = QString::fromUtf8("/Größe/模型 1.stl");
        QVERIFY(item->loadFromFile(path));
        QCOMPARE(QByteArray(m_fixture->viewer.starts().front().context.model_path), path.toLocal8Bit());
    }

    void framesAreReadWithRowsPaddedToFourBytes_data()
    {
        QTest::addColumn<int>("width");
        QTest::newRow("one byte of padding") << 5;
        QTest::newRow("two bytes of padding") << 6;
        QTest::newRow("three bytes of padding") << 7;
        QTest::newRow("no padding") << 8;
    }

    void framesAreReadWithRowsPaddedToFourBytes()
    {
        QFETCH(int, width);
        QImage frame(width, 3, QImage::Format_RGB888);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < width; ++x)
                frame.setPixelColor(x, y, QColor(10 * x + 1, 60 * y + 2, 100 + x + 8 * y));
        }
        ScriptedViewer::Script script;
        script.firstFrame = frame;
        m_fixture->viewer.setScript(script);
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QImage result;
        item->m_drawThread->getResultImage(result);
        QCOMPARE(result.convertToFormat(QImage::Format_RGB888), frame);
    }

    void copyOfAContextLeadsToTheSameBlocks()
    {
        COv3DObject* item = m_fixture->createItem();
        ItemFixture::makeReady(item);
        item->m_drawThread->m_viewSettings.reset_camera = true;
        item->update_view(&item->m_context);
        QCOMPARE(item->m_viewQueue.size(), 1);
        const ViewContext& copy = item->m_viewQueue.first();
        QVERIFY(copy.view_settings == item->m_context.view_settings);
        QVERIFY(copy.display_settings == item->m_context.display_settings);
        QVERIFY(copy.material_settings == item->m_context.material_settings);
        QVERIFY(copy.lighting_settings == item->m_context.lighting_settings);
        QVERIFY(copy.camera_settings == item->m_context.camera_settings);
    }

    void copiesAreIndependentOfTheContext()
    {
        COv3DObject* item = m_fixture->createItem();
        ItemFixture::makeReady(item);
        item->m_context.op = kOperationInput;
        item->m_context.mouse_x = 11;
        item->m_context.scene_status.focal_point[2] = 4.5;
        item->update_view(&item->m_context);
        item->m_context.mouse_x = 22;
        item->m_context.scene_status.focal_point[2] = 9.0;
        QCOMPARE(item->m_viewQueue.size(), 1);
        QCOMPARE(item->m_viewQueue.first().mouse_x, 11);
        QCOMPARE(item->m_viewQueue.first().scene_status.focal_point[2], 4.5);
    }

    void restoredSceneStatusReplacesBytes392To767Alone()
    {
        COv3DObject* item = m_fixture->createItem();
        ItemFixture::makeReady(item);
        OV3DOBJECT::SceneStatus status;
        std::memset(&status, 0x3c, sizeof status);
        ViewContext before;
        std::memcpy(&before, &item->m_context, sizeof before);
        item->undoScene(status);
        auto* now = reinterpret_cast<const unsigned char*>(&item->m_context);
        QCOMPARE(std::memcmp(now + 392, &status, 376), 0);
        QCOMPARE(std::memcmp(now + 768, reinterpret_cast<const unsigned char*>(&before) + 768, 3352 - 768), 0);
        QCOMPARE(std::memcmp(now + 24, reinterpret_cast<const unsigned char*>(&before) + 24, 392 - 24), 0);
    }

    void sizeChangesReachTheContext()
    {
        COv3DObject* item = m_fixture->createItem();
        item->setSize(QSizeF(641.7, 301.9), false, false);
        QCOMPARE(numberAt<std::int32_t>(item->m_context, 4), 644);
        QCOMPARE(numberAt<std::int32_t>(item->m_context, 8), 301);
    }

    void stopLeavesTheFrameBufferInPlace()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        unsigned char* const buffer = item->m_context.frame_buffer;
        QVERIFY(item->m_drawThread->stopRunning());
        QCOMPARE(item->m_context.op, -1);
        QVERIFY(item->m_context.frame_buffer == buffer);
        buffer[1280 * 960 * 8 - 1] = 1; // the promised size is still there
        QCOMPARE(buffer[1280 * 960 * 8 - 1], static_cast<unsigned char>(1));
    }
};

OV3D_TEST_MAIN(ViewContextTest)
#include "viewcontext_test.moc"
