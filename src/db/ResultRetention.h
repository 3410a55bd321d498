#pragma once

namespace qormin::db {

// Which rows a caller keeps; every batch is read to its end whatever is kept.
enum class ResultRetention { AllResultSets, FirstResultSet, Nothing };

} // namespace qormin::db
