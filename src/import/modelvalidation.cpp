#include "src/import/modelvalidation.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <fstream>
#include <iostream>
#include <new>
#include <optional>
#include <string_view>

namespace {

constexpr std::string_view kFbxSignature = "Kaydara FBX Binary ";
static_assert(kFbxSignature.size() == 19);
constexpr std::size_t kFbxHeaderBytes = 23;
constexpr int kCountedObjLines = 30;

/// As much of a text line as the OBJ check looks at; a line may be longer than the machine's memory.
struct LineSummary
{
    std::string begin; ///< at most the first three bytes
    bool isEmpty = true;
    bool hasHash = false;
};

/// @return nothing at the end of the file. A last line without a line feed is a line.
std::optional<LineSummary> readLine(std::streambuf& input)
{
    using Traits = std::streambuf::traits_type;
    constexpr std::size_t kBeginBytes = 3;

    LineSummary line;
    for (;;) {
        const Traits::int_type next = input.sbumpc();
        if (Traits::eq_int_type(next, Traits::eof()))
            return line.isEmpty ? std::nullopt : std::optional(line);
        const char character = Traits::to_char_type(next);
        if (character == '\n')
            return line;
        line.isEmpty = false;
        line.hasHash = line.hasHash || character == '#';
        if (line.begin.size() < kBeginBytes)
            line.begin += character;
    }
}

bool beginsObjStatement(const std::string& begin)
{
    constexpr std::array<std::string_view, 4> kStatements = {"v ", "vn ", "vt ", "f "};
    for (const std::string_view statement : kStatements) {
        if (begin.starts_with(statement))
            return true;
    }
    return false;
}

bool refuse(const char* verdict)
{
    std::cerr << verdict << std::endl;
    return false;
}

bool accept(const char* verdict)
{
    std::cout << verdict << std::endl;
    return true;
}

} // namespace

bool isValidFBXFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return refuse("Error opening file");
    std::array<char, kFbxHeaderBytes> header{};
    file.read(header.data(), header.size());
    const bool valid = static_cast<std::size_t>(file.gcount()) == header.size() &&
                       std::string_view(header.data(), kFbxSignature.size()) == kFbxSignature;
    return valid ? accept("Valid FBX file") : refuse("Not a valid FBX file");
}

bool isValidOBJFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        return false;
    try {
        for (int counted = 0; counted < kCountedObjLines;) {
            const std::optional<LineSummary> line = readLine(*file.rdbuf());
            if (!line)
                return false;
            // A statement with a trailing comment is skipped as well; files are judged that way on purpose.
            if (line->isEmpty || line->hasHash)
                continue;
            ++counted;
            if (beginsObjStatement(line->begin))
                return true;
        }
    } catch (const std::exception&) {
        // A directory opens and then fails to read.
    }
    return false;
}

bool isValidGLTFFile(const QString& path)
try {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refuse("Error opening file");
    const QByteArray content = file.readAll();
    file.close();

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (error.error != QJsonParseError::NoError)
        return refuse(("JSON parse error: " + error.errorString().toUtf8()).constData());

    const QJsonObject root = document.object();
    const QString version = root.value(QLatin1String("asset")).toObject().value(QLatin1String("version")).toString();
    return version.startsWith(QLatin1String("2.0")) ? accept("Valid glTF 2.0 file") : refuse("Not a valid glTF file");
} catch (const std::bad_alloc&) {
    return refuse("Not a valid glTF file"); // larger than the memory that is left
}
