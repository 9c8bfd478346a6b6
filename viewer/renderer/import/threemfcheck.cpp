#include "viewer/renderer/import/threemfcheck.h"

#include "viewer/renderer/import/componentgraph.h"
#include "viewer/renderer/import/xmlscanner.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <set>
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

/// A relation's target, relative to the folder of its source unless it begins with a slash.
std::string resolved(const std::string& source, std::string_view target)
{
    if (target.substr(0, 1) == "/")
        return std::string(target.substr(1));
    return source.substr(0, source.rfind('/') + 1) + std::string(target);
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
    void noteOnce(const std::string& note);
    void noteExtensions(const XmlTag& model);

    const std::uint8_t* m_data;
    std::size_t m_size;
    ZipPackage& m_package;
    ComponentGraph m_graph;
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
            const std::string target = resolved(*source, tag.value("Target"));
            const ZipPackage::Entry* part = m_package.find(target);
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
    while (!rest.empty()) {
        const std::size_t blank = std::min(rest.find(' '), rest.size());
        const std::string_view prefix = rest.substr(0, blank);
        rest.remove_prefix(std::min(blank + 1, rest.size()));
        const std::string_view address = model.value(prefix);
        if (!address.empty() &&
            std::find(kReadExtensions.begin(), kReadExtensions.end(), address) == kReadExtensions.end())
            noteOnce("the extension " + std::string(address.substr(0, 120)) + " is not read");
    }
}

bool Checker::scanModel(const ZipPackage::Entry& entry)
{
    const std::string part = partName(entry.name);
    const auto reference = [&part](const XmlTag& tag) {
        const std::string_view path = tag.value("path");
        return ComponentGraph::Name{path.empty() ? part : partName(path), std::string(tag.value("objectid"))};
    };
    return scan(entry, [&](const XmlTag& tag) {
        if (tag.closing)
            return;
        if (tag.name == "object")
            m_graph.addObject({part, std::string(tag.value("id"))});
        else if (tag.name == "component")
            m_graph.addComponent(reference(tag));
        else if (tag.name == "item")
            m_graph.addPlacement(reference(tag));
        else if (tag.name == "model")
            noteExtensions(tag);
        else
            for (const auto& [element, note] : kIgnoredElements)
                if (tag.name == element)
                    noteOnce(std::string(note));
    });
}

} // namespace

ThreeMfCheck checkThreeMf(const std::uint8_t* data, std::size_t size, ZipPackage& package)
{
    return Checker(data, size, package).run();
}

} // namespace ov3d::renderer
