#pragma once

#include <QWidget>

class QBoxLayout;
class QLineEdit;
class QVBoxLayout;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

class EncryptionOptions;

// "Options": where this machine finds the servers' shares and which ODBC driver it uses.
class OptionsPage : public QWidget {
    Q_OBJECT
public:
    explicit OptionsPage(window::MainWindowContext& context, QWidget* parent = nullptr);

    // Reads the stored options into the fields (start-up).
    void load();
    QBoxLayout* toolArea() const;

private:
    window::MainWindowContext& m_context;
    QLineEdit* m_mountRoot;
    QLineEdit* m_odbcDriver;
    EncryptionOptions* m_encryption;
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
