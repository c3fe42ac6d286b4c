/// \file ZEL_Default.h
/// The default of one component: a number, and a text where the type needs one.
///
/// Vocabulary: *meaning* = how the text is read: as a literal, or as an expression and in which
///             language. For a switcher, default i is folder i: the text its label, the number its
///             member count.
/// Units:      ordinals are stored in the number too, as whole numbers.
/// Ownership:  the text is borrowed and must outlive the record; setString(text, true) frees the
///             previous one, for an owner who made it by malloc. Copies share the pointer.
/// Threads:    const calls from any thread.
/// Errors:     none.
#pragma once

#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API ZEL_Default
{
public:
    constexpr ZEL_Default(double value = 0.0, const char *text = nullptr,
                          TRK_StringMeaning meaning = TRK_MEANING_LITERAL) noexcept
        : myFloat(value), myString(text), myMeaning(meaning)
    {}

    void set(double value = 0.0, const char *text = nullptr,
             TRK_StringMeaning meaning = TRK_MEANING_LITERAL)
    {
        myFloat = value;
        myString = text;
        myMeaning = meaning;
    }

    double getFloat() const { return myFloat; }
    void setFloat(double value) { myFloat = value; }

    /// The number cut toward zero; beyond 32 bits the nearest int, 0 for a NaN.
    int getOrdinal() const
    {
        if (!(myFloat > -2147483648.0)) {
            return myFloat <= -2147483648.0 ? INT32_MIN : 0;
        }
        return myFloat < 2147483647.0 ? static_cast<int>(myFloat) : INT32_MAX;
    }
    void setOrdinal(int value) { myFloat = value; }

    /// The text, "" when there is none.
    const char *getString() const { return myString ? myString : ""; }
    bool gotString() const { return myString != nullptr; }
    /// Stores the pointer itself. `freeOld` passes the previous text to free().
    void setString(const char *text, bool freeOld);

    TRK_StringMeaning getStringMeaning() const { return myMeaning; }
    void setStringMeaning(TRK_StringMeaning meaning) { myMeaning = meaning; }

    /// The record's size when inclusive, else 0; the text is not counted.
    int64_t getMemoryUsage(bool inclusive) const
    {
        return inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    }

private:
    double myFloat;
    const char *myString;
    TRK_StringMeaning myMeaning;
};
