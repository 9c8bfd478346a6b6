#include "viewer/renderer/import/jsontree.h"

#include <charconv>
#include <cmath>

namespace ov3d::renderer {
namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

void appendUtf8(std::string& text, unsigned code)
{
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | code >> 6);
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        text += static_cast<char>(0xE0 | code >> 12);
        text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | code >> 18);
        text += static_cast<char>(0x80 | (code >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

/// @return four hexadecimal digits as a number, or -1.
int hexUnit(std::string_view raw, std::size_t at)
{
    if (at + 4 > raw.size())
        return -1;
    int value = 0;
    const auto result = std::from_chars(raw.data() + at, raw.data() + at + 4, value, 16);
    return result.ptr == raw.data() + at + 4 ? value : -1;
}

std::string unescaped(std::string_view raw)
{
    std::string text;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 1 >= raw.size()) {
            text += raw[i];
            continue;
        }
        constexpr std::string_view letters = "bfnrt";
        const char c = raw[++i];
        if (const std::size_t known = letters.find(c); known != std::string_view::npos) {
            text += "\b\f\n\r\t"[known];
        } else if (c != 'u') {
            text += c;
        } else if (const int unit = hexUnit(raw, i + 1); unit >= 0) {
            i += 4;
            auto code = static_cast<unsigned>(unit);
            const int low = code >= 0xD800 && code < 0xDC00 && raw.substr(i + 1, 2) == "\\u" ? hexUnit(raw, i + 3) : -1;
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<unsigned>(low) - 0xDC00);
                i += 6;
            }
            appendUtf8(text, code);
        }
    }
    return text;
}

bool isNamed(std::string_view raw, std::string_view name)
{
    return raw.find('\\') == std::string_view::npos ? raw == name : unescaped(raw) == name;
}

} // namespace

bool JsonValue::isObject() const
{
    return m_tree && m_tree->m_nodes[m_at].type == JsonTree::Type::object;
}

bool JsonValue::isArray() const
{
    return m_tree && m_tree->m_nodes[m_at].type == JsonTree::Type::array;
}

bool JsonValue::isNumber() const
{
    return m_tree && m_tree->m_nodes[m_at].type == JsonTree::Type::number;
}

bool JsonValue::isText() const
{
    return m_tree && m_tree->m_nodes[m_at].type == JsonTree::Type::text;
}

bool JsonValue::isTrue() const
{
    return m_tree && m_tree->m_nodes[m_at].type == JsonTree::Type::boolean && m_tree->m_nodes[m_at].text == "true";
}

JsonValue JsonValue::operator[](std::string_view name) const
{
    if (isObject())
        for (JsonValue member = first(); member; member = member.next())
            if (isNamed(member.rawName(), name))
                return member;
    return {};
}

JsonValue JsonValue::first() const
{
    const std::uint32_t child = m_tree ? m_tree->m_nodes[m_at].first : 0;
    return child != 0 ? JsonValue(m_tree, child) : JsonValue();
}

JsonValue JsonValue::next() const
{
    const std::uint32_t sibling = m_tree ? m_tree->m_nodes[m_at].next : 0;
    return sibling != 0 ? JsonValue(m_tree, sibling) : JsonValue();
}

std::size_t JsonValue::size() const
{
    return m_tree ? m_tree->m_nodes[m_at].children : 0;
}

std::string JsonValue::text() const
{
    return unescaped(rawText());
}

std::string_view JsonValue::rawText() const
{
    return isText() ? m_tree->m_nodes[m_at].text : std::string_view();
}

std::string_view JsonValue::span() const
{
    return m_tree ? m_tree->m_nodes[m_at].text : std::string_view();
}

std::string JsonValue::name() const
{
    return unescaped(rawName());
}

std::string_view JsonValue::rawName() const
{
    return m_tree ? m_tree->m_nodes[m_at].name : std::string_view();
}

double JsonValue::number(double fallback) const
{
    if (!isNumber())
        return fallback;
    const std::string_view text = m_tree->m_nodes[m_at].text;
    double value = fallback;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? value : fallback;
}

std::uint64_t JsonValue::index(std::uint64_t fallback) const
{
    constexpr double largest = 9007199254740992.0; // beyond it, doubles skip whole numbers
    const double value = number(-1);
    return value >= 0 && value <= largest && value == std::floor(value) ? static_cast<std::uint64_t>(value) : fallback;
}

void JsonTree::skipBlanks()
{
    while (m_at < m_text.size() &&
           (m_text[m_at] == ' ' || m_text[m_at] == '\n' || m_text[m_at] == '\r' || m_text[m_at] == '\t'))
        ++m_at;
}

bool JsonTree::parse(std::string_view text, std::string& reason)
{
    m_text = text;
    m_at = 0;
    m_tooMany = false;
    m_nodes.clear();
    bool fine = parseValue({});
    skipBlanks();
    // Chunks of a GLB are filled up with zeros by some writers.
    while (fine && m_at < m_text.size() && m_text[m_at] == '\0')
        ++m_at;
    fine = fine && m_at == m_text.size();
    if (!fine)
        reason = m_tooMany ? "holds more values than allowed" : "is not valid JSON";
    return fine;
}

bool JsonTree::parseValue(std::string_view name)
{
    if (m_nodes.size() >= kMaxJsonValues) {
        m_tooMany = true;
        return false;
    }
    const auto at = static_cast<std::uint32_t>(m_nodes.size());
    m_nodes.emplace_back().name = name;
    skipBlanks();
    switch (peek()) {
    case '{':
        m_nodes[at].type = Type::object;
        return parseMembers(at, '}');
    case '[':
        m_nodes[at].type = Type::array;
        return parseMembers(at, ']');
    case '"': {
        m_nodes[at].type = Type::text;
        std::string_view text;
        const bool fine = parseText(text);
        m_nodes[at].text = text;
        return fine;
    }
    case 't':
        m_nodes[at].type = Type::boolean;
        m_nodes[at].text = m_text.substr(m_at, 4);
        return parseWord("true");
    case 'f':
        m_nodes[at].type = Type::boolean;
        m_nodes[at].text = m_text.substr(m_at, 5);
        return parseWord("false");
    case 'n':
        return parseWord("null");
    default:
        return parseNumber(at);
    }
}

bool JsonTree::parseMembers(std::uint32_t parent, char close)
{
    const std::size_t begin = m_at++;
    skipBlanks();
    if (peek() == close) {
        ++m_at;
        m_nodes[parent].text = m_text.substr(begin, m_at - begin);
        return true;
    }
    std::uint32_t last = 0;
    for (;;) {
        std::string_view name;
        skipBlanks();
        if (close == '}') {
            if (!parseText(name))
                return false;
            skipBlanks();
            if (peek() != ':')
                return false;
            ++m_at;
        }
        const auto child = static_cast<std::uint32_t>(m_nodes.size());
        if (!parseValue(name))
            return false;
        (last == 0 ? m_nodes[parent].first : m_nodes[last].next) = child;
        last = child;
        ++m_nodes[parent].children;
        skipBlanks();
        const char c = peek();
        if (c != ',' && c != close)
            return false;
        ++m_at;
        if (c == close) {
            m_nodes[parent].text = m_text.substr(begin, m_at - begin);
            return true;
        }
    }
}

bool JsonTree::parseText(std::string_view& text)
{
    if (peek() != '"')
        return false;
    const std::size_t begin = ++m_at;
    for (; m_at < m_text.size(); ++m_at) {
        if (m_text[m_at] == '\\') {
            ++m_at;
        } else if (m_text[m_at] == '"') {
            text = m_text.substr(begin, m_at - begin);
            ++m_at;
            return true;
        }
    }
    return false;
}

bool JsonTree::parseNumber(std::uint32_t at)
{
    const std::size_t begin = m_at;
    while (isDigit(peek()) || peek() == '-' || peek() == '+' || peek() == '.' || peek() == 'e' || peek() == 'E')
        ++m_at;
    m_nodes[at].type = Type::number;
    m_nodes[at].text = m_text.substr(begin, m_at - begin);
    return m_at > begin;
}

bool JsonTree::parseWord(const char* word)
{
    const std::string_view wanted(word);
    if (m_text.substr(m_at, wanted.size()) != wanted)
        return false;
    m_at += wanted.size();
    return true;
}

} // namespace ov3d::renderer
