#include "app/HandlerGate.h"

#include "db/EventLoopYield.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSplitterHandle>
#include <QTabBar>
#include <QThread>
#include <QTimer>

namespace qormin::app {

namespace {

constexpr int tickMilliseconds = 1000;
const QString separator = QStringLiteral(" \u2014 ");

// Input that could start or feed a handler. Hovering and plain mouse moves start nothing.
bool isInput(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Wheel:
    case QEvent::Shortcut:
    case QEvent::ContextMenu:
    case QEvent::InputMethod:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return true;
    default:
        return false;
    }
}

bool isMouseButton(QEvent::Type type) {
    return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
           type == QEvent::MouseButtonDblClick;
}

bool isAncestorOrSelf(const QWidget* ancestor, const QWidget* widget) {
    return ancestor != nullptr && (ancestor == widget || ancestor->isAncestorOf(widget));
}

// Qt names the inner parts of its widgets "qt_…"; the control is the nearest named parent.
const QWidget* namedControl(const QWidget* widget) {
    while (widget != nullptr &&
           (widget->objectName().isEmpty() || widget->objectName().startsWith(QLatin1String("qt_"))))
        widget = widget->parentWidget();
    return widget;
}

QString caption(const QWidget* control) {
    const auto* button = qobject_cast<const QAbstractButton*>(control);
    if (button == nullptr || button->text().isEmpty())
        return QString();
    QString text = button->text();
    text.replace(QLatin1String("&&"), QLatin1String("\x01"));
    text.remove(u'&');
    text.replace(QLatin1String("\x01"), QLatin1String("&"));
    return text;
}

QString elapsedText(qint64 milliseconds) {
    const qint64 seconds = milliseconds / 1000;
    const auto twoDigits = [](qint64 value) { return QString::number(value).rightJustified(2, u'0'); };
    QString text = twoDigits(seconds / 60 % 60) + u':' + twoDigits(seconds % 60);
    if (seconds >= 3600)
        text = QString::number(seconds / 3600) + u':' + text;
    return text;
}

} // namespace

HandlerGate::HandlerGate(QWidget& mainWindow, QLabel& statusLine)
    : QObject(&mainWindow), m_main(mainWindow), m_statusLine(statusLine), m_tick(new QTimer(this)) {
    m_tick->setInterval(tickMilliseconds);
    connect(m_tick, &QTimer::timeout, this, &HandlerGate::updateStatus);
    qApp->installEventFilter(this);
    if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance())
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &HandlerGate::loopAboutToBlock);
}

HandlerGate::~HandlerGate() = default;

void HandlerGate::addWindow(QWidget* window) {
    m_windows.emplace_back(window);
}

void HandlerGate::allowWhileBusy(QWidget* control) {
    m_allowed.emplace_back(control);
}

void HandlerGate::setTabBar(QTabBar* tabs, std::function<bool(int)> switchStartsHandler) {
    m_tabBar = tabs;
    m_switchStartsHandler = std::move(switchStartsHandler);
}

bool HandlerGate::busy() const {
    return m_runs > 0 || db::EventLoopYield::isOpen();
}

QString HandlerGate::statusText() const {
    return m_showing ? m_label + separator + elapsedText(m_since.elapsed()) : QString();
}

QString HandlerGate::runningLabel() const {
    return m_showing ? m_label : QString();
}

QWidget* HandlerGate::runningWindow() const {
    return m_showing ? m_runningWindow.data() : nullptr;
}

void HandlerGate::setStatementBusy(bool busy) {
    m_statementBusy = busy;
    updateCursor();
}

bool HandlerGate::eventFilter(QObject* watched, QEvent* event) {
    if (!isInput(event->type())) {
        noticeRunning();
        return false;
    }
    auto* widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || !isGated(widget))
        return false;
    if (!busy()) {
        m_lastInput = widget;
        m_lastInputTime.start();
        return false;
    }
    noticeRunning();
    if (isAllowed(widget, event))
        return false;
    event->accept();
    return true;
}

bool HandlerGate::isGated(const QWidget* widget) const {
    const QWidget* window = widget->window();
    if (window == &m_main)
        return true;
    for (const QPointer<QWidget>& subsidiary : m_windows) {
        if (subsidiary.data() == window)
            return true;
    }
    return false;
}

bool HandlerGate::isAllowed(const QWidget* widget, const QEvent* event) const {
    for (const QPointer<QWidget>& allowed : m_allowed) {
        if (isAncestorOrSelf(allowed.data(), widget))
            return true;
    }
    // Scrolling and resizing panes change nothing a handler reads.
    if (qobject_cast<const QScrollBar*>(widget) != nullptr || qobject_cast<const QSplitterHandle*>(widget))
        return true;
    return isAllowedTabClick(widget, event);
}

bool HandlerGate::isAllowedTabClick(const QWidget* widget, const QEvent* event) const {
    if (m_tabBar.isNull() || !isAncestorOrSelf(m_tabBar.data(), widget))
        return false;
    if (widget != m_tabBar.data())
        return true; // the strip's scroll arrows
    if (!isMouseButton(event->type()))
        return false; // keys and the wheel run through the tabs, hooked ones too
    const int index = m_tabBar->tabAt(static_cast<const QMouseEvent*>(event)->position().toPoint());
    return index < 0 || index == m_tabBar->currentIndex() || !m_switchStartsHandler ||
           !m_switchStartsHandler(index);
}

// A handler started by input shows from its first yield, timed from that input.
void HandlerGate::noticeRunning() {
    if (m_showing || !db::EventLoopYield::isOpen())
        return;
    const QWidget* control = m_lastInput.data();
    showRun(control != nullptr ? describe(control, &m_main) : tr("Working"), m_lastInputTime, control);
}

// The window's own loop going idle means the handler has returned; nested loops of a handler
// (message boxes, waits) run one level deeper.
void HandlerGate::loopAboutToBlock() {
    if (!m_showing || m_runs > 0 || db::EventLoopYield::isOpen())
        return;
    if (QThread::currentThread()->loopLevel() > 1)
        return;
    endRun();
}

void HandlerGate::showRun(const QString& label, const QElapsedTimer& since, const QWidget* control) {
    m_showing = true;
    m_label = label;
    m_runningWindow = control != nullptr ? control->window() : nullptr;
    m_since = since.isValid() ? since : QElapsedTimer();
    if (!m_since.isValid())
        m_since.start();
    m_tick->start();
    updateStatus();
    updateCursor();
}

void HandlerGate::endRun() {
    m_showing = false;
    m_runningWindow = nullptr;
    m_tick->stop();
    updateStatus();
    updateCursor();
    Q_EMIT handlerEnded();
}

void HandlerGate::updateStatus() {
    m_statusLine.setText(statusText());
}

void HandlerGate::updateCursor() {
    const bool waiting = m_statementBusy || m_showing;
    if (waiting == m_waitCursor.has_value())
        return;
    if (waiting)
        m_waitCursor.emplace(Qt::WaitCursor);
    else
        m_waitCursor.reset();
}

HandlerGate::Run::Run(HandlerGate& gate, const QString& label, const QWidget* control) : m_gate(gate) {
    if (m_gate.m_runs++ > 0)
        return;
    QElapsedTimer now;
    now.start();
    m_gate.showRun(label, now, control);
}

HandlerGate::Run::~Run() {
    if (--m_gate.m_runs == 0)
        m_gate.endRun();
}

QString HandlerGate::describe(const QWidget* control, const QWidget* mainWindow) {
    if (const auto* tabs = qobject_cast<const QTabBar*>(control))
        return tabs->tabText(tabs->currentIndex());
    const QWidget* named = namedControl(control);
    if (named == nullptr)
        return tr("Working");
    static const QRegularExpression indexed(QStringLiteral("^(.*)\\((\\d+)\\)$"));
    const QRegularExpressionMatch match = indexed.match(named->objectName());
    QString text = caption(named);
    if (text.isEmpty())
        text = match.hasMatch() ? match.captured(1) : named->objectName();
    if (match.hasMatch()) {
        const QString index = match.captured(2);
        const QString side = index == u"0" ? tr("left") : index == u"1" ? tr("right") : index;
        text += QStringLiteral(" (") + side + u')';
    }
    const QWidget* window = named->window();
    if (window != mainWindow && window != nullptr && !window->objectName().isEmpty())
        text = window->objectName() + QStringLiteral(": ") + text;
    return text;
}

} // namespace qormin::app
