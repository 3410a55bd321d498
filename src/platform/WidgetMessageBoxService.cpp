#include "platform/WidgetMessageBoxService.h"

#include "platform/OverrideCursor.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <optional>

namespace qormin::platform {

namespace {

QMessageBox::StandardButtons standardButtons(MessageBoxButtons buttons) {
    switch (buttons) {
    case MessageBoxButtons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case MessageBoxButtons::YesNo:
    case MessageBoxButtons::YesNoDefaultNo:
        return QMessageBox::Yes | QMessageBox::No;
    case MessageBoxButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MessageBoxButtons::Ok:
        break;
    }
    return QMessageBox::Ok;
}

QMessageBox::StandardButton standardButton(MessageBoxAnswer answer) {
    switch (answer) {
    case MessageBoxAnswer::Cancel:
        return QMessageBox::Cancel;
    case MessageBoxAnswer::Yes:
        return QMessageBox::Yes;
    case MessageBoxAnswer::No:
        return QMessageBox::No;
    case MessageBoxAnswer::Ok:
        break;
    }
    return QMessageBox::Ok;
}

MessageBoxAnswer answerOf(int button) {
    switch (button) {
    case QMessageBox::Cancel:
        return MessageBoxAnswer::Cancel;
    case QMessageBox::Yes:
        return MessageBoxAnswer::Yes;
    case QMessageBox::No:
        return MessageBoxAnswer::No;
    default:
        return MessageBoxAnswer::Ok;
    }
}

} // namespace

MessageBoxAnswer WidgetMessageBoxService::MsgBox(const QString& text, MessageBoxButtons buttons,
                                                 const QString& title) {
    QMessageBox box(QMessageBox::NoIcon, title.isEmpty() ? QApplication::applicationName() : title, text,
                    standardButtons(buttons), m_parent);
    box.setDefaultButton(standardButton(defaultAnswer(buttons)));
    // A box raised while a handler shows the hourglass must still get a normal pointer.
    std::optional<OverrideCursor> arrow;
    if (QApplication::overrideCursor() != nullptr)
        arrow.emplace(Qt::ArrowCursor);
    return answerOf(box.exec());
}

QString WidgetMessageBoxService::saveFileName(const QString& caption, const QString& suggestedName,
                                              const QString& filter) {
    return QFileDialog::getSaveFileName(m_parent, caption, suggestedName, filter);
}

} // namespace qormin::platform
