#pragma once

class QSplitter;
class QTabWidget;
class QWidget;

namespace qormin::app {

// What keeps the main window usable from 1024x768 up without touching a page's own layout: the
// subsystems keep adding controls to the pages, so the window must not grow with them.
namespace WindowFit {

// The page inside a frameless scroll area, to be added to the tab strip in its place. A page that
// needs more room than the strip has scrolls, instead of raising the window's minimum size (which
// a small screen then clips) or squeezing its buttons below their captions.
QWidget* scrollable(QWidget* page);

// Tabs beyond the strip's width stay reachable through its scroll buttons, captions whole,
// whatever the style prefers.
void keepTabsReachable(QTabWidget& tabs);

// The tab strip shares its row with the log panel: while the user has not moved the splitter, the
// strip gets the width to show every tab where the window is wide enough, and never less than
// the larger share.
void shareRowWithTabs(QSplitter& row, QTabWidget& tabs);

} // namespace WindowFit

} // namespace qormin::app
