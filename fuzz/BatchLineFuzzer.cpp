// Batch lines: any line parses to a command or an error, never both; the value of "set"
// printed escaped and read back by "set" is the same value.
#include "FuzzInput.h"

#include "app/batch/BatchCommand.h"

using qormin::app::BatchCommand;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QString line = qormin::fuzz::textOf(data, size);
    const qormin::app::BatchParseResult parsed = qormin::app::parseBatchLine(line);
    require(parsed.command.has_value() == parsed.error.isEmpty(), "either a command or an error");
    if (!parsed.command)
        return 0;
    const BatchCommand& command = *parsed.command;
    require(command.row >= 0 && command.column.value_or(0) >= 0, "rows, columns and waits are 0 or more");
    if (command.kind != BatchCommand::Kind::Set)
        return 0;
    require(!command.name.isEmpty() && !command.name.contains(u' '), "set names one control");
    const QString again =
        QStringLiteral("set ") + command.name + u' ' + qormin::app::escapedBatchValue(command.value);
    const qormin::app::BatchParseResult reparsed = qormin::app::parseBatchLine(again);
    require(reparsed.command && reparsed.command->value == command.value,
            "a printed value is set back unchanged");
    return 0;
}
