#include "viewer/session/modelfacts.h"

#include "viewer/session/jsontext.h"

namespace ov3d::session {

namespace {

void put(std::string& text, const char* name, const std::string& value)
{
    text += jsonString(name);
    text += ": ";
    text += value;
}

std::string point(const double (&values)[3])
{
    std::string text = "[";
    for (const double value : values) {
        if (text.size() > 1)
            text += ", ";
        text += jsonNumber(value);
    }
    text += ']';
    return text;
}

std::string bounds(const protocol::Loaded& facts)
{
    std::string text = "{ ";
    put(text, "min", point(facts.box_min));
    text += ", ";
    put(text, "max", point(facts.box_max));
    text += ", ";
    put(text, "centre", point(facts.centre));
    text += ", ";
    put(text, "radius", jsonNumber(facts.radius));
    text += " }";
    return text;
}

} // namespace

std::string factsAsJson(const std::string& path, const protocol::Loaded& facts)
{
    std::string text = "{\n    ";
    put(text, "model", jsonString(path));
    const auto line = [&text](const char* name, const std::string& value) {
        text += ",\n    ";
        put(text, name, value);
    };
    line("triangles", std::to_string(facts.triangles));
    line("materials", std::to_string(facts.materials));
    line("textures", std::to_string(facts.textures));
    line("bounds", bounds(facts));
    line("files", jsonArray(facts.files));
    line("missing", jsonArray(facts.missing));
    line("notes", jsonArray(facts.notes));
    text += "\n}\n";
    return text;
}

} // namespace ov3d::session
