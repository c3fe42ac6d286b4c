/// \file ZEL_Conditional.h
/// One condition on other parameters' values: `{ a == 1 b != 2 } { c > 3 }`.
///
/// Vocabulary: *group* = the comparisons between two braces, which must all hold; one group that
///             holds makes the condition true. The example has 2 groups with 3 comparisons.
///             *operand* = the text on either side of an operator.
/// Units:      group indices are 0-based, in text order.
/// Ownership:  owns its groups; copies are deep.
/// Threads:    const calls, evaluation included, from any thread; changes by one thread at a time.
/// Errors:     a text that can't be read gives one of six messages and an empty condition, which is
///             false. Evaluation can't fail; a regular expression that isn't valid, or that would take
///             more than 256 kB, compares as false, and the second is reported once.
/// Cost:       evaluation reads one parameter as text for each comparison that it reaches. A
///             regular expression is compiled by the first comparison that needs it, for all copies
///             of the condition, items' included (those with an item's number in it one by one), and
///             matches in linear time.
///
/// The text:
///
///     condition    any number of groups; none is valid
///     group        "{", comparisons, "}"; at least one operand
///     comparison   left operand, operator, right operand; `a 1` is short for `a == 1`, and a
///                  missing right operand is the empty text
///     operand      up to a blank or "}"; or between two " or two `, with \ before one of the same
///                  kind inside. The escapes of KIT_String::expandControlSequences are resolved.
///     operator     == != >= <= > < =~ !~
///
/// Nothing in the library applies a condition: the application evaluates it, after each change of what
/// it reads, and passes the result to `ZEL_Parm::setEnableState` or `setVisibleState`.
///
/// Blanks are the space and the bytes 9 to 13. A left operand immediately followed by "}" is dropped:
/// `{ a}` is a group without comparisons, which always holds, and `{ a }` compares `a` with the empty
/// text.
#pragma once

#include <KIT/KIT_Array.h>
#include <ZEL/ZEL_ConditionalBase.h>
#include <ZEL/ZEL_ConditionalInfo.h>

#include <memory>

class KIT_String;
class KIT_StringHolder;
class ZEL_Parm;
class ZEL_ParmList;

class ZEL_API ZEL_Conditional : public ZEL_ConditionalBase
{
public:
    // ---------------------------------------------------------------- //
    /// \name Life
    // ---------------------------------------------------------------- //
    explicit ZEL_Conditional(ZEL_ConditionalType type);
    /// Empty, without a message, if the text can't be read.
    ZEL_Conditional(const char *text, ZEL_ConditionalType type);
    ZEL_Conditional(const ZEL_Conditional &other);
    ZEL_Conditional &operator=(const ZEL_Conditional &other);
    ~ZEL_Conditional() override;

    ZEL_ConditionalGroupType groupType() const override;
    ZEL_Conditional *instance(const KIT_ValArray<int> &instances) const override;
    /// Itself, if it is of this type.
    ZEL_Conditional *getConditional(ZEL_ConditionalType type) override;
    const ZEL_Conditional *getConditional(ZEL_ConditionalType type) const override;
    int64_t getMemoryUsage(bool inclusive) const override;
    bool hasItemNumbers() const override;

    // ---------------------------------------------------------------- //
    /// \name Groups
    // ---------------------------------------------------------------- //
    ZEL_ConditionalType getType() const { return myType; }
    int entries() const { return int(myInfos.entries()); }
    /// Null outside 0 .. entries - 1.
    ZEL_ConditionalInfo *operator()(int index);
    const ZEL_ConditionalInfo *operator()(int index) const;
    /// Appends an empty group.
    ZEL_ConditionalInfo *createInfo();
    void clear();

    // ---------------------------------------------------------------- //
    /// \name Text
    // ---------------------------------------------------------------- //
    /// Replaces the groups. False, with the message and no groups, if the text can't be read; a
    /// null or empty text gives no groups. The message is left alone on success.
    bool setListFromString(const char *text, KIT_StringHolder &message);
    /// The same result and message; stores nothing.
    static bool verifyConditionalString(const char *text, KIT_StringHolder &message);
    /// The text of all comparisons, or of those whose left operand is in the filter; null is no
    /// filter. Groups without any such comparison are left out. Operands are quoted as in dialog
    /// scripts (`ZELprotectString`), where only blanks and double quotes require quotes.
    void getStringFromList(KIT_String &out) const;
    void getStringFromList(KIT_String &out, const KIT_StringArray &filter) const;
    void getStringFromList(KIT_StringHolder &out, const KIT_StringArray *filter) const;

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (any thread)
    // ---------------------------------------------------------------- //
    /// Whether the condition holds for this parameter, with the values that the list has at the
    /// thread's evaluation time. A left operand that names no parameter, or one whose token is in
    /// `ignored` (may be null), makes "==" false and every other comparison true. A toggle's "off"
    /// and "on" equal 0 and 1, and data that isn't empty reads as "__not_empty__". Left operands
    /// that are expressions are evaluated by the list's owner.
    bool eval(const ZEL_Parm &parm, const ZEL_ParmList &list, const KIT_StringArray *ignored) const;

    // ---------------------------------------------------------------- //
    /// \name Keywords
    // ---------------------------------------------------------------- //
    /// "disablewhen", or "Disable When" for display; null for an unknown type.
    const char *getName(bool forDisplay) const { return getName(myType, forDisplay); }
    static const char *getName(ZEL_ConditionalType type, bool forDisplay);
    /// True only when the whole text is one operator.
    static bool getOperatorFromString(const char *text, ZEL_ConditionalOperator &op);
    static bool isValidOperator(const char *text);
    /// Null for an unknown operator.
    static const char *getOperatorString(ZEL_ConditionalOperator op);

private:
    void copyInfos(const ZEL_Conditional &other);

    KIT_Array<std::unique_ptr<ZEL_ConditionalInfo>> myInfos;
    ZEL_ConditionalType myType;
};
