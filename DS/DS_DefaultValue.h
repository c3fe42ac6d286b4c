/// \file DS_DefaultValue.h
/// The default of a parameter, a value for each component; a record of the script writer.
///
/// Vocabulary: *kind* = what the values are: numbers, whole numbers, or texts, each with a meaning.
///             *meaning* = how a text is read, literal or as an expression of which language.
/// Units:      indices from 0.
/// Ownership:  owns copies of everything.
/// Threads:    const calls from any thread.
/// Errors:     a value of another kind, or a missing one, reads as 0, "" or a literal.

#pragma once

#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_ValArray.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API DS_DefaultValue
{
public:
    enum Kind
    {
        FLOATS,
        INTEGERS,
        STRINGS
    };
    using Meanings = KIT_ValArray<TRK_StringMeaning>;

    /// Texts without a meaning of their own are literals. Of a 64-bit integer the low 32 bits are
    /// kept.
    explicit DS_DefaultValue(const KIT_ValArray<int> &values) { copy(values); }
    explicit DS_DefaultValue(const KIT_ValArray<float> &values) { copy(values); }
    explicit DS_DefaultValue(const KIT_ValArray<double> &values) { copy(values); }
    explicit DS_DefaultValue(const KIT_ValArray<int64_t> &values) { copy(values); }
    DS_DefaultValue(const KIT_StringArray &values, const Meanings &meanings)
    {
        copy(values, meanings);
    }
    DS_DefaultValue(const int *values, int count) { copy(values, count); }
    DS_DefaultValue(const float *values, int count) { copy(values, count); }
    DS_DefaultValue(const double *values, int count) { copy(values, count); }
    DS_DefaultValue(const int64_t *values, int count) { copy(values, count); }
    DS_DefaultValue(const char *const *values, const TRK_StringMeaning *meanings, int count)
    {
        copy(values, meanings, count);
    }

    /// Replaces everything, the kind too. Null `meanings` stands for literals.
    void copy(const KIT_ValArray<int> &values) { copy(values.data(), int(values.entries())); }
    void copy(const KIT_ValArray<float> &values) { copy(values.data(), int(values.entries())); }
    void copy(const KIT_ValArray<double> &values) { copy(values.data(), int(values.entries())); }
    void copy(const KIT_ValArray<int64_t> &values) { copy(values.data(), int(values.entries())); }
    void copy(const KIT_StringArray &values, const Meanings &meanings);
    void copy(const int *values, int count);
    void copy(const float *values, int count);
    void copy(const double *values, int count);
    void copy(const int64_t *values, int count);
    void copy(const char *const *values, const TRK_StringMeaning *meanings, int count);

    Kind getKind() const { return myKind; }
    int getSize() const { return mySize; }
    double getFloat(int index) const;
    int getInteger(int index) const;
    const char *getString(int index) const;
    TRK_StringMeaning getStringMeaning(int index) const;

private:
    void clear(Kind kind);

    Kind myKind = FLOATS;
    int mySize = 0;
    KIT_ValArray<double> myFloats;
    KIT_ValArray<int> myIntegers;
    KIT_StringArray myStrings;
    Meanings myMeanings;
};
