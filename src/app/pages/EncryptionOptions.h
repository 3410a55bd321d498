#pragma once

#include <QGroupBox>
#include <array>

class QComboBox;
class QLineEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// "Encrypted connections" on the Options page: per side, whether its connection is encrypted
// and, when that is required, what the server's certificate is checked against. Saved under
// MAIN; a change applies from the side's next connect (Connect, or the next statement after a
// failed one).
class EncryptionOptions : public QGroupBox {
    Q_OBJECT
public:
    explicit EncryptionOptions(window::MainWindowContext& context, QWidget* parent = nullptr);

    // Reads the stored choices into the fields (start-up, before anything connects).
    void load();

private:
    struct Side {
        QComboBox* encryption;
        QLineEdit* caFile;
        QLineEdit* certificateHost;
    };

    Side makeSide(int side);
    void apply(int side);

    window::MainWindowContext& m_context;
    std::array<Side, 2> m_sides;
};

} // namespace qormin::app
