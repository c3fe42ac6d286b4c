/// \file NOD_MigrationConvertPrivate.h
/// Carries a component into another one by the value steps of a map: value, keys, expressions, lock and alias. Not
/// installed.
///
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     the result says what isn't carried, and why.
#pragma once

#include <NOD/NOD_MigrationStep.h>

#include <string>
#include <vector>

class TRK_Channel;
class ZEL_Parm;
class ZEL_Template;

/// Which of the kinds of a step a template is of; false for data and others that no step is for.
bool NODvalueKindOf(const ZEL_Template &description, NOD_MigrationStep::Value &kind);

class NOD_MigrationConverter
{
public:
    using Steps = std::vector<const NOD_MigrationStep *>;
    enum class Outcome
    {
        EXACT,
        CHANGED, ///< something is there, and isn't all of it
        LOST
    };
    struct Result
    {
        Outcome outcome = Outcome::EXACT;
        std::string reason;
    };

    /// Borrows the steps.
    NOD_MigrationConverter(Steps steps, double time) : mySteps(std::move(steps)), myTime(time) {}

    /// `to` is at its default, without a channel and unlocked.
    Result convert(const ZEL_Parm &from, int fromIndex, ZEL_Parm &to, int toIndex) const;

    /// Why a number isn't what the steps make of it, as where an expression reads what has changed too; "" if it is,
    /// but for rounding, and where they are about more than numbers.
    std::string deviation(double before, double after) const;

private:
    struct Tokens;

    double apply(double value, Result &result) const;
    double factor() const;
    double slopeOf(double slope) const;
    std::string entryOf(const std::string &entry) const;
    Result convertNumber(const ZEL_Parm &from, int fromIndex, ZEL_Parm &to, int toIndex) const;
    void convertChannel(TRK_Channel &channel, const Tokens &tokens, Result &result) const;
    Result convertText(const ZEL_Parm &from, int fromIndex, ZEL_Parm &to, int toIndex) const;

    Steps mySteps;
    double myTime;
};

/// An expression with a unit's operations around it, or, where it is one that the other direction wrapped, without
/// them.
std::string NODwrapExpression(const std::string &text, const NOD_MigrationStep &unit);
