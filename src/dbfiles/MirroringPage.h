#pragma once

#include <QWidget>
#include <array>
#include <functional>

class QPlainTextEdit;
class QTabWidget;

namespace qormin::dbfiles {

class MirroringTools;

// The "Mirroring" page: the inner strip SSTab2 with the partner buttons, the set-up frames
// fraScr(1..3) in the order of use, and the reset and restart scripts.
class MirroringPage : public QWidget {
    Q_OBJECT
public:
    explicit MirroringPage(QWidget* parent = nullptr);

    // mirrorAllConfirmed: asked before each Mirror All click.
    void connectTools(MirroringTools& tools, std::function<bool()> mirrorAllConfirmed);
    // txtScript1(index) as the script routine reads it: lines ended by CR LF.
    QString scriptText(int index) const;
    QTabWidget* SSTab2() const { return m_SSTab2; }

private:
    QWidget* buildPartnerPage();
    QWidget* buildCreatePage();
    QWidget* buildResetPage();
    QWidget* scriptFrame(int index, const QString& caption);

    QTabWidget* m_SSTab2;
    std::array<QPlainTextEdit*, 5> m_txtScript1{};
};

} // namespace qormin::dbfiles
