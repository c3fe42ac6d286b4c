/// \file KIT_FSA.h
/// A fixed table from keywords to numbers.
///
/// Vocabulary: *row* = a word with its number; of rows with the same word the first one counts.
/// Ownership:  borrows the words, which are literals of a static table as a rule.
/// Threads:    built once; look-ups from any thread after that.
/// Errors:     theNoSymbol for a word that isn't in the table, null included.
/// Cost:       a binary search; no heap.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ValArray.h>

class KIT_API KIT_FSA
{
public:
    struct Row
    {
        const char *word;
        int symbol;
    };

    /// Returned for a word that isn't in the table.
    static constexpr int theNoSymbol = -1;

    KIT_FSA() = default;
    KIT_FSA(int count, const Row *table) { build(count, table); }

    /// Replaces all rows. Rows with a null word are ignored.
    void build(int count, const Row *table);

    /// The word's number. The whole word is compared, case included.
    int findSymbol(const char *word) const;

    /// How many different words there are.
    int64_t entries() const { return myRows.entries(); }

private:
    KIT_ValArray<Row> myRows; // sorted by word
};
