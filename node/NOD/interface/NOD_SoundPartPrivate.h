/// \file NOD_SoundPartPrivate.h
/// What is left of a script that can't be read: itself without the statements that are at fault, which are blanks, so
/// that all else keeps its place.
///
/// Vocabulary: *certain* = of what is said of the part: it doesn't follow from what is left out. Uncertain is
///             what is told of a parameter that lost more than words for people, and of names that aren't there
///             where some may have been lost.
/// Ownership:  borrows the text and the name.
/// Threads:    as NODcheckDescription().
/// Cost:       of reading the script a few times.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ScriptShapePrivate.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct KIT_MessageEdit;

class NOD_SoundPart
{
public:
    NOD_SoundPart(std::string_view text, const std::string &name, NOD_Interface::Includes includes)
        : myWhole(text), myName(name), myIncludes(includes), myText(text)
    {}

    /// `mistakes` are all that were found when the script was read. Null if no part can be read by itself.
    std::shared_ptr<const NOD_Interface> read(const NOD_Report &mistakes);
    /// Whether a message about the part is certain, but for names.
    bool isCertain(const NOD_Message &message) const;
    /// Whether its block, or one around it below the script, has all its statements.
    bool isWhole(const NOD_Message &message) const;
    bool hasLostNames() const { return myNamesLost; }
    /// The lines that are shown are those of the whole, and fixes are left out that would change what is blanks here.
    void restorePlaces(NOD_Message &message) const;

private:
    using Shape = NOD_ScriptShape;

    struct Range
    {
        std::int64_t begin;
        std::int64_t end;
    };

    bool leaveOut(const NOD_Report &mistakes);
    bool leaveOutFaults(const NOD_ScriptTokens &tokens, const Shape &shape);
    bool leaveOutStatement(const NOD_ScriptTokens &tokens, const Shape &shape, int token);
    bool leaveOutBlock(const NOD_ScriptTokens &tokens, const Shape &shape, int block);
    bool blank(const NOD_ScriptTokens &tokens, int begin, int end);
    static bool isHarmless(const NOD_ScriptTokens &tokens, const Shape &shape, int block,
                           const Shape::Statement &statement);
    void addDamage(const NOD_ScriptTokens &tokens, const Shape &shape, int block);
    void addTouched(const NOD_ScriptTokens &tokens, const Shape &shape, int block);
    bool isOutside(const std::vector<Range> &ranges, const NOD_Message &message) const;
    bool isSame(const KIT_MessageEdit &edit) const;

    std::string_view myWhole;
    const std::string &myName;
    NOD_Interface::Includes myIncludes;
    std::string myText;
    std::vector<Range> myDamaged; ///< blocks of parameters
    std::vector<Range> myTouched; ///< all that lost a statement
    bool myNamesLost = false;
};

/// Adds what NODcheckDescription() says of the sound part, with places in the whole script. Adds nothing if no part
/// can be read by itself.
void NODcheckSoundPart(std::string_view text, const std::string &name,
                       NOD_Interface::Includes includes, const NOD_Report &mistakes,
                       NOD_Report &report);
