/// \file DS_MenuChoice.h
/// One entry of the menu of a parameter; a record of the script writer.
///
/// Ownership:  owns copies of its texts.
/// Threads:    const calls from any thread.
/// Errors:     none. A text that was never set, or set to null, is "".

#pragma once

#include <KIT/KIT_StringHolder.h>

class DS_MenuChoice
{
public:
    DS_MenuChoice() = default;
    DS_MenuChoice(const char *value, const char *label) : myValue(value), myLabel(label) {}

    /// The token.
    const char *getValue() const { return myValue.nonNullStr(); }
    void setValue(const char *text) { myValue = text; }
    /// What the interface shows.
    const char *getLabel() const { return myLabel.nonNullStr(); }
    void setLabel(const char *text) { myLabel = text; }

private:
    KIT_StringHolder myValue;
    KIT_StringHolder myLabel;
};
