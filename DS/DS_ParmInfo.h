/// \file DS_ParmInfo.h
/// One parameter of a dialog as the script writer gets it.
///
/// Vocabulary: *logarithmic* = a bit of the flags that applies to a single number only. *embed* =
///             the sign bit of the flags, which distinguishes "embed" from "toggle". *script form*
///             = a text as it stands in a script; names, labels, conditions and the lines of a menu
///             script are written as they are, so to be readable again they must contain quotes and
///             escapes.
/// Units:      `size` in components; `exportLevel` 0 none, 1 dialog, 2 all, above: not written;
///             `menuType` 0 one of the choices, 1 a choice replaces the text, 2 it toggles a word
///             of the text.
/// Ownership:  owns its texts and the records in its lists, which are made by new. The lists are
///             part of the interface as arrays of plain pointers, so no unique_ptr holds them.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     none.

#pragma once

#include <DS/DS_AttributeValue.h>
#include <DS/DS_DefaultValue.h>
#include <DS/DS_DisableInfo.h>
#include <DS/DS_HandleBinding.h>
#include <DS/DS_MenuChoice.h>
#include <DS/DS_SelectorBinding.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <memory>

class ZEL_API DS_ParmInfo
{
public:
    static constexpr unsigned theLogarithmicFlag = 0x100;
    static constexpr unsigned theEmbedFlag = 0x80000000;

    /// A single float with this text as name and label; not a multi-parameter.
    explicit DS_ParmInfo(const char *name);
    ~DS_ParmInfo();
    DS_ParmInfo(const DS_ParmInfo &) = delete;
    DS_ParmInfo &operator=(const DS_ParmInfo &) = delete;

    void setFlag(unsigned mask) { myFlags |= mask; }
    void clearFlag(unsigned mask) { myFlags &= ~mask; }
    /// The bits of the mask that are set.
    unsigned getFlag(unsigned mask) const { return myFlags & mask; }

    /// Whether it is a single number with the bit set.
    bool isLogarithmic() const;
    /// Does nothing unless it is a single number.
    void setLogarithmic(bool logarithmic);
    bool isInvisible() const;
    void setInvisible();
    /// Sets type, size and kind of ramp from a type keyword. Returns false without a change for an
    /// unknown keyword and for those listed after "buttonstrip", which records can't express;
    /// "ordinal" returns true without a change. Keywords for nodes are plain texts here.
    bool setTypeByToken(const char *word);
    /// The first keyword that fits the type. Other ordinals give "string" with a menu and "integer"
    /// without; everything else gives "float".
    const char *getTypeToken() const;
    void addHelpText(const char *text) { help += text; }
    /// Arrays aren't written.
    bool getIsArray() const { return myArrayFlag; }
    void setIsArray(bool array) { myArrayFlag = array; }

    KIT_String name;
    KIT_String label;
    KIT_String callback;
    KIT_String help;
    KIT_String rmanType;
    KIT_String opFilter;
    ZEL_Type type;
    ZEL_MultiType multiType = ZEL_MULTITYPE_NONE;
    int exportLevel = 0;
    KIT_String group;      // folder path with slashes
    KIT_String menuScript; // lines in script form
    TRK_ScriptLanguage menuLanguage = TRK_SCRIPT_COMMAND;
    KIT_ValArray<DS_MenuChoice *> menuChoices;
    int menuType = 0;
    KIT_ValArray<DS_AttributeValue *> attributes;
    KIT_ValArray<DS_HandleBinding *> handles;
    std::unique_ptr<DS_SelectorBinding> selector;
    int size = 1;
    std::unique_ptr<DS_DefaultValue> defaults;
    std::unique_ptr<ZEL_Range> range;
    KIT_ValArray<DS_DisableInfo *> disableInfo; // used without `disableWhen` only
    KIT_String disableWhen;                     // in script form
    KIT_String hideWhen;                        // in script form

private:
    bool isSingleNumber() const;

    unsigned myFlags = 0;
    bool myArrayFlag = false;
};
