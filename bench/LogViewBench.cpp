// Cost of showing log lines in the window's log box: 100,000 and 200,000 lines put on top of
// txtLog one by one with the view following each line (the event loop turned every 1,000 lines,
// the view painted at the end), and a view opened on a buffer that already holds 100,000 lines.
// txtLog (a view over the lines that lays out only the rows in sight) is measured against a
// text document that takes every line as it comes (a QPlainTextEdit, which is what txtLog was)
// and against the buffer alone. Linear growth shows as a ratio near 2.
#include "BenchSupport.h"
#include "app/LogView.h"
#include "db/LogBuffer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextStream>
#include <memory>

namespace {

using qormin::bench::secondsSince;

QString lineNumber(int index) {
    return QStringLiteral("Running SQL.. statement number ") + QString::number(index);
}

// The text document view: every line inserted on top of the whole text.
class DocumentView : public QPlainTextEdit {
public:
    explicit DocumentView(qormin::db::LogBuffer& buffer) {
        setReadOnly(true);
        setUndoRedoEnabled(false);
        setLineWrapMode(QPlainTextEdit::NoWrap);
        setPlainText(buffer.text());
        connect(&buffer, &qormin::db::LogBuffer::prepended, this, [this](const QString& line) {
            QTextCursor cursor(document());
            cursor.movePosition(QTextCursor::Start);
            cursor.insertText(line + u'\n');
            verticalScrollBar()->setValue(0);
        });
    }
};

enum class View { None, Document, Lines };

std::unique_ptr<QWidget> open(View view, qormin::db::LogBuffer& buffer) {
    std::unique_ptr<QWidget> widget;
    if (view == View::Document)
        widget = std::make_unique<DocumentView>(buffer);
    else if (view == View::Lines)
        widget = std::make_unique<qormin::app::LogView>(buffer);
    if (widget) {
        widget->resize(500, 400);
        widget->show();
    }
    return widget;
}

double following(View view, int lines) {
    qormin::db::LogBuffer buffer;
    const auto widget = open(view, buffer);
    QCoreApplication::processEvents();
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < lines; ++i) {
        buffer.prepend(lineNumber(i));
        if (i % 1000 == 0)
            QCoreApplication::processEvents();
    }
    if (widget)
        widget->repaint();
    QCoreApplication::processEvents();
    return secondsSince(clock);
}

double opening(View view, int lines) {
    qormin::db::LogBuffer buffer;
    for (int i = 0; i < lines; ++i)
        buffer.prepend(lineNumber(i));
    QElapsedTimer clock;
    clock.start();
    const auto widget = open(view, buffer);
    widget->repaint();
    QCoreApplication::processEvents();
    return secondsSince(clock);
}

} // namespace

int main(int argc, char** argv) {
    qormin::bench::useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QTextStream out(stdout);
    // "txtLog" alone: txtLog's figures only (for a profiler).
    if (QCoreApplication::arguments().contains(QStringLiteral("txtLog"))) {
        out << "txtLog: 100000 lines " << following(View::Lines, 100000) << " s, 200000 lines "
            << following(View::Lines, 200000) << " s" << Qt::endl;
        return 0;
    }
    double first[3] = {};
    double second[3] = {};
    const char* names[3] = {"buffer alone", "text document", "txtLog"};
    for (View view : {View::None, View::Document, View::Lines}) {
        const auto index = static_cast<int>(view);
        first[index] = following(view, 100000);
        second[index] = following(view, 200000);
        out << names[index] << ": 100000 lines " << first[index] << " s, 200000 lines " << second[index]
            << " s, ratio " << second[index] / first[index] << Qt::endl;
    }
    const auto document = static_cast<int>(View::Document);
    const auto lines = static_cast<int>(View::Lines);
    out << "txtLog / text document, 100000 lines: " << first[lines] / first[document] << Qt::endl;
    out << "txtLog / buffer alone, 100000 lines: " << first[lines] / first[0] << Qt::endl;
    const double documentOpening = opening(View::Document, 100000);
    const double linesOpening = opening(View::Lines, 100000);
    out << "opening on 100000 lines: text document " << documentOpening << " s, txtLog " << linesOpening
        << " s, ratio " << linesOpening / documentOpening << Qt::endl;
    return 0;
}
