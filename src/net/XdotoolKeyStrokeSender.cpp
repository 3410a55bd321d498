#include "net/XdotoolKeyStrokeSender.h"

#include "net/ToolProcess.h"

#include <QHash>

namespace qormin::net {

namespace {

using Key = KeyStroke::Key;

QString characterKeysym(char16_t character) {
    const QChar c(character);
    if (character < 128 && c.isLetterOrNumber())
        return QString(c).toLower();
    static const QHash<char16_t, QString> names{
        {u' ', QStringLiteral("space")},       {u'@', QStringLiteral("at")},
        {u':', QStringLiteral("colon")},       {u'.', QStringLiteral("period")},
        {u',', QStringLiteral("comma")},       {u'-', QStringLiteral("minus")},
        {u'/', QStringLiteral("slash")},       {u'\\', QStringLiteral("backslash")},
        {u'+', QStringLiteral("plus")},        {u'=', QStringLiteral("equal")},
        {u';', QStringLiteral("semicolon")},   {u'\'', QStringLiteral("apostrophe")},
        {u'*', QStringLiteral("asterisk")},    {u'?', QStringLiteral("question")},
        {u'!', QStringLiteral("exclam")},      {u'%', QStringLiteral("percent")},
        {u'&', QStringLiteral("ampersand")},   {u'_', QStringLiteral("underscore")},
        {u'(', QStringLiteral("parenleft")},   {u')', QStringLiteral("parenright")},
        {u'[', QStringLiteral("bracketleft")}, {u']', QStringLiteral("bracketright")},
        {u'{', QStringLiteral("braceleft")},   {u'}', QStringLiteral("braceright")},
        {u'<', QStringLiteral("less")},        {u'>', QStringLiteral("greater")},
        {u'#', QStringLiteral("numbersign")},  {u'~', QStringLiteral("asciitilde")},
    };
    const auto named = names.constFind(character);
    if (named != names.constEnd())
        return *named;
    // X11 names any other character by its code point.
    return QStringLiteral("U%1").arg(static_cast<unsigned>(character), 4, 16, QLatin1Char('0')).toUpper();
}

QString keysym(const KeyStroke& stroke) {
    switch (stroke.key) {
    case Key::Enter:
        return QStringLiteral("Return");
    case Key::Tab:
        return QStringLiteral("Tab");
    case Key::Escape:
        return QStringLiteral("Escape");
    case Key::Backspace:
        return QStringLiteral("BackSpace");
    case Key::Delete:
        return QStringLiteral("Delete");
    case Key::Insert:
        return QStringLiteral("Insert");
    case Key::Home:
        return QStringLiteral("Home");
    case Key::End:
        return QStringLiteral("End");
    case Key::PageUp:
        return QStringLiteral("Prior");
    case Key::PageDown:
        return QStringLiteral("Next");
    case Key::Up:
        return QStringLiteral("Up");
    case Key::Down:
        return QStringLiteral("Down");
    case Key::Left:
        return QStringLiteral("Left");
    case Key::Right:
        return QStringLiteral("Right");
    case Key::Function:
        return QStringLiteral("F") + QString::number(stroke.functionNumber);
    case Key::Character:
        break;
    }
    return characterKeysym(stroke.character);
}

QString chord(const KeyStroke& stroke) {
    QString text;
    if (stroke.control)
        text += QStringLiteral("ctrl+");
    if (stroke.alt)
        text += QStringLiteral("alt+");
    if (stroke.shift)
        text += QStringLiteral("shift+");
    return text + keysym(stroke);
}

bool isPlainText(const KeyStroke& stroke) {
    return stroke.key == Key::Character && !stroke.shift && !stroke.control && !stroke.alt;
}

} // namespace

XdotoolKeyStrokeSender::XdotoolKeyStrokeSender(QProcessEnvironment environment)
    : m_environment(std::move(environment)) {}

std::vector<XdotoolKeyStrokeSender::Invocation>
XdotoolKeyStrokeSender::invocations(const std::vector<KeyStroke>& strokes) {
    std::vector<Invocation> runs;
    // Text is collected whole, so that a character outside the BMP keeps both its halves.
    QString text;
    const auto endText = [&] {
        if (text.isEmpty())
            return;
        runs.push_back({{QStringLiteral("type"), QStringLiteral("--clearmodifiers"), QStringLiteral("--file"),
                         QStringLiteral("-")},
                        text.toUtf8()});
        text.clear();
    };
    for (const KeyStroke& stroke : strokes) {
        if (isPlainText(stroke)) {
            text += QChar(stroke.character);
            continue;
        }
        endText();
        if (runs.empty() || runs.back().arguments.first() != u"key")
            runs.push_back({{QStringLiteral("key"), QStringLiteral("--clearmodifiers")}, {}});
        runs.back().arguments << chord(stroke);
    }
    endText();
    return runs;
}

std::string XdotoolKeyStrokeSender::send(const std::vector<KeyStroke>& strokes) {
    const QString program = ToolProcess::find(QStringLiteral("xdotool"), m_environment);
    if (program.isEmpty())
        return "xdotool is not installed";
    for (const Invocation& run : invocations(strokes)) {
        const ToolProcess xdotool(program, run.arguments, m_environment);
        const ToolProcess::Result result = xdotool.run(run.input, std::chrono::seconds(30));
        if (!result.succeeded()) {
            const QString said = QString::fromLocal8Bit(result.errors).trimmed();
            return ("xdotool failed" + (said.isEmpty() ? QString() : QStringLiteral(": ") + said))
                .toStdString();
        }
    }
    return {};
}

} // namespace qormin::net
