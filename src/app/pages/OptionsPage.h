#pragma once

#include <QWidget>

class QBoxLayout;
class QLineEdit;
class QVBoxLayout;

namespace qormin::app {

class MainWindowContext;

// "Options": where this machine finds the servers' shares and which ODBC driver it uses.
class OptionsPage : public QWidget {
    Q_OBJECT
public:
    explicit OptionsPage(MainWindowContext& context, QWidget* parent = nullptr);

    // Reads the stored options into the fields (start-up).
    void load();
    QBoxLayout* toolArea() const;

private:
    MainWindowContext& m_context;
    QLineEdit* m_mountRoot;
    QLineEdit* m_odbcDriver;
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
