#pragma once

class QByteArray;
class QString;

namespace ov3d::apps {

/// The program's own standard output and error, apart from descriptors 1 and 2.
///
/// Libraries print on 1 and 2 (the content checks of models do so by interface), which must not mix with what the
/// program says. This keeps private duplicates of both, and Silence points the originals at /dev/null. One object a
/// process, made first thing in main(). GUI thread, except writeError(), which any thread may call.
class StandardStreams
{
public:
    StandardStreams();
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

    /// Write the whole text as it stands. @return false when it could not be written (a full disk, a closed pipe).
    bool writeOutput(const QByteArray& text) const;
    bool writeError(const QByteArray& text) const;

    /// One line each, encoded for the terminal; line breaks inside the text become "?".
    bool printLine(const QString& text) const;
    bool printErrorLine(const QString& text) const;

    [[nodiscard]] bool isErrorTerminal() const;

    /// While one exists, what is printed on descriptors 1 and 2 is lost. Must not be nested.
    class Silence
    {
    public:
        explicit Silence(const StandardStreams& streams);
        ~Silence();
        Silence(const Silence&) = delete;
        Silence& operator=(const Silence&) = delete;

    private:
        const StandardStreams& m_streams;
    };

private:
    int m_output = -1;
    int m_error = -1;
};

} // namespace ov3d::apps
