#include <NOD/interface/NOD_SoundPartPrivate.h>

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace
{

using Shape = NOD_ScriptShape;

/// Keywords on which nothing depends that is told of a parameter.
constexpr std::string_view theHarmless[] = {
    "label",       "help",          "callback",  "disablewhen",    "hidewhen",     "nocookwhen",
    "hidewhentab", "parmtag",       "export",    "obsolete",       "experimental", "rmantype",
    "opfilter",    "nocookwhentab", "invisible", "disablewhentab",
};

constexpr std::size_t theMostFaults = 100;

} // namespace

std::shared_ptr<const NOD_Interface> NOD_SoundPart::read(const NOD_Report &mistakes)
{
    constexpr int theMostRounds = 8;
    constexpr std::size_t theMostBytes = std::size_t(1) << 18;
    constexpr std::size_t theMostMistakes = 100; // more are no script that somebody writes
    if (myText.size() > theMostBytes || mistakes.getMessages().size() > theMostMistakes ||
        !NODscriptHead(myText, myName).empty()) {
        return nullptr;
    }
    NOD_Report said = mistakes;
    for (int round = 0; round < theMostRounds && leaveOut(said); ++round) {
        said = NOD_Report();
        if (auto made = NOD_Interface::fromText(myText, myName, said, myIncludes)) {
            return made;
        }
    }
    return nullptr;
}

/// False if nothing is left out.
bool NOD_SoundPart::leaveOut(const NOD_Report &mistakes)
{
    const NOD_ScriptTokens tokens(myText, myName, myIncludes);
    if (!tokens.isWhole()) {
        return false;
    }
    myNamesLost = myNamesLost || !tokens.getMessages().isEmpty(); // a file may be missing
    const Shape shape(tokens);
    if (shape.getFaults().size() > theMostFaults) {
        return false;
    }
    bool someFlag = leaveOutFaults(tokens, shape);
    for (const NOD_Message &message : mistakes.getMessages()) {
        const KIT_MessageDetail *const detail = message.detail.get();
        const int token = !detail || detail->place.offset < 0
                              ? -1
                              : tokens.find(detail->place.file, std::size_t(detail->place.offset));
        if (token < 0) {
            continue;
        }
        if (message.severity >= KIT_ERROR_ABORT) {
            someFlag = leaveOutStatement(tokens, shape, token) || someFlag;
        } else if (NODisMessage(message, NOD_SCRIPT_NO_TYPE)) {
            addDamage(tokens, shape, shape.findBlock(token)); // it is read as a float
        }
    }
    return someFlag;
}

/// Braces too many, blocks that aren't closed, and statements that aren't whole.
bool NOD_SoundPart::leaveOutFaults(const NOD_ScriptTokens &tokens, const Shape &shape)
{
    bool someFlag = false;
    for (const Shape::Fault &fault : shape.getFaults()) {
        const NOD_ScriptToken &token = tokens[fault.token];
        if (!fault.afterFlag && (token.is("}") || token.is("{"))) {
            someFlag = blank(tokens, fault.token, fault.token + 1) || someFlag;
        } else if (fault.afterFlag && fault.block == 0) {
            myText += "\n}";
            someFlag = true;
        } else if (fault.afterFlag && fault.block > 0) {
            someFlag = leaveOutBlock(tokens, shape, fault.block) || someFlag;
        }
    }
    for (std::size_t i = 0; i < shape.getBlocks().size(); ++i) {
        for (const Shape::Statement &one : shape.getBlocks()[i].statements) {
            if (!one.soundFlag) {
                someFlag = leaveOutStatement(tokens, shape, one.begin) || someFlag;
            }
        }
    }
    return someFlag;
}

bool NOD_SoundPart::leaveOutStatement(const NOD_ScriptTokens &tokens, const Shape &shape, int token)
{
    const int block = shape.findBlock(token);
    if (block < 0) {
        return false;
    }
    const std::vector<Shape::Statement> &all = shape.getBlocks()[std::size_t(block)].statements;
    const auto found = std::find_if(all.begin(), all.end(), [token](const Shape::Statement &one) {
        return one.begin <= token && token < one.end;
    });
    if (found == all.end()) {
        return leaveOutBlock(tokens, shape, block);
    }
    if (!isHarmless(tokens, shape, block, *found)) {
        addDamage(tokens, shape, block);
    }
    addTouched(tokens, shape, block);
    myNamesLost = myNamesLost || found->block >= 0;
    return blank(tokens, found->begin, found->end);
}

/// The statement that opens a block.
bool NOD_SoundPart::leaveOutBlock(const NOD_ScriptTokens &tokens, const Shape &shape, int block)
{
    const int parent = shape.getBlocks()[std::size_t(block)].parent;
    if (parent < 0) {
        return false;
    }
    for (const Shape::Statement &one : shape.getBlocks()[std::size_t(parent)].statements) {
        if (one.block == block) {
            myNamesLost = true;
            return blank(tokens, one.begin, one.end);
        }
    }
    return false;
}

/// Directives and comments stay. False if nothing of the script's own file was there.
bool NOD_SoundPart::blank(const NOD_ScriptTokens &tokens, int begin, int end)
{
    const int file = tokens[begin].file;
    if (begin >= end || tokens.getPlace(begin, begin).file != myName) {
        return false;
    }
    bool someFlag = false;
    for (int i = begin; i < end; ++i) {
        const NOD_ScriptToken &token = tokens[i];
        if (token.file != file) {
            continue;
        }
        const std::size_t last = std::min(token.end, myText.size());
        for (std::size_t at = token.begin; at < last; ++at) {
            const bool lineEndFlag = myText[at] == '\n' || myText[at] == '\r';
            someFlag = someFlag || (!lineEndFlag && myText[at] != ' ');
            myText[at] = lineEndFlag ? myText[at] : ' ';
        }
    }
    return someFlag;
}

/// Whether nothing that is told depends on a statement, which may be misspelt.
bool NOD_SoundPart::isHarmless(const NOD_ScriptTokens &tokens, const Shape &shape, int block,
                               const Shape::Statement &statement)
{
    for (int i = statement.begin; i < statement.end; ++i) {
        if (tokens[i].openFlag || tokens[i].line != tokens[statement.begin].line) {
            return false; // what belongs to others may be in it
        }
    }
    const bool parmFlag = shape.getBlocks()[std::size_t(block)].parmFlag;
    const std::string &word = tokens[statement.begin].text;
    const std::string *const nearest = KITnearestWord(word, NODgetScriptWords(parmFlag));
    const std::string &meant = NODfindScriptWord(word, parmFlag) || !nearest ? word : *nearest;
    return std::find(std::begin(theHarmless), std::end(theHarmless), meant) !=
           std::end(theHarmless);
}

/// Remembers that a block isn't what it should be.
void NOD_SoundPart::addDamage(const NOD_ScriptTokens &tokens, const Shape &shape, int block)
{
    myNamesLost = true;
    if (block >= 0) {
        const Shape::Block &own = shape.getBlocks()[std::size_t(block)];
        if (own.parmFlag && own.end > own.header) {
            const KIT_MessagePlace place = tokens.getPlace(own.header, own.end - 1);
            myDamaged.push_back({place.offset, place.endOffset});
        }
    }
}

void NOD_SoundPart::addTouched(const NOD_ScriptTokens &tokens, const Shape &shape, int block)
{
    const Shape::Block &own = shape.getBlocks()[std::size_t(block)];
    if (own.parent >= 0 && own.end > own.header) {
        const KIT_MessagePlace place = tokens.getPlace(own.header, own.end - 1);
        myTouched.push_back({place.offset, place.endOffset});
    }
}

bool NOD_SoundPart::isCertain(const NOD_Message &message) const
{
    return message.detail && message.detail->place.offset >= 0 && isOutside(myDamaged, message);
}

bool NOD_SoundPart::isWhole(const NOD_Message &message) const
{
    return isOutside(myTouched, message);
}

bool NOD_SoundPart::isOutside(const std::vector<Range> &ranges, const NOD_Message &message) const
{
    const KIT_MessagePlace &place = message.detail->place;
    return place.file != myName ||
           std::none_of(ranges.begin(), ranges.end(), [&](const Range &range) {
               return range.begin <= place.offset && place.offset < range.end;
           });
}

/// Whether an edit replaces what is in the whole too.
bool NOD_SoundPart::isSame(const KIT_MessageEdit &edit) const
{
    const KIT_MessagePlace &place = edit.place;
    const auto begin = std::size_t(std::max<std::int64_t>(place.offset, 0));
    const auto size = std::size_t(std::max(place.endOffset, place.offset)) - begin;
    return place.file == myName && begin + size <= myWhole.size() &&
           myWhole.substr(begin, size) == std::string_view(myText).substr(begin, size);
}

void NOD_SoundPart::restorePlaces(NOD_Message &message) const
{
    auto detail = std::make_shared<KIT_MessageDetail>(*message.detail);
    const auto others = std::remove_if(
        detail->fixes.begin(), detail->fixes.end(), [this](const KIT_MessageFix &fix) {
            return !std::all_of(fix.edits.begin(), fix.edits.end(),
                                [this](const KIT_MessageEdit &edit) { return isSame(edit); });
        });
    detail->fixes.erase(others, detail->fixes.end());
    detail->changePlaces([this](KIT_MessagePlace &place) {
        if (place.file == myName && place.offset >= 0) {
            place.setFromText(myWhole, std::size_t(place.offset), std::size_t(place.endOffset),
                              place.line);
        }
    });
    message.detail = std::move(detail);
}

void NODcheckSoundPart(std::string_view text, const std::string &name,
                       NOD_Interface::Includes includes, const NOD_Report &mistakes,
                       NOD_Report &report)
{
    NOD_SoundPart part(text, name, includes);
    const std::shared_ptr<const NOD_Interface> script = part.read(mistakes);
    NOD_Report found;
    if (script) {
        NODcheckDescription(*script, name, found);
    }
    for (NOD_Message message : found.getMessages()) {
        const bool nameFlag = NODisMessage(message, NOD_NO_CONDITION_PARM) ||
                              NODisMessage(message, NOD_SURPLUS_MARK) ||
                              NODisMessage(message, NOD_ITEM_MARKS);
        if (part.isCertain(message) && !(nameFlag && part.hasLostNames())) {
            part.restorePlaces(message);
            report.add(std::move(message));
        }
    }
}
