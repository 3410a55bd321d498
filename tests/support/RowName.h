#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace qormin::test {

// gtest takes letters, digits and underscores only: every run of other characters between words
// becomes one underscore. The index, where given, keeps rows with like labels apart.
inline std::string testName(std::string_view label) {
    std::string name;
    for (const char character : label) {
        const bool valid = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                           (character >= '0' && character <= '9') || character == '_';
        if (valid)
            name += character;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    }
    while (!name.empty() && name.back() == '_')
        name.pop_back();
    return name.empty() ? std::string("empty") : name;
}

inline std::string testName(std::string_view label, size_t index) {
    return testName(label) + '_' + std::to_string(index);
}

// A row's label is its `name`; a table whose rows carry it elsewhere declares a label() for
// its row type beside the rows.
template <class Row>
requires requires(const Row& row) {
    std::string_view(row.name);
}
std::string_view label(const Row& row) {
    return row.name;
}

inline std::string_view label(const char* text) {
    return text;
}

// Rows print as their label (in test listings, ctest's test list and failure messages) rather
// than as their bytes. gtest finds this through the rows' own namespace: a test file brings it
// in beside its rows with `using qormin::test::PrintTo;`.
template <class Row>
requires std::is_class_v<Row> && requires(const Row& row) {
    label(row);
}
void PrintTo(const Row& row, std::ostream* out) {
    *out << label(row);
}

// The test-name generator for a table of labelled rows, and for one whose labels may repeat.
struct RowName {
    template <class Row> std::string operator()(const testing::TestParamInfo<Row>& info) const {
        return testName(label(info.param));
    }
};

struct IndexedRowName {
    template <class Row> std::string operator()(const testing::TestParamInfo<Row>& info) const {
        return testName(label(info.param), info.index);
    }
};

} // namespace qormin::test
