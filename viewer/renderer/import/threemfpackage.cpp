#include "viewer/renderer/import/threemfpackage.h"

#include "viewer/renderer/import/zipwriter.h"

#include <map>

namespace ov3d::renderer {
namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const std::string kPackageSchema = "http://schemas.openxmlformats.org/package/2006/";
const std::string kModelRelation = "http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel";
const std::string kContentBegin = "application/vnd.";

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else if (c == '"')
            result += "&quot;";
        else
            result += c;
    }
    return result;
}

std::string contentTypes(const std::vector<std::string>& models)
{
    const std::string modelType = kContentBegin + "ms-package.3dmanufacturing-3dmodel+xml";
    std::string text = kDeclaration + "<Types xmlns=\"" + kPackageSchema + "content-types\">" +
                       "<Default Extension=\"rels\" ContentType=\"" + kContentBegin +
                       "openxmlformats-package.relationships+xml\"/>" + "<Default Extension=\"model\" ContentType=\"" +
                       modelType + "\"/>";
    for (const std::string& model : models)
        text += "<Override PartName=\"/" + escaped(model) + "\" ContentType=\"" + modelType + "\"/>";
    return text + "</Types>";
}

/// "3D/a.model" has its relations in "3D/_rels/a.model.rels", the package in "_rels/.rels".
std::string relationsPart(const std::string& source)
{
    const std::size_t name = source.rfind('/') + 1; // 0 without a folder
    return source.substr(0, name) + "_rels/" + source.substr(name) + ".rels";
}

} // namespace

std::vector<std::uint8_t> modelsAlone(const ZipPackage& package, const std::vector<std::string>& models,
                                      const std::vector<ModelRelation>& relations)
{
    ZipWriter writer;
    writer.add("[Content_Types].xml", contentTypes(models));
    std::map<std::string, std::string> texts;
    std::size_t number = 0;
    for (const ModelRelation& relation : relations)
        texts[relation.source] += "<Relationship Target=\"/" + escaped(relation.target) + "\" Id=\"rel" +
                                  std::to_string(++number) + "\" Type=\"" + kModelRelation + "\"/>";
    for (const auto& [source, text] : texts)
        writer.add(relationsPart(source), kDeclaration + "<Relationships xmlns=\"" + kPackageSchema +
                                              "relationships\">" + text + "</Relationships>");
    for (const std::string& model : models)
        if (const ZipPackage::Entry* entry = package.find(model))
            writer.add(entry->name, {entry->method, entry->checksum, entry->inflated_bytes, package.packed(*entry)});
    return writer.finish();
}

} // namespace ov3d::renderer
