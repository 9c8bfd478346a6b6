#include "apps/cli/commandline.h"

#include <QRegularExpression>

#include <utility>

namespace ov3d::apps {

namespace {

/// Goes through the words; "--" ends the options, "--name=value" and "--name value" are the same.
class WordReader
{
public:
    explicit WordReader(QStringList words)
        : m_words(std::move(words))
    {
    }

    bool next()
    {
        if (m_position >= m_words.size())
            return false;
        m_word = m_words[m_position++];
        m_inlineValue.reset();
        m_isOption = !m_optionsEnded && m_word.size() > 1 && m_word.startsWith(QLatin1Char('-'));
        if (m_isOption && m_word == QLatin1String("--")) {
            m_optionsEnded = true;
            return next();
        }
        const int equals = m_word.indexOf(QLatin1Char('='));
        if (m_isOption && m_word.startsWith(QLatin1String("--")) && equals > 0) {
            m_inlineValue = m_word.mid(equals + 1);
            m_word.truncate(equals);
        }
        return true;
    }

    [[nodiscard]] bool isOption() const { return m_isOption; }
    [[nodiscard]] const QString& word() const { return m_word; }
    [[nodiscard]] bool hasUnwantedValue() const { return m_inlineValue.has_value(); }

    /// The value of the option just read; false when there is none.
    bool takeValue(QString& value)
    {
        if (m_inlineValue) {
            value = *std::exchange(m_inlineValue, std::nullopt);
            return true;
        }
        if (m_position >= m_words.size())
            return false;
        value = m_words[m_position++];
        return true;
    }

private:
    QStringList m_words;
    QString m_word;
    std::optional<QString> m_inlineValue;
    int m_position = 0;
    bool m_isOption = false;
    bool m_optionsEnded = false;
};

bool readSize(const QString& text, QSize& size, QString& error)
{
    static const QRegularExpression form(
        QRegularExpression::anchoredPattern(QStringLiteral("(\\d{1,6})[xX](\\d{1,6})")));
    const auto match = form.match(text);
    size = {match.captured(1).toInt(), match.captured(2).toInt()};
    if (match.hasMatch() && size.width() >= 1 && size.height() >= 1 && size.width() <= kMaxPictureSide &&
        size.height() <= kMaxPictureSide)
        return true;
    error =
        QStringLiteral("the size \"%1\" is not WIDTHxHEIGHT with sides from 1 to %2").arg(text).arg(kMaxPictureSide);
    return false;
}

bool readColour(const QString& text, std::optional<QColor>& colour, QString& error)
{
    if (QColor::isValidColor(text)) {
        colour = QColor(text);
        return true;
    }
    error = QStringLiteral("the colour \"%1\" is neither a name nor #RGB, #RRGGBB or #AARRGGBB").arg(text);
    return false;
}

bool readRenderOption(WordReader& words, RenderCommand& render, QString& error)
{
    const QString option = words.word();
    if (option == QLatin1String("--json")) {
        if (words.hasUnwantedValue()) {
            error = QStringLiteral("the option --json takes no value");
            return false;
        }
        render.json = true;
        return true;
    }
    const bool isOutput = option == QLatin1String("-o") || option == QLatin1String("--output");
    const bool isSize = option == QLatin1String("--size");
    const bool isBackground = option == QLatin1String("--background");
    if (!isOutput && !isSize && !isBackground && option != QLatin1String("--gesture")) {
        error = QStringLiteral("unknown option %1").arg(option);
        return false;
    }
    QString value;
    if (!words.takeValue(value) || value.isEmpty()) {
        error = QStringLiteral("the option %1 needs a value").arg(option);
        return false;
    }
    if (isOutput) {
        render.output = value;
        return true;
    }
    if (isSize)
        return readSize(value, render.size, error);
    if (isBackground)
        return readColour(value, render.background, error);
    Gesture gesture;
    if (!parseGesture(value, gesture, error))
        return false;
    render.gestures.push_back(gesture);
    return true;
}

bool parseRender(WordReader& words, Command& command, QString& error)
{
    RenderCommand render;
    while (words.next()) {
        if (words.isOption()) {
            if (!readRenderOption(words, render, error))
                return false;
        } else if (words.word().isEmpty() || !render.model.isEmpty()) {
            error = QStringLiteral("render takes one model");
            return false;
        } else {
            render.model = words.word();
        }
    }
    if (render.model.isEmpty()) {
        error = QStringLiteral("render needs a model");
        return false;
    }
    if (render.output.isEmpty()) {
        error = QStringLiteral("render needs -o OUT.png");
        return false;
    }
    command = render;
    return true;
}

bool parseCheck(WordReader& words, Command& command, QString& error)
{
    CheckCommand check;
    while (words.next()) {
        if (words.isOption()) {
            error = QStringLiteral("unknown option %1").arg(words.word());
            return false;
        }
        check.files << words.word();
    }
    if (check.files.isEmpty()) {
        error = QStringLiteral("check needs at least one file");
        return false;
    }
    command = check;
    return true;
}

bool asksForHelp(const QStringList& words)
{
    const int end = words.indexOf(QStringLiteral("--"));
    const QStringList options = words.mid(0, end);
    return options.contains(QStringLiteral("--help")) || options.contains(QStringLiteral("-h"));
}

} // namespace

bool parseCommandLine(const QStringList& words, Command& command, QString& error)
{
    if (asksForHelp(words)) {
        command = HelpCommand{};
        return true;
    }
    const QString verb = words.value(0);
    if (verb == QLatin1String("--version")) {
        command = VersionCommand{};
        return true;
    }
    WordReader rest(words.mid(1));
    if (verb == QLatin1String("render"))
        return parseRender(rest, command, error);
    if (verb == QLatin1String("check"))
        return parseCheck(rest, command, error);
    error = verb.isEmpty() ? QStringLiteral("a command is missing") : QStringLiteral("unknown command %1").arg(verb);
    return false;
}

QString helpText()
{
    return QStringLiteral(
        "ov3d - pictures of 3D models, and checks of their files\n"
        "\n"
        "  ov3d render MODEL -o OUT.png [--size WxH] [--background COLOUR] [--json] [--gesture GESTURE]...\n"
        "  ov3d check FILE...\n"
        "  ov3d --help | --version\n"
        "\n"
        "Models end in .fbx (binary), .obj, .gltf, .stl, .glb or .3mf, all in small or all in capital letters.\n"
        "\n"
        "render writes an RGBA PNG of exactly the given size. It needs no display.\n"
        "  -o, --output OUT.png   where to write the picture\n"
        "  --size WxH             pixels, 1280x960 without it, at most 8192x8192\n"
        "  --background COLOUR    a name or #RRGGBB; without it the picture is transparent around the model\n"
        "  --json                 print one JSON object: file, format, width, height, seconds_to_first_frame,\n"
        "                         opaque_share (share of the pixels that show the model, 0 to 1),\n"
        "                         hit_rectangles (rectangles of the item's hit shape), missing, error\n"
        "  --gesture GESTURE      what a hand does before the picture is taken, in pixels of the picture; may be\n"
        "                         given several times: drag:X,Y-X,Y[:left|right|middle][:shift|alt|ctrl],\n"
        "                         wheel:N@X,Y[:shift], undo, redo\n"
        "\n"
        "check prints one line a file: what it is, and why it is refused.\n"
        "\n"
        "Exit codes: 0 done, 1 the model could not be shown (the picture says so), 2 wrong usage, 3 refused by its\n"
        "suffix or its content, 4 a file cannot be read or written.\n");
}

} // namespace ov3d::apps
