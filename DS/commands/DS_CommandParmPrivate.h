/// \file DS_CommandParmPrivate.h
/// One record of a dialog command together with its parameters: the target of reading a line and
/// the source of writing one.
///
/// Vocabulary: as DS_Command.h.
/// Ownership:  borrows record and list.
/// Threads:    one thread at a time.
/// Errors:     a component that doesn't exist reads as "", and setting it does nothing.

#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_Type.h>

#include <string>

class ZEL_Parm;
class ZEL_ParmList;
class ZEL_ScriptPage;
class ZEL_ScriptParm;

class DS_CommandParm
{
public:
    enum class Kind
    {
        NONE,         ///< has no words
        TOGGLE,       ///< off or on
        ORDINAL,      ///< a menu, or bits
        NUMBER,       ///< a float parameter
        NUMBER_FIELD, ///< a number as text
        TEXT,
        VECTOR ///< sliders and expressions
    };
    /// The folders of a vector's companion.
    enum Folder : int
    {
        OFF,
        SLIDERS,
        EXPRESSIONS
    };
    /// A component's word on a line.
    struct Word
    {
        std::string text;
        bool expressionFlag = false;
        bool textFlag = false; ///< in quotes with RenderMan syntax
    };

    DS_CommandParm(ZEL_ScriptParm &record, ZEL_ParmList &list);
    /// Collects the records of a page and its folders in order.
    static void collect(const ZEL_ScriptPage &page, KIT_ValArray<ZEL_ScriptParm *> &records);
    static Kind findKind(const ZEL_ScriptParm &record);
    /// The part of its type that a number field keeps.
    static ZEL_Type getLooks();

    Kind getKind() const { return myKind; }
    std::string getToken() const;
    const KIT_String &getOption() const;
    bool isPositional() const { return getOption().isEmpty(); }
    bool isRequired() const;
    /// Components; 0 for a record without words.
    int getSize() const;
    /// Whether it takes words without an option.
    bool takesPlace() const { return isPositional() && getSize() > 0; }

    /// Whether the record is written to a line.
    bool isOn() const;
    /// Turns it off, as far as it can be.
    void reset();
    /// Sets the companion to 1; a toggle is set too.
    void turnOn();
    /// Reads the words of the first `count` components; `words` has `count` entries.
    void setWords(const char *const *words, int count);
    Word getWord(int component) const;
    /// Whether the component's value is what the word says: text, number, menu entry or 0 and 1.
    bool holds(int component, const char *word) const;
    /// Disables by the companion; true if a state changed.
    bool disable();

private:
    void setVector(const char *const *words, int count);
    void setNumber(int component, const char *word);
    static void setText(ZEL_Parm *parm, int component, const char *text);
    static std::string getText(const ZEL_Parm *parm, int component);
    std::string getNumber(int component) const;
    Word getFieldWord(const std::string &text) const;
    Word getVectorWord(int component) const;
    bool isMenuToken(const std::string &text) const;
    static int getInt(const ZEL_Parm *parm, int component);
    /// A negative component means all.
    static void setInt(ZEL_Parm *parm, int component, int value);
    ZEL_Parm *findTextOf(int component) const;

    ZEL_ScriptParm &myRecord;
    ZEL_ParmList &myList;
    Kind myKind;
    ZEL_Parm *myParm = nullptr;
    ZEL_Parm *myCompanion = nullptr;
};

/// An expression's word without its backticks and their backslashes; any other word unchanged.
std::string DSstripBackticks(const char *word);
/// Whether the text is a single run in backticks.
bool DSisBacktickRun(const char *text);
