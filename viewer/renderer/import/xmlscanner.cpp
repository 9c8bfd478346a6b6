#include "viewer/renderer/import/xmlscanner.h"

#include <algorithm>

namespace ov3d::renderer {
namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view withoutPrefix(std::string_view name)
{
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

/// Calls use(name, content) for each attribute, in order, until it returns false.
template <typename Use> void forEachAttribute(std::string_view attributes, Use use)
{
    std::size_t at = 0;
    while (at < attributes.size()) {
        const std::size_t equals = attributes.find('=', at);
        if (equals == std::string_view::npos)
            return;
        std::size_t begin = at;
        while (begin < equals && isBlank(attributes[begin]))
            ++begin;
        std::size_t end = equals;
        while (end > begin && isBlank(attributes[end - 1]))
            --end;
        const std::size_t quote = attributes.find_first_of("\"'", equals);
        if (quote == std::string_view::npos)
            return;
        const std::size_t close = attributes.find(attributes[quote], quote + 1);
        if (close == std::string_view::npos)
            return;
        if (!use(attributes.substr(begin, end - begin), attributes.substr(quote + 1, close - quote - 1)))
            return;
        at = close + 1;
    }
}

} // namespace

std::string_view XmlTag::value(std::string_view attribute) const
{
    std::string_view prefixed;
    std::string_view own;
    bool found = false;
    forEachAttribute(attributes, [&](std::string_view full, std::string_view content) {
        found = full == attribute;
        if (found)
            own = content;
        else if (prefixed.data() == nullptr && withoutPrefix(full) == attribute)
            prefixed = content;
        return !found;
    });
    return found ? own : prefixed;
}

std::size_t XmlTag::count(std::string_view attribute) const
{
    std::size_t count = 0;
    forEachAttribute(attributes, [&](std::string_view full, std::string_view) {
        count += withoutPrefix(full) == attribute ? 1 : 0;
        return true;
    });
    return count;
}

bool XmlScanner::fail(const char* reason)
{
    if (m_reason.empty())
        m_reason = reason;
    return false;
}

bool XmlScanner::checkStart(std::string_view piece)
{
    m_started = true;
    const auto first = static_cast<unsigned char>(piece[0]);
    if (first == 0xFE || first == 0xFF || first == 0)
        return fail("is not written in UTF-8");
    return true;
}

bool XmlScanner::skipTo(const char* end, char c)
{
    const std::string_view wanted(end);
    const bool reached =
        c == '>' && m_tail[1] == wanted[wanted.size() - 2] && (wanted.size() < 3 || m_tail[0] == wanted[0]);
    m_tail[0] = m_tail[1];
    m_tail[1] = c;
    if (reached)
        m_state = State::text;
    return true;
}

bool XmlScanner::endOfTag()
{
    m_state = State::text;
    XmlTag tag;
    std::string_view text = m_tag;
    tag.closing = !text.empty() && text.front() == '/';
    if (tag.closing)
        text.remove_prefix(1);
    tag.empty = !text.empty() && text.back() == '/';
    if (tag.empty)
        text.remove_suffix(1);
    const auto end = std::find_if(text.begin(), text.end(), isBlank);
    const auto nameBytes = static_cast<std::size_t>(end - text.begin());
    const std::string_view fullName = text.substr(0, nameBytes);
    tag.name = withoutPrefix(fullName);
    tag.prefix = fullName.substr(0, fullName.size() - tag.name.size());
    if (!tag.prefix.empty())
        tag.prefix.remove_suffix(1);
    tag.attributes = text.substr(nameBytes);
    if (tag.name.empty())
        return fail("is not valid XML");
    if (tag.closing && --m_depth < 0)
        return fail("is not valid XML");
    if (!tag.closing && m_depth >= kMaxXmlDepth)
        return fail("is nested too deeply");
    if (!tag.closing && !tag.empty)
        ++m_depth;
    ++m_tags;
    m_use(tag);
    return true;
}

bool XmlScanner::inMarkup(char c)
{
    if (m_quote != 0) {
        if (c == m_quote)
            m_quote = 0;
    } else if (c == '>') {
        return endOfTag();
    } else if (c == '<') {
        return fail("is not valid XML");
    } else if ((c == '"' || c == '\'') && !m_tag.empty()) {
        m_quote = c;
    }
    m_tag += c;
    if (m_tag.size() > kMaxXmlTagBytes)
        return fail("has a tag that is too long");
    if (m_tag[0] == '?' || m_tag == "!--" || m_tag == "![CDATA[") {
        m_state = m_tag[0] == '?' ? State::instruction : m_tag.size() == 3 ? State::comment : State::characters;
        m_tail[0] = m_tail[1] = 0;
        m_quote = 0;
        return true;
    }
    const std::string_view known = m_tag.size() <= 3 ? "!--" : "![CDATA[";
    if (m_tag[0] == '!' && known.substr(0, m_tag.size()) != m_tag &&
        std::string_view("![CDATA[").substr(0, m_tag.size()) != m_tag)
        return fail("declares a document type or entities, which no model needs");
    return true;
}

bool XmlScanner::feed(std::string_view piece)
{
    if (!m_reason.empty())
        return false;
    if (!m_started && !piece.empty() && !checkStart(piece))
        return false;
    for (std::size_t i = 0; i < piece.size(); ++i) {
        bool fine = true;
        switch (m_state) {
        case State::text: {
            const std::size_t open = piece.find('<', i);
            if (open == std::string_view::npos)
                return true;
            i = open;
            m_state = State::markup;
            m_tag.clear();
            m_quote = 0;
            break;
        }
        case State::markup:
            fine = inMarkup(piece[i]);
            break;
        case State::comment:
            fine = skipTo("-->", piece[i]);
            break;
        case State::instruction:
            fine = skipTo("?>", piece[i]);
            break;
        case State::characters:
            fine = skipTo("]]>", piece[i]);
            break;
        }
        if (!fine)
            return false;
    }
    return true;
}

bool XmlScanner::finish()
{
    if (!m_reason.empty())
        return false;
    if (m_tags == 0)
        return fail("is not valid XML");
    if (m_state != State::text || m_depth != 0)
        return fail("ends in the middle of its data");
    return true;
}

} // namespace ov3d::renderer
