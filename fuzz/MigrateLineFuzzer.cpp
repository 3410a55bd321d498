// Lines of the migration file: whatever a line holds, it reads as one kind, decided by its
// first character, and the parts it yields come from the line.
#include "FuzzInput.h"

#include "transfer/MigrateFileLine.h"

using qormin::transfer::MigrateFileLine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QString text = qormin::fuzz::textOf(data, size);
    const MigrateFileLine line = MigrateFileLine::read(text);
    require((line.kind == MigrateFileLine::Kind::Refused) == !line.reason.isEmpty(),
            "a reason exactly when refused");
    switch (line.kind) {
    case MigrateFileLine::Kind::Header:
        require(text.startsWith(u'#') && !line.destination.contains(u'|') && !line.source.contains(u'|'),
                "a header's tables hold no separator");
        break;
    case MigrateFileLine::Kind::Mapping:
        require(text.startsWith(u'*') && !line.destination.contains(u'|'),
                "a mapping's field holds no separator");
        require(text.contains(line.firstWord) && text.contains(line.remainder),
                "a mapping's source is taken from the line");
        break;
    case MigrateFileLine::Kind::Blank:
        require(text.count(u' ') == text.size(), "only a line of blanks is blank");
        break;
    default:
        break;
    }
    return 0;
}
