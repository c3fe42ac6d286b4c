/// \file ZEL_ValueRules.h
/// What a parameter's description makes of numbers and texts: the rules by which its kind holds, rounds, limits
/// and names them, kept apart from the parameter, for whoever keeps values of his own.
///
///     const ZEL_ValueRules rules(parm);
///     const double value = rules.fromChannel(channel.evaluate(collection, time, thread, timeDependent));
///     KIT_String text;
///     rules.textOf(value, text);
///
/// Vocabulary: *menu* = the tokens of a static menu; *dynamic* = of a menu that a generator or script makes.
/// Units:      as in ZEL_Parm.
/// Ownership:  owns what it keeps, and may outlive the parameter and its description.
/// Threads:    immutable once made; any thread.
/// Errors:     none. What has no kind gives 0 and "".
#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Range.h>

#include <cstdint>
#include <memory>
#include <vector>

class ZEL_Parm;

class ZEL_API ZEL_ValueRules
{
public:
    enum class Kind : std::uint8_t
    {
        NONE,
        FLOAT,
        ORDINAL,
        STRING,
        DATA
    };

    ZEL_ValueRules() = default;
    explicit ZEL_ValueRules(const ZEL_Parm &parm);

    Kind getKind() const { return myKind; }
    bool isNumber() const { return myKind == Kind::FLOAT || myKind == Kind::ORDINAL; }
    /// Whether the kind is read at the time that is asked for; else at time 0.
    bool isAnimatible() const { return myAnimatibleFlag; }
    /// Whether values depend on a dynamic menu: they can't be told without the owner.
    bool hasDynamicMenu() const { return myDynamicFlag; }

    // ------------------------------------------------------------------ //
    /// \name Numbers   (of floats and ordinals)
    // ------------------------------------------------------------------ //
    ///@{
    /// What the channel gave, as a value: rounded and held to the limits, or to the menu.
    double fromChannel(double number) const;
    std::int64_t integerOf(double value) const;
    void textOf(double value, KIT_String &text) const;
    /// What a whole number is as a text: its token, if it has one.
    void textOf(std::int64_t value, KIT_String &text) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Texts
    // ------------------------------------------------------------------ //
    ///@{
    /// The flags of TRK_Manager::expandString for texts without a channel.
    int getExpandFlags() const { return myExpandFlags; }
    /// The last step of a read.
    void finish(KIT_String &text) const;
    static double numberOf(const KIT_String &text);
    static std::int64_t integerOf(const KIT_String &text);
    ///@}

    std::int64_t getMemoryUsage(bool inclusive) const;

private:
    void takeMenu(const ZEL_Parm &parm);

    ZEL_Range myRange;
    std::shared_ptr<const std::vector<KIT_StringHolder>> myTokens; ///< of an ordinal's menu
    int myExpandFlags = 0;
    int myMenuSize = 0; ///< that values are held to; 0: to none
    Kind myKind = Kind::NONE;
    bool myRangeFlag = false;
    bool myWholeFlag = false; ///< of floats
    bool myAnimatibleFlag = false;
    bool myDynamicFlag = false;
    bool myAlphaFlag = false;
};
