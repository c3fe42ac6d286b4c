/// \file DS_AttributeValue.h
/// One tag of a parameter; a record of the script writer.
///
/// Ownership:  owns copies of its texts.
/// Threads:    const calls from any thread.
/// Errors:     none. A text that was never set, or set to null, is "".

#pragma once

#include <KIT/KIT_StringHolder.h>

class DS_AttributeValue
{
public:
    DS_AttributeValue() = default;
    DS_AttributeValue(const char *token, const char *value) : myToken(token), myValue(value) {}

    /// The name of the tag.
    const char *getToken() const { return myToken.nonNullStr(); }
    void setToken(const char *text) { myToken = text; }
    /// Its text.
    const char *getValue() const { return myValue.nonNullStr(); }
    void setValue(const char *text) { myValue = text; }

private:
    KIT_StringHolder myToken;
    KIT_StringHolder myValue;
};
