#include <DS/DS_DefaultValue.h>

void DS_DefaultValue::clear(Kind kind)
{
    myKind = kind;
    mySize = 0;
    myFloats.clear();
    myIntegers.clear();
    myStrings.clear();
    myMeanings.clear();
}

// -------------------------------------------------------------------- //
// Copies. The source may be a part of this very record, so it is copied first.
// -------------------------------------------------------------------- //

namespace
{

template <class To, class From>
KIT_ValArray<To> convert(const From *values, int count)
{
    KIT_ValArray<To> converted;
    for (int i = 0; i < count; i++) {
        converted.append(static_cast<To>(values[i]));
    }
    return converted;
}

} // namespace

void DS_DefaultValue::copy(const int *values, int count)
{
    KIT_ValArray<int> integers = convert<int>(values, count);
    clear(INTEGERS);
    myIntegers = std::move(integers);
    mySize = static_cast<int>(myIntegers.entries());
}

void DS_DefaultValue::copy(const int64_t *values, int count)
{
    KIT_ValArray<int> integers = convert<int>(values, count);
    clear(INTEGERS);
    myIntegers = std::move(integers);
    mySize = static_cast<int>(myIntegers.entries());
}

void DS_DefaultValue::copy(const float *values, int count)
{
    KIT_ValArray<double> floats = convert<double>(values, count);
    clear(FLOATS);
    myFloats = std::move(floats);
    mySize = static_cast<int>(myFloats.entries());
}

void DS_DefaultValue::copy(const double *values, int count)
{
    KIT_ValArray<double> floats = convert<double>(values, count);
    clear(FLOATS);
    myFloats = std::move(floats);
    mySize = static_cast<int>(myFloats.entries());
}

void DS_DefaultValue::copy(const KIT_StringArray &values, const Meanings &meanings)
{
    KIT_StringArray strings;
    Meanings kept = meanings;
    for (const KIT_String &value : values) {
        strings.append(value.nonNullStr());
    }
    clear(STRINGS);
    myStrings = std::move(strings);
    myMeanings = std::move(kept);
    mySize = static_cast<int>(myStrings.entries());
}

void DS_DefaultValue::copy(const char *const *values, const TRK_StringMeaning *meanings, int count)
{
    KIT_StringArray strings;
    Meanings kept;
    for (int i = 0; i < count; i++) {
        strings.append(values[i] ? values[i] : "");
        kept.append(meanings ? meanings[i] : TRK_MEANING_LITERAL);
    }
    clear(STRINGS);
    myStrings = std::move(strings);
    myMeanings = std::move(kept);
    mySize = static_cast<int>(myStrings.entries());
}

// -------------------------------------------------------------------- //
// Values
// -------------------------------------------------------------------- //

double DS_DefaultValue::getFloat(int index) const
{
    return myFloats.isValidIndex(index) ? myFloats[index] : 0.0;
}

int DS_DefaultValue::getInteger(int index) const
{
    return myIntegers.isValidIndex(index) ? myIntegers[index] : 0;
}

const char *DS_DefaultValue::getString(int index) const
{
    return myStrings.isValidIndex(index) ? myStrings[index].nonNullStr() : "";
}

TRK_StringMeaning DS_DefaultValue::getStringMeaning(int index) const
{
    return myMeanings.isValidIndex(index) ? myMeanings[index] : TRK_MEANING_LITERAL;
}
