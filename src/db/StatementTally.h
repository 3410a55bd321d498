#pragma once

namespace qormin::db {

// What the statements of a run came to, for the closing summary and the exit status of a
// batch run. Every statement the tool tried to run counts as sent (one on a side that could
// not connect fails without reaching a server); one withheld by Script only is not sent.
struct StatementTally {
    int sent = 0;
    int failed = 0;            // refused, cancelled or not connected; header-row refusals excluded
    int headerRowRefusals = 0; // failed while a loop walked a grid's header row (HeaderRowPass)
    int withheld = 0;
    int connectFailures = 0;
    // Values a record loop could not move or replace as they were (refused before anything was
    // sent, or a record left with a real name): a run that lost one did not succeed.
    int valuesLost = 0;
    // Lines the audit trail could not keep: a run whose changes went unrecorded did not succeed.
    int auditLinesLost = 0;

    StatementTally operator-(const StatementTally& earlier) const {
        return {sent - earlier.sent,
                failed - earlier.failed,
                headerRowRefusals - earlier.headerRowRefusals,
                withheld - earlier.withheld,
                connectFailures - earlier.connectFailures,
                valuesLost - earlier.valuesLost,
                auditLinesLost - earlier.auditLinesLost};
    }
};

} // namespace qormin::db
