#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/importing.h"
#include "tests/unit/renderer/surfacefiles.h"

#include <cmath>

using namespace importing;
using surfacefiles::plain;

class ImportMaterialsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void factorsOfAGltfAreTakenOver();
    void gltfThatSaysNothingIsNoMetal();
    void mapsOfAGltfAreFound();
    void mapWithoutABaseTextureGetsAWhiteOne();
    void transformIsRelativeToTheBaseTexture();
    void mapOfAnotherCoordinateSetIsLeftOutWithANote();
    void specularGlossinessIsTranslated();
    void specularGlossinessTextureIsKeptForTheScene();
    void clearCoatAndUnlitAreTakenOver();
    void transmissionMakesTranslucent();
    void phongHighlightBecomesRoughness();
    void physicalPropertiesOfAnObjGoFirst();
    void bumpMapOfAnObjMayBeHeights();
    void opacityMapOfAnObjMakesTranslucent();
    void glowOfAMissingImageIsNone();
    void withoutTexturesNoMapIsLoaded();

private:
    MaterialData ofGltf(const QByteArray& material, const QList<QImage>& textures = {},
                        const QByteArray& extension = {});
    MaterialData ofObj(const QByteArray& properties);

    QScopedPointer<ModelFolder> m_folder;
    ImportResult m_result;
};

void ImportMaterialsTest::init()
{
    TestBase::init();
    m_folder.reset(new ModelFolder);
}

void ImportMaterialsTest::cleanup()
{
    m_folder.reset();
    TestBase::cleanup();
}

MaterialData ImportMaterialsTest::ofGltf(const QByteArray& material, const QList<QImage>& textures,
                                         const QByteArray& extension)
{
    m_result = importFile(surfacefiles::writeSquare(*m_folder, material, textures, extension), kFormatGltf);
    if (!m_result.ok || m_result.model.materials.size() != 1)
        qWarning("%s", qPrintable(reason(m_result)));
    return m_result.ok ? m_result.model.materials.at(0) : MaterialData();
}

MaterialData ImportMaterialsTest::ofObj(const QByteArray& properties)
{
    m_result = importFile(surfacefiles::writeObjSquare(*m_folder, properties), kFormatObj);
    if (!m_result.ok || m_result.model.materials.size() != 1)
        qWarning("%s", qPrintable(reason(m_result)));
    return m_result.ok ? m_result.model.materials.at(0) : MaterialData();
}

void ImportMaterialsTest::factorsOfAGltfAreTakenOver()
{
    const MaterialData m = ofGltf(R"({"emissiveFactor":[0,0.214,1],"doubleSided":true,"pbrMetallicRoughness":
        {"baseColorFactor":[0.214,0,1,1],"metallicFactor":0.25,"roughnessFactor":0.75}})");
    QVERIFY(std::abs(m.base_colour[0] - 0.5f) < 0.01f && m.base_colour[2] > 0.999f);
    QCOMPARE(m.metallic, 0.25f);
    QCOMPARE(m.roughness, 0.75f);
    QVERIFY(std::abs(m.emissive[1] - 0.5f) < 0.01f && m.emissive[2] > 0.999f);
    QVERIFY(m.double_sided);
    QVERIFY(!ofGltf(R"({"pbrMetallicRoughness":{"metallicFactor":0}})").double_sided);
}

void ImportMaterialsTest::gltfThatSaysNothingIsNoMetal()
{
    QCOMPARE(ofGltf(R"({"name":"plain"})").metallic, 0.0f);
    QCOMPARE(ofGltf(R"({"pbrMetallicRoughness":{"metallicFactor":1,"roughnessFactor":0.9}})").metallic, 1.0f);
}

void ImportMaterialsTest::mapsOfAGltfAreFound()
{
    const MaterialData m =
        ofGltf(R"({"normalTexture":{"index":1,"scale":0.5},
        "occlusionTexture":{"index":2,"strength":0.25},"emissiveTexture":{"index":3},"emissiveFactor":[1,1,1],
        "pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicRoughnessTexture":{"index":4}}})",
               {plain(Qt::red), plain(Qt::blue), plain(Qt::gray), plain(Qt::green), plain(Qt::white)});
    const auto nameOf = [this](int texture) {
        return texture < 0 ? QString() : QString::fromStdString(m_result.model.textures.at(std::size_t(texture)).name);
    };
    QCOMPARE(nameOf(m.base_texture), QString("image0.png"));
    QCOMPARE(nameOf(m.normal_map.texture), QString("image1.png"));
    QCOMPARE(nameOf(m.occlusion_map.texture), QString("image2.png"));
    QCOMPARE(nameOf(m.emissive_map.texture), QString("image3.png"));
    QCOMPARE(nameOf(m.roughness_map.texture), QString("image4.png"));
    QVERIFY(m.roughness_channels == RoughnessChannels::roughness_metallic);
    QVERIFY(m.normal_kind == BumpKind::normals);
    QCOMPARE(m.normal_scale, 0.5f);
    QCOMPARE(m.occlusion_strength, 0.25f);
    QCOMPARE(m.metallic, 1.0f);
}

void ImportMaterialsTest::mapWithoutABaseTextureGetsAWhiteOne()
{
    const MaterialData m = ofGltf(R"({"normalTexture":{"index":0}})", {plain(Qt::blue)});
    QVERIFY(m.base_texture >= 0 && m.normal_map.texture >= 0 && m.base_texture != m.normal_map.texture);
    const TextureData& white = m_result.model.textures.at(std::size_t(m.base_texture));
    QCOMPARE(white.pixels, std::vector<std::uint8_t>(4, 255));
    QVERIFY(!m_result.model.meshes.at(0).texcoords.empty());
}

void ImportMaterialsTest::transformIsRelativeToTheBaseTexture()
{
    const QByteArray twice = R"("extensions":{"KHR_texture_transform":{"scale":[2,2]}})";
    const MaterialData same =
        ofGltf("{\"normalTexture\":{\"index\":1," + twice +
                   "},\"pbrMetallicRoughness\":{\"baseColorTexture\":{\"index\":0," + twice + "}}}",
               {plain(Qt::red), plain(Qt::blue)}, "KHR_texture_transform");
    const TextureMap still;
    for (int i = 0; i < 6; ++i)
        QVERIFY(std::abs((&same.normal_map.m[0][0])[i] - (&still.m[0][0])[i]) < 1e-6f);
    const MaterialData other = ofGltf("{\"normalTexture\":{\"index\":1," + twice +
                                          "},\"pbrMetallicRoughness\":{\"baseColorTexture\":{\"index\":0}}}",
                                      {plain(Qt::red), plain(Qt::blue)}, "KHR_texture_transform");
    QVERIFY(std::abs(other.normal_map.m[0][0] - 2) < 1e-6f && std::abs(other.normal_map.m[1][1] - 2) < 1e-6f);
    // The origin is the image's upper left corner, where v is 1 here: it stays where it is.
    QVERIFY(std::abs(other.normal_map.m[1][1] + other.normal_map.m[1][2] - 1) < 1e-6f);
}

void ImportMaterialsTest::mapOfAnotherCoordinateSetIsLeftOutWithANote()
{
    const MaterialData m = ofGltf(R"({"name":"wall","occlusionTexture":{"index":1,"texCoord":1},"pbrMetallicRoughness":
        {"baseColorTexture":{"index":0},"metallicFactor":0}})",
                                  {plain(Qt::red), plain(Qt::black)});
    QVERIFY(m.base_texture >= 0);
    QCOMPARE(m.occlusion_map.texture, -1);
    QCOMPARE(m_result.model.notes,
             std::vector<std::string>{"the occlusion map of material wall lies on other texture coordinates than its "
                                      "other textures and is left out"});
}

void ImportMaterialsTest::specularGlossinessIsTranslated()
{
    const QByteArray extension = "KHR_materials_pbrSpecularGlossiness";
    const MaterialData matt =
        ofGltf("{\"extensions\":{\"" + extension +
                   R"(":{"diffuseFactor":[0.214,0,0,1],"specularFactor":[0.04,0.04,0.04],"glossinessFactor":0.3}}})",
               {}, extension);
    QVERIFY(matt.metallic < 0.05f);
    QVERIFY(std::abs(matt.roughness - 0.7f) < 1e-5f);
    QVERIFY(std::abs(matt.base_colour[0] - 0.5f) < 0.02f);
    const MaterialData gold =
        ofGltf("{\"extensions\":{\"" + extension +
                   R"(":{"diffuseFactor":[0,0,0,1],"specularFactor":[1,0.76,0.33],"glossinessFactor":0.9}}})",
               {}, extension);
    QVERIFY(gold.metallic > 0.95f);
    QVERIFY(gold.base_colour[0] > 0.95f && gold.base_colour[2] < 0.7f);
}

void ImportMaterialsTest::specularGlossinessTextureIsKeptForTheScene()
{
    const QByteArray extension = "KHR_materials_pbrSpecularGlossiness";
    const MaterialData m = ofGltf("{\"extensions\":{\"" + extension +
                                      R"(":{"diffuseTexture":{"index":0},"specularGlossinessTexture":{"index":1},
            "glossinessFactor":0.5}}})",
                                  {plain(Qt::red), plain(Qt::gray)}, extension);
    QVERIFY(m.base_texture >= 0 && m.roughness_map.texture >= 0);
    QVERIFY(m.roughness_channels == RoughnessChannels::specular_glossiness);
    QCOMPARE(m.glossiness, 0.5f);
}

void ImportMaterialsTest::clearCoatAndUnlitAreTakenOver()
{
    const MaterialData coated = ofGltf(R"({"extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":0.75,
        "clearcoatRoughnessFactor":0.25}}})",
                                       {}, "KHR_materials_clearcoat");
    QCOMPARE(coated.clear_coat, 0.75f);
    QCOMPARE(coated.clear_coat_roughness, 0.25f);
    QVERIFY(!coated.unlit);
    QVERIFY(ofGltf(R"({"extensions":{"KHR_materials_unlit":{}}})", {}, "KHR_materials_unlit").unlit);
}

void ImportMaterialsTest::transmissionMakesTranslucent()
{
    const MaterialData glass = ofGltf(R"({"extensions":{"KHR_materials_transmission":{"transmissionFactor":1}}})", {},
                                      "KHR_materials_transmission");
    QVERIFY(glass.alpha_mode == AlphaMode::blend);
    QVERIFY(glass.base_colour[3] > 0.05f && glass.base_colour[3] < 0.5f);
}

void ImportMaterialsTest::phongHighlightBecomesRoughness()
{
    const float matt = ofObj("Kd 0.5 0.5 0.5\nKs 0 0 0\nNs 300\nillum 1").roughness;
    const float dull = ofObj("Kd 0.5 0.5 0.5\nKs 1 1 1\nNs 5\nillum 2").roughness;
    const float shiny = ofObj("Kd 0.5 0.5 0.5\nKs 1 1 1\nNs 500\nillum 2").roughness;
    QVERIFY2(matt > dull && dull > shiny && shiny > 0.1f,
             qPrintable(QString("%1 %2 %3").arg(matt).arg(dull).arg(shiny)));
    QCOMPARE(ofObj("Kd 0.5 0.5 0.5\nKs 1 1 1\nNs 500\nillum 2").metallic, 0.0f);
}

void ImportMaterialsTest::physicalPropertiesOfAnObjGoFirst()
{
    const MaterialData m = ofObj("Kd 0.5 0.5 0.5\nKs 1 1 1\nNs 500\nPr 0.35\nPm 0.8");
    QCOMPARE(m.roughness, 0.35f);
    QCOMPARE(m.metallic, 0.8f);
}

void ImportMaterialsTest::bumpMapOfAnObjMayBeHeights()
{
    QVERIFY(plain(Qt::gray).save(m_folder->path("bumps.png")));
    const MaterialData m = ofObj("Kd 0.5 0.5 0.5\nmap_Bump bumps.png");
    QVERIFY(m.normal_map.texture >= 0);
    QVERIFY(m.normal_kind == BumpKind::unknown);
}

void ImportMaterialsTest::opacityMapOfAnObjMakesTranslucent()
{
    QVERIFY(plain(Qt::red).save(m_folder->path("colour.png")));
    QVERIFY(plain(Qt::gray).save(m_folder->path("opacity.png")));
    const MaterialData m = ofObj("Kd 1 1 1\nmap_Kd colour.png\nmap_d opacity.png");
    QVERIFY(m.opacity_texture >= 0 && m.opacity_texture != m.base_texture);
    QVERIFY(m.alpha_mode == AlphaMode::blend);
    // The colour image's own alpha needs no second one.
    const MaterialData own = ofObj("Kd 1 1 1\nmap_Kd colour.png\nmap_d colour.png");
    QCOMPARE(own.opacity_texture, -1);
    QVERIFY(own.alpha_mode == AlphaMode::blend);
}

void ImportMaterialsTest::glowOfAMissingImageIsNone()
{
    QCOMPARE(ofObj("Kd 0.5 0.5 0.5\nKe 1 0.5 0").emissive[1], 0.5f);
    const MaterialData missing = ofObj("Kd 0.5 0.5 0.5\nKe 1 0.5 0\nmap_Ke nowhere.png");
    QCOMPARE(missing.emissive[0], 0.0f);
    QVERIFY(plain(Qt::red).save(m_folder->path("glow.png")));
    const MaterialData found = ofObj("Kd 0.5 0.5 0.5\nKe 0 0 0\nmap_Ke glow.png");
    QVERIFY(found.emissive_map.texture >= 0);
    QCOMPARE(found.emissive[0], 1.0f);
}

void ImportMaterialsTest::withoutTexturesNoMapIsLoaded()
{
    const QString path = surfacefiles::writeSquare(*m_folder, R"({"normalTexture":{"index":1},"pbrMetallicRoughness":
        {"baseColorTexture":{"index":0}}})",
                                                   {plain(Qt::red), plain(Qt::blue)});
    ImportRequest request;
    request.path = path.toStdString();
    request.model_format = kFormatGltf;
    request.without_textures = true;
    const ImportResult result = importModel(request);
    QVERIFY2(result.ok, qPrintable(reason(result)));
    QVERIFY(result.model.textures.empty());
    QCOMPARE(result.model.materials.at(0).base_texture, -1);
}

OV3D_TEST_MAIN(ImportMaterialsTest)
#include "tst_importmaterials.moc"
