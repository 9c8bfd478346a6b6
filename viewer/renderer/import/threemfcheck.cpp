#include "viewer/renderer/import/threemfcheck.h"

#include "viewer/renderer/import/componentgraph.h"
#include "viewer/renderer/import/xmlscanner.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace ov3d::renderer {
namespace {

constexpr std::string_view kModelRelation = "/3dmodel";

constexpr std::array<std::string_view, 5> kReadExtensions = {
    "http://schemas.microsoft.com/3dmanufacturing/core/2015/02",
    "http://schemas.microsoft.com/3dmanufacturing/material/2015/02",
    "http://schemas.microsoft.com/3dmanufacturing/production/2015/06",
    "http://schemas.microsoft.com/3dmanufacturing/slice/2015/07",
    "http://schemas.microsoft.com/3dmanufacturing/beamlattice/2017/02",
};

constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kIgnoredElements = {{
    {"multiproperties", "layered materials (multiproperties) are not shown"},
    {"compositematerials", "mixed materials (compositematerials) are not shown"},
    {"beamlattice", "beam lattices are not shown"},
}};

std::string partName(std::string_view target)
{
    while (!target.empty() && target.front() == '/')
        target.remove_prefix(1);
    std::string name(target);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// @return the part whose relations stand in the part of that name ("" for the package), or nothing.
std::optional<std::string> sourceOfRelations(const std::string& name)
{
    constexpr std::string_view folder = "_rels/";
    constexpr std::string_view suffix = ".rels";
    const std::size_t at = name.rfind(folder);
    if (at == std::string::npos || (at > 0 && name[at - 1] != '/') || !endsWith(name, suffix))
        return std::nullopt;
    const std::size_t begin = at + folder.size();
    return name.substr(0, at) + name.substr(begin, name.size() - begin - suffix.size());
}

std::string withoutPercentEscapes(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char* digits = text.data() + i + 1;
        if (text[i] == '%' && text.size() - i > 2 && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            plain += static_cast<char>(byte);
            i += 2;
        } else
            plain += text[i];
    }
    return plain;
}

/// Folds "." and ".."; nothing leads out of the package.
std::string folded(std::string_view path)
{
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(part.size() + 1, path.size()));
        if (part == ".." && !parts.empty())
            parts.pop_back();
        else if (!part.empty() && part != "." && part != "..")
            parts.push_back(part);
    }
    std::string joined;
    for (const std::string_view part : parts)
        (joined += joined.empty() ? "" : "/") += part;
    return joined;
}

/// The part that a relation leads to: relative to the folder of its source unless its target begins with a slash. Names
/// in the package may have percent escapes of their own.
const ZipPackage::Entry* targetOf(const ZipPackage& package, const std::string& source, std::string_view target)
{
    std::string path = target.substr(0, 1) == "/" ? "" : source.substr(0, source.rfind('/') + 1);
    path += target;
    const ZipPackage::Entry* asItStands = package.find(folded(path));
    return asItStands != nullptr ? asItStands : package.find(folded(withoutPercentEscapes(path)));
}

/// @return the number of an object, or nothing for what readers may take for another number than it looks.
std::optional<std::uint32_t> objectNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// @return whether a text is a number, the special ones among them; larger than any float counts as one too.
bool isNumber(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    if (text.size() > 1 && text.front() == '+')
        text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error != std::errc::invalid_argument && end == text.data() + text.size();
}

class Checker
{
public:
    Checker(const std::uint8_t* data, std::size_t size, ZipPackage& package)
        : m_data(data)
        , m_size(size)
        , m_package(package)
    {
    }

    ThreeMfCheck run();

private:
    bool scan(const ZipPackage::Entry& entry, const std::function<void(const XmlTag&)>& use);
    bool scanRelations();
    bool scanModel(const ZipPackage::Entry& entry);
    ComponentGraph::Name objectOf(const XmlTag& tag, std::string_view number, const std::string& part);
    void useTag(const XmlTag& tag, const std::string& part);
    void checkCorner(const XmlTag& vertex);
    void noteTransform(const XmlTag& tag);
    void noteOnce(const std::string& note);
    void noteExtensions(const XmlTag& model);

    const std::uint8_t* m_data;
    std::size_t m_size;
    ZipPackage& m_package;
    ComponentGraph m_graph;
    std::string m_fault; ///< of what the XML says
    ThreeMfCheck m_result;
};

ThreeMfCheck Checker::run()
{
    if (!m_package.open(m_data, m_size, m_result.reason) || !scanRelations())
        return m_result;
    std::set<std::string> models;
    for (const ModelRelation& relation : m_result.relations)
        models.insert(relation.target);
    m_result.models.assign(models.begin(), models.end());
    for (const std::string& model : m_result.models)
        if (!scanModel(*m_package.find(model)))
            return m_result;
    m_result.reason = m_graph.check();
    return m_result;
}

bool Checker::scan(const ZipPackage::Entry& entry, const std::function<void(const XmlTag&)>& use)
{
    XmlScanner scanner(use);
    const std::string damage =
        m_package.read(entry, [&scanner](std::string_view piece) { return scanner.feed(piece); });
    if (!damage.empty())
        m_result.reason = "is damaged: its part " + entry.name + " " + damage;
    else if (!scanner.finish())
        m_result.reason = "cannot be understood: its part " + entry.name + " " + scanner.reason();
    return m_result.reason.empty();
}

bool Checker::scanRelations()
{
    bool isNamed = false;
    for (const ZipPackage::Entry& entry : m_package.entries()) {
        const std::optional<std::string> source = sourceOfRelations(entry.name);
        if (!source)
            continue;
        const auto use = [&](const XmlTag& tag) {
            if (tag.name != "Relationship" || !endsWith(tag.value("Type"), kModelRelation))
                return;
            isNamed = isNamed || source->empty();
            const ZipPackage::Entry* part = targetOf(m_package, *source, tag.value("Target"));
            if (part != nullptr && m_result.relations.size() <= kMaxThreeMfRelations)
                m_result.relations.push_back({*source, part->name});
        };
        if (!scan(entry, use))
            return false;
    }
    if (m_result.relations.size() > kMaxThreeMfRelations) {
        m_result.reason = "names more model parts than allowed";
        return false;
    }
    const bool hasRoot = std::any_of(m_result.relations.begin(), m_result.relations.end(),
                                     [](const ModelRelation& relation) { return relation.source.empty(); });
    if (!hasRoot)
        m_result.reason = isNamed ? "names a model part that it does not hold" : "is no 3MF package: it names no model";
    return hasRoot;
}

void Checker::noteOnce(const std::string& note)
{
    if (std::find(m_result.notes.begin(), m_result.notes.end(), note) == m_result.notes.end())
        m_result.notes.push_back(note);
}

void Checker::noteExtensions(const XmlTag& model)
{
    std::string_view rest = model.value("requiredextensions");
    for (int i = 0; i < kMaxRequiredExtensions && !rest.empty(); ++i) {
        const std::size_t blank = std::min(rest.find(' '), rest.size());
        const std::string_view prefix = rest.substr(0, blank);
        rest.remove_prefix(std::min(blank + 1, rest.size()));
        const std::string_view address = model.value("xmlns:" + std::string(prefix));
        if (!address.empty() &&
            std::find(kReadExtensions.begin(), kReadExtensions.end(), address) == kReadExtensions.end())
            noteOnce("the extension " + std::string(address.substr(0, 120)) + " is not read");
    }
}

/// The reader takes for 0 what is no number.
void Checker::checkCorner(const XmlTag& vertex)
{
    for (const std::string_view axis : {"x", "y", "z"})
        if (!isNumber(vertex.value(axis)))
            m_fault = "holds something else where a number belongs";
}

/// The reader does without a transformation that it cannot hold, and does not say so.
void Checker::noteTransform(const XmlTag& tag)
{
    std::string_view rest = tag.value("transform");
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        double number = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error == std::errc::result_out_of_range || !(std::abs(number) <= std::numeric_limits<float>::max()))
            noteOnce("a transformation beyond all bounds is not followed");
    }
}

/// @param number name of the attribute.
/// @return the object that a tag defines or names. A name that readers might take for another one is a fault.
ComponentGraph::Name Checker::objectOf(const XmlTag& tag, std::string_view number, const std::string& part)
{
    const std::string_view path = tag.value("path");
    const std::optional<std::uint32_t> id = objectNumber(tag.value(number));
    if (!id || tag.count("path") > 1)
        m_fault = "is damaged: an object has no valid number";
    return {path.empty() || number == "id" ? part : partName(path), id.value_or(0)};
}

void Checker::useTag(const XmlTag& tag, const std::string& part)
{
    if (tag.name == "object")
        m_graph.addObject(objectOf(tag, "id", part));
    else if (tag.name == "component")
        m_graph.addComponent(objectOf(tag, "objectid", part));
    else if (tag.name == "item")
        m_graph.addPlacement(objectOf(tag, "objectid", part));
    if (tag.name == "component" || tag.name == "item")
        noteTransform(tag);
}

bool Checker::scanModel(const ZipPackage::Entry& entry)
{
    const std::string part = partName(entry.name);
    bool inMesh = false;
    std::optional<std::string> ownPrefix; // of the name space of models, as the outermost tag has it
    const bool isSound = scan(entry, [&](const XmlTag& tag) {
        if (!ownPrefix) {
            ownPrefix = std::string(tag.prefix);
            noteExtensions(tag);
        }
        // Extensions have elements of the same names that mean something else.
        const bool isOwn = tag.prefix == *ownPrefix;
        if (isOwn && tag.name == "mesh")
            inMesh = !tag.closing && !tag.empty;
        if (tag.closing)
            return;
        if (isOwn && inMesh && tag.name == "vertex")
            checkCorner(tag);
        else if (isOwn)
            useTag(tag, part);
        for (const auto& [element, note] : kIgnoredElements)
            if (tag.name == element)
                noteOnce(std::string(note));
    });
    if (isSound)
        m_result.reason = m_fault;
    return m_result.reason.empty();
}

} // namespace

ThreeMfCheck checkThreeMf(const std::uint8_t* data, std::size_t size, ZipPackage& package)
{
    return Checker(data, size, package).run();
}

} // namespace ov3d::renderer
