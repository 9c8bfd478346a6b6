#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ov3d::renderer {

inline constexpr int kMaxXmlDepth = 64;
/// Longest tag, attributes included.
inline constexpr std::size_t kMaxXmlTagBytes = 64 * 1024;

/// A tag of an XML text. Views live as long as the call that hands them over.
struct XmlTag
{
    std::string_view name;   ///< without the prefix of its name space
    std::string_view prefix; ///< of its name space, usually empty
    std::string_view attributes;
    bool closing = false; ///< </name>
    bool empty = false;   ///< <name/>

    /// @param attribute without prefix. @return its value as it stands in the text, or an empty one. Where it stands
    /// several times, the one without a prefix counts.
    [[nodiscard]] std::string_view value(std::string_view attribute) const;

    /// @return how many attributes have that name, whatever their prefixes.
    [[nodiscard]] std::size_t count(std::string_view attribute) const;
};

/// Walks through the tags of an XML text that arrives in pieces, and refuses what no model needs and readers stumble
/// over: document type declarations (and with them entities), deep nesting, endless tags, text that is no UTF-8 XML.
class XmlScanner
{
public:
    explicit XmlScanner(std::function<void(const XmlTag&)> use)
        : m_use(std::move(use))
    {
    }

    /// @return false once something is wrong; reason() tells what.
    bool feed(std::string_view piece);

    /// The text has ended. @return false when something is open or there was nothing.
    bool finish();

    [[nodiscard]] const std::string& reason() const { return m_reason; }

private:
    enum class State
    {
        text,
        markup, ///< between "<" and ">"
        comment,
        instruction,
        characters, ///< a CDATA section
    };

    bool fail(const char* reason);
    bool checkStart(std::string_view piece);
    bool inMarkup(char c);
    bool endOfTag();
    bool skipTo(const char* end, char c);

    std::function<void(const XmlTag&)> m_use;
    std::string m_reason;
    State m_state = State::text;
    std::string m_tag; ///< what stands behind "<" so far
    char m_quote = 0;
    char m_tail[2] = {}; ///< the last two bytes in a section that is skipped
    std::uint64_t m_tags = 0;
    int m_depth = 0;
    bool m_started = false;
};

} // namespace ov3d::renderer
