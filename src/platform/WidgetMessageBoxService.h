#pragma once

#include "platform/MessageBoxService.h"

class QWidget;

namespace qormin::platform {

// Message boxes shown to the operator, modal over the main window.
class WidgetMessageBoxService : public MessageBoxService {
public:
    void setParentWindow(QWidget* parent) { m_parent = parent; }
    MessageBoxAnswer MsgBox(const QString& text, MessageBoxButtons buttons, const QString& title) override;
    QString saveFileName(const QString& caption, const QString& suggestedName,
                         const QString& filter) override;

private:
    QWidget* m_parent = nullptr;
};

} // namespace qormin::platform
