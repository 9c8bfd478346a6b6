#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// Most values (objects, arrays, texts, numbers...) in a JSON text.
inline constexpr std::size_t kMaxJsonValues = 4'000'000;

class JsonTree;

/// A value of a JSON text, or none: everything asked of none gives none, so that chains of questions need no checks.
/// Lives as long as its tree.
class JsonValue
{
public:
    JsonValue() = default;

    explicit operator bool() const { return m_tree != nullptr; }
    [[nodiscard]] bool isObject() const;
    [[nodiscard]] bool isArray() const;
    [[nodiscard]] bool isNumber() const;
    [[nodiscard]] bool isText() const;
    [[nodiscard]] bool isTrue() const;

    /// The first member of that name, as importers take it.
    [[nodiscard]] JsonValue operator[](std::string_view name) const;

    /// The first element or member; next() leads on.
    [[nodiscard]] JsonValue first() const;
    [[nodiscard]] JsonValue next() const;

    /// How many elements or members.
    [[nodiscard]] std::size_t size() const;

    /// Text with its escapes undone, or nothing.
    [[nodiscard]] std::string text() const;
    /// Text as it stands.
    [[nodiscard]] std::string_view rawText() const;
    /// All of the value as it stands, brackets included; text without its quotation marks.
    [[nodiscard]] std::string_view span() const;
    /// Name of this member with its escapes undone.
    [[nodiscard]] std::string name() const;
    /// Where this member's name stands in the whole text, without its quotation marks.
    [[nodiscard]] std::string_view rawName() const;

    [[nodiscard]] double number(double fallback) const;
    /// A whole number from 0 on. Anything else, a fraction say, gives `fallback`.
    [[nodiscard]] std::uint64_t index(std::uint64_t fallback) const;

private:
    friend class JsonTree;
    JsonValue(const JsonTree* tree, std::uint32_t at)
        : m_tree(tree)
        , m_at(at)
    {
    }

    const JsonTree* m_tree = nullptr;
    std::uint32_t m_at = 0;
};

/// A JSON text as a tree. Takes what usual parsers take; texts are not copied.
class JsonTree
{
public:
    /// @param text outlives the tree. Nesting must have been checked: each level takes a little stack.
    /// @return false with plain words in `reason`. Throws std::bad_alloc.
    bool parse(std::string_view text, std::string& reason);

    [[nodiscard]] JsonValue root() const { return m_nodes.empty() ? JsonValue() : JsonValue(this, 0); }

private:
    friend class JsonValue;

    enum class Type : std::uint8_t
    {
        null,
        boolean,
        number,
        text,
        array,
        object,
    };

    struct Node
    {
        std::string_view name;
        std::string_view text; ///< all of it, but no quotation marks
        std::uint32_t children = 0;
        std::uint32_t first = 0; ///< 0: none, since the root is nobody's child
        std::uint32_t next = 0;
        Type type = Type::null;
    };

    bool parseValue(std::string_view name);
    bool parseMembers(std::uint32_t parent, char close);
    bool parseText(std::string_view& text);
    bool parseNumber(std::uint32_t at);
    bool parseWord(const char* word);
    void skipBlanks();
    [[nodiscard]] char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    std::string_view m_text;
    std::size_t m_at = 0;
    bool m_tooMany = false;
    std::vector<Node> m_nodes;
};

} // namespace ov3d::renderer
