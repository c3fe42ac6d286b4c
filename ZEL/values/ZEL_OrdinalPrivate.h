/// \file ZEL_OrdinalPrivate.h
/// What the sources of the ordinal share. Not installed.
///
/// Ownership:  borrows the ordinal, and a dynamic menu's entries from the thread's record.
/// Threads:    one thread, until it requests another menu.
#pragma once

#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Ordinal.h>

/// The menu of an ordinal, requested when first needed and only once.
class ZEL_Ordinal::Choices
{
public:
    explicit Choices(const ZEL_Ordinal &ordinal) : myOrdinal(ordinal) {}

    int count();
    /// Null for a value that is no index.
    const char *token(std::int64_t value);
    /// The index of the token, case sensitive; -1 if there is none.
    int find(const char *text);
    /// The token rule: a token's index, else a decimal integer, else not ok and 0.
    std::int64_t parse(const char *text, bool &ok);
    /// The word for a value in a stream or command: null for a plain number. The number of a menu
    /// with token values is written into the buffer.
    const char *word(std::int64_t value, KIT_WorkBuffer &buffer);

private:
    void ask();

    const ZEL_Ordinal &myOrdinal;
    const ZEL_Name *myNames = nullptr;
    const ZEL_Item *myItems = nullptr;
    int myCount = -1;
};

/// A decimal integer and nothing else; otherwise not ok and 0.
std::int64_t ZELparseOrdinal(const char *text, bool &ok);

/// Only letters, digits and "_": such a word in a stream is a token and no expression.
bool ZELisBareWord(const char *text);
