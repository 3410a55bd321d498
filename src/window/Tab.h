#pragma once

namespace qormin::window {

// The pages of SSTab1 by caption, in the strip's order. Page hooks and tool areas are tied to the
// page that holds the controls they serve.
namespace Tab {
enum Index : int {
    MainTools,
    Copy,
    Restore,
    Test,
    RestoreDir,
    Options,
    Mirroring,
    SqlToString,
    Anonymize,
    ConfigAnonymize,
    Other,
    TableSizes,
    SpReplace,
    Users,
    TransferData,
    Count
};
} // namespace Tab

} // namespace qormin::window
