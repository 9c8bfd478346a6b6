#include "apps/cli/commandline.h"

#include "apps/cli/wordreader.h"
#include "apps/common/picturefile.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace ov3d::apps {

namespace {

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

bool readCount(const QString& text, const QString& what, int& number, QString& error)
{
    bool isNumber = false;
    number = text.toInt(&isNumber);
    if (isNumber && number >= 1)
        return true;
    error = QStringLiteral("the %1 \"%2\" is not a number from 1").arg(what, text);
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
    const bool isPage = option == QLatin1String("--page");
    const bool isSetting = option == QLatin1String("--set");
    if (!isOutput && !isSize && !isBackground && !isPage && !isSetting && option != QLatin1String("--gesture")) {
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
        if (!isPngName(value))
            error = QStringLiteral("%1 is not the name of a PNG picture (OUT.png)").arg(value);
        return error.isEmpty();
    }
    if (isSize)
        return readSize(value, render.size.emplace(), error);
    if (isPage)
        return readCount(value, QStringLiteral("page"), render.page.emplace(), error);
    if (isSetting) {
        // Read here, so that a wrong one is found before anything is begun.
        render.settings << value;
        return parseItemChanges(render.settings, render.changes, error);
    }
    if (isBackground)
        return readColour(value, render.background, error);
    Gesture gesture;
    if (!parseGesture(value, gesture, error))
        return false;
    render.gestures.push_back(gesture);
    return true;
}

/// What is for models alone, and what for documents.
bool checkRenderOptions(const RenderCommand& render, QString& error)
{
    const bool isDocument = isDocumentName(render.model);
    if (isDocument && (render.size || render.json || !render.gestures.empty() || !render.settings.isEmpty()))
        error = QStringLiteral("--size, --json, --gesture and --set are for models, not for documents");
    else if (!isDocument && render.page)
        error = QStringLiteral("--page is for documents (%1)").arg(kDocumentSuffix);
    return error.isEmpty();
}

bool parseRender(WordReader& words, Command& command, QString& error)
{
    RenderCommand render;
    while (words.next()) {
        if (words.isOption()) {
            if (!readRenderOption(words, render, error))
                return false;
        } else if (words.word().isEmpty() || !render.model.isEmpty()) {
            error = QStringLiteral("render takes one model or document");
            return false;
        } else {
            render.model = words.word();
        }
    }
    if (render.model.isEmpty()) {
        error = QStringLiteral("render needs a model or a document");
        return false;
    }
    if (render.output.isEmpty()) {
        error = QStringLiteral("render needs -o OUT.png");
        return false;
    }
    command = render;
    return checkRenderOptions(render, error);
}

/// The words of a command that has no options, but perhaps --json.
bool readWords(WordReader& words, QStringList& plain, bool* json, QString& error)
{
    while (words.next()) {
        if (!words.isOption()) {
            plain << words.word();
        } else if (json && words.word() == QLatin1String("--json") && !words.hasUnwantedValue()) {
            *json = true;
        } else {
            error = QStringLiteral("unknown option %1").arg(words.word());
            return false;
        }
    }
    return true;
}

bool checkDocumentName(const QString& name, QString& error)
{
    if (!isDocumentName(name))
        error = QStringLiteral("\"%1\" is not the name of a document (%2)").arg(name, kDocumentSuffix);
    return error.isEmpty();
}

bool parseNew(WordReader& words, Command& command, QString& error)
{
    NewCommand create;
    if (!readWords(words, create.models, nullptr, error))
        return false;
    if (create.models.size() < 2) {
        error = QStringLiteral("new needs a document and at least one model");
        return false;
    }
    create.document = create.models.takeFirst();
    command = create;
    return checkDocumentName(create.document, error);
}

bool parseInfo(WordReader& words, Command& command, QString& error)
{
    InfoCommand info;
    QStringList plain;
    if (!readWords(words, plain, &info.json, error))
        return false;
    if (plain.size() != 1) {
        error = QStringLiteral("info takes one document");
        return false;
    }
    info.document = plain.first();
    command = info;
    return checkDocumentName(info.document, error);
}

bool parseSet(WordReader& words, Command& command, QString& error)
{
    SetCommand set;
    QStringList plain;
    if (!readWords(words, plain, nullptr, error))
        return false;
    if (plain.size() < 3) {
        error = QStringLiteral("set needs a document, an item's number and at least one key=value");
        return false;
    }
    set.document = plain.takeFirst();
    command = set;
    if (!checkDocumentName(set.document, error) ||
        !readCount(plain.takeFirst(), QStringLiteral("item"), set.item, error) ||
        !parseItemChanges(plain, set.changes, error))
        return false;
    command = set;
    return true;
}

bool parseExtract(WordReader& words, Command& command, QString& error)
{
    ExtractCommand extract;
    QStringList plain;
    if (!readWords(words, plain, nullptr, error))
        return false;
    if (plain.size() != 3 || plain.last().isEmpty()) {
        error = QStringLiteral("extract needs a document, an item's number and a folder");
        return false;
    }
    extract.document = plain[0];
    extract.folder = plain[2];
    if (!checkDocumentName(extract.document, error) ||
        !readCount(plain[1], QStringLiteral("item"), extract.item, error))
        return false;
    command = extract;
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

bool readNumber(WordReader& words, int& number, QString& error)
{
    constexpr int kMost = 3600;
    const QString option = words.word();
    QString value;
    bool ok = words.takeValue(value);
    number = ok ? value.toInt(&ok) : 0;
    if (ok && number >= 1 && number <= kMost)
        return true;
    error = QStringLiteral("the option %1 needs a whole number from 1 to %2").arg(option).arg(kMost);
    return false;
}

bool readCheckViewerOption(WordReader& words, CheckViewerCommand& check, QString& error)
{
    const QString option = words.word();
    if (option == QLatin1String("--limit"))
        return readNumber(words, check.limitSeconds, error);
    if (option == QLatin1String("--jobs"))
        return readNumber(words, check.jobs, error);
    if (option != QLatin1String("--json")) {
        error = QStringLiteral("unknown option %1").arg(option);
        return false;
    }
    if (words.hasUnwantedValue()) {
        error = QStringLiteral("the option --json takes no value");
        return false;
    }
    check.json = true;
    return true;
}

bool parseCheckViewer(WordReader& words, Command& command, QString& error)
{
    CheckViewerCommand check;
    QStringList names;
    while (words.next()) {
        if (!words.isOption())
            names << words.word();
        else if (!readCheckViewerOption(words, check, error))
            return false;
    }
    if (names.size() != 2 || names.contains(QString())) {
        error = QStringLiteral("check-viewer needs a library and the name of its viewer function");
        return false;
    }
    check.library = names[0];
    check.symbol = names[1];
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

bool isDocumentName(const QString& name)
{
    return name.endsWith(kDocumentSuffix, Qt::CaseInsensitive);
}

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
    if (verb == QLatin1String("new"))
        return parseNew(rest, command, error);
    if (verb == QLatin1String("info"))
        return parseInfo(rest, command, error);
    if (verb == QLatin1String("set"))
        return parseSet(rest, command, error);
    if (verb == QLatin1String("extract"))
        return parseExtract(rest, command, error);
    if (verb == QLatin1String("check-viewer"))
        return parseCheckViewer(rest, command, error);
    error = verb.isEmpty() ? QStringLiteral("a command is missing") : QStringLiteral("unknown command %1").arg(verb);
    return false;
}

QString helpText()
{
    return QStringLiteral(
        "ov3d - pictures of 3D models, checks of their files, and documents with models on their pages\n"
        "\n"
        "  ov3d render MODEL -o OUT.png [--size WxH] [--background COLOUR] [--json] [--set KEY=VALUE]...\n"
        "                               [--gesture GESTURE]...\n"
        "  ov3d render DOC -o OUT.png [--page N] [--background COLOUR]\n"
        "  ov3d check FILE...\n"
        "  ov3d check-viewer LIBRARY SYMBOL [--json] [--limit SECONDS] [--jobs N]\n"
        "  ov3d new DOC MODEL...\n"
        "  ov3d info DOC [--json]\n"
        "  ov3d set DOC ITEM KEY=VALUE...\n"
        "  ov3d extract DOC ITEM DIR\n"
        "  ov3d --help | --version\n"
        "\n"
        "Models end in .fbx (binary), .obj, .gltf, .stl, .glb or .3mf, all in small or all in capital letters;\n"
        "documents (DOC) in .ovb.\n"
        "\n"
        "render writes an RGBA PNG of exactly the given size, of a document's page with a pixel a unit. It needs no\n"
        "display.\n"
        "  -o, --output OUT.png   where to write the picture\n"
        "  --size WxH             pixels, 1280x960 without it, at most 8192x8192\n"
        "  --background COLOUR    a name or #RRGGBB; without it the picture is transparent around the model\n"
        "  --page N               which page, 1 without it\n"
        "  --json                 print one JSON object: file, format, width, height, seconds_to_first_frame,\n"
        "                         opaque_share (share of the pixels that show the model, 0 to 1),\n"
        "                         hit_rectangles (rectangles of the item's hit shape), missing, notes (what was\n"
        "                         repaired or left out), error\n"
        "  --set KEY=VALUE        a setting, as for set; may be given several times\n"
        "  --gesture GESTURE      what a hand does before the picture is taken, in pixels of the picture; may be\n"
        "                         given several times: drag:X,Y-X,Y[:left|right|middle][:shift|alt|ctrl],\n"
        "                         wheel:N@X,Y[:shift], undo, redo\n"
        "\n"
        "check prints one line a file: what it is, and why it is refused or cannot be shown, or what it misses.\n"
        "\n"
        "check-viewer drives a viewer library through the viewer contract (docs/viewer-contract.md) and prints a line\n"
        "a rule, or with --json one object; it exits with 1 when a rule is broken.\n"
        "  --limit SECONDS        for whatever the viewer has to do, 30 without it\n"
        "  --jobs N               parts of the check that run side by side, 1 without it\n"
        "\n"
        "new makes a document, a page of 1920 x 1080 a model, and copies the models into it.\n"
        "info lists a document's pages and items. The items are numbered through the document, from 1.\n"
        "set changes an item: KEY is a setting (docs/settings.md; arrays as numbers with commas between, colours also\n"
        "as #RRGGBB), or view=NAME, orbit=AZIMUTH,ELEVATION in degrees, environment=FILE.hdr.\n"
        "extract copies an item's model and its side files into a folder.\n"
        "\n"
        "Exit codes: 0 done, 1 a model could not be shown (the picture says so), 2 wrong usage, 3 refused by its\n"
        "suffix or its content, 4 a file cannot be read or written.\n");
}

} // namespace ov3d::apps
