/// \file DS_CommandParmPrivate.h
/// One record of a dialog command together with its parameters: what a line reads into and is written
/// from.
///
/// Vocabulary: as DS_Command.h.
/// Ownership:  borrows record and list.
/// Threads:    one thread at a time.
/// Errors:     a component that isn't there reads as "", and setting it does nothing.

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
    /// What a component has on a line.
    struct Word
    {
        std::string text;
        bool expressionFlag = false;
        bool textFlag = false; ///< in quotes with RenderMan syntax
    };

    DS_CommandParm(ZEL_ScriptParm &record, ZEL_ParmList &list);
    /// The records of a page and its folders in order.
    static void collect(const ZEL_ScriptPage &page, KIT_ValArray<ZEL_ScriptParm *> &records);
    static Kind findKind(const ZEL_ScriptParm &record);
    /// What a number field keeps of its type.
    static ZEL_Type getLooks();

    Kind getKind() const { return myKind; }
    const KIT_String &getOption() const;
    bool isPositional() const { return getOption().isEmpty(); }
    bool isRequired() const;
    /// Components; 0 for what has no words.
    int getSize() const;
    /// Whether words without an option are for it.
    bool takesPlace() const { return isPositional() && getSize() > 0; }

    /// Whether the record is to be on a line.
    bool isOn() const;
    /// Off, as far as it can be.
    void reset();
    /// The companion to 1, a toggle too.
    void turnOn();
    /// Reads the words of the first `count` components; `words` has that many.
    void setWords(const char *const *words, int count);
    Word getWord(int component) const;
    /// By the companion; true if a state changed.
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
    /// Of all components with a negative index.
    static void setInt(ZEL_Parm *parm, int component, int value);
    ZEL_Parm *findTextOf(int component) const;

    ZEL_ScriptParm &myRecord;
    ZEL_ParmList &myList;
    Kind myKind;
    ZEL_Parm *myParm = nullptr;
    ZEL_Parm *myCompanion = nullptr;
};

/// A word that stands for an expression without its backticks and their backslashes; any other as it
/// is.
std::string DSstripBackticks(const char *word);
/// Whether the text is one run in backticks.
bool DSisBacktickRun(const char *text);
