// Rules of ramps: Z307 and Z308.

#include <NOD/lint/NOD_LintContextPrivate.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_RampTemplate.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;

struct Word
{
    std::string text;
    std::size_t offset;
};

std::vector<Word> splitWords(std::string_view text)
{
    constexpr std::string_view theBlanks = " \t\n";
    std::vector<Word> words;
    for (std::size_t at = text.find_first_not_of(theBlanks); at != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(theBlanks, at), text.size());
        words.push_back({std::string(text.substr(at, end - at)), at});
        at = text.find_first_not_of(theBlanks, end);
    }
    return words;
}

/// The interpolations that keys can have.
std::vector<std::string> interpolations()
{
    std::vector<std::string> words;
    for (const ZEL_Name *entry = zelRampInterpMenu.choiceNamesPtr(); entry && !entry->isSentinel();
         ++entry) {
        words.emplace_back(entry->getToken());
    }
    return words;
}

/// A ramp's default: the parts `1pos ( 0 )` of its keys.
class DefaultCheck
{
public:
    DefaultCheck(NOD_LintContext &context, int block, int token, bool colorFlag, double keys)
        : myContext(context), myBlock(block), myToken(token), myColorFlag(colorFlag), myKeys(keys),
          myWords(splitWords(context.tokens().text(token)))
    {}

    void run()
    {
        if (myWords.empty()) {
            tell("the ramp's default is empty", 0);
        }
        for (std::size_t at = 0; at < myWords.size() && !myToldFlag;) {
            at = checkPart(at);
        }
    }

private:
    std::size_t checkPart(std::size_t at);
    void checkName(const Word &word, std::string &part);
    void checkValues(const std::string &part, std::size_t first, std::size_t last);
    /// The first fault of a text only: others may come of it.
    void tell(const std::string &text, std::size_t word, const std::string &nearest = {});

    NOD_LintContext &myContext;
    int myBlock;
    int myToken;
    bool myColorFlag;
    double myKeys;
    std::vector<Word> myWords;
    bool myToldFlag = false;
};

void DefaultCheck::tell(const std::string &text, std::size_t word, const std::string &nearest)
{
    if (myToldFlag) {
        return;
    }
    myToldFlag = true;
    Extra extra;
    extra.nearest = nearest;
    const std::size_t place = word < myWords.size() ? myWords[word].offset : 0;
    extra.offset = myWords.empty() ? 0 : myContext.tokens().rawOffset(myToken, place);
    myContext.add(NOD_LintCode::Z308, myBlock, myToken, text, extra);
}

/// From a part's name to behind its parenthesis.
std::size_t DefaultCheck::checkPart(std::size_t at)
{
    const std::string &name = myWords[at].text;
    const std::size_t digits = name.find_first_not_of("0123456789");
    const std::string part = digits == std::string::npos ? "" : name.substr(digits);
    const std::vector<std::string> parts = {"pos", myColorFlag ? "c" : "value", "interp"};
    if (digits == 0 || std::find(parts.begin(), parts.end(), part) == parts.end()) {
        const std::string nearest = myContext.nearest(part, parts);
        tell("the ramp's default has " + name + " where a part of a key is wanted", at,
             nearest.empty() || digits == 0 ? "" : name.substr(0, digits) + nearest);
        return myWords.size();
    }
    const double key = KIT_String(name.substr(0, digits).c_str()).toFloat();
    if (key < 1.0 || key > myKeys) {
        tell("the ramp's default has a key " + name.substr(0, digits) + ", and the ramp has " +
                 std::to_string(long(myKeys)),
             at);
    }
    const std::size_t open = at + 1;
    std::size_t close = open;
    while (close < myWords.size() && myWords[close].text != ")") {
        ++close;
    }
    if (open >= myWords.size() || myWords[open].text != "(" || close == myWords.size()) {
        tell("the values of " + name + " aren't in parentheses", at);
        return myWords.size();
    }
    checkValues(part, open + 1, close);
    return close + 1;
}

void DefaultCheck::checkValues(const std::string &part, std::size_t first, std::size_t last)
{
    constexpr std::size_t theColor = 3;
    const std::size_t wanted = part == "c" ? theColor : 1;
    if (last - first != wanted) {
        tell(part + " of a key has " + std::to_string(last - first) + " values instead of " +
                 std::to_string(wanted),
             first);
        return;
    }
    for (std::size_t i = first; i < last; ++i) {
        const std::string &text = myWords[i].text;
        if (KIT_String(text.c_str()).isFloat()) {
            continue;
        }
        const std::vector<std::string> words =
            part == "interp" ? interpolations() : std::vector<std::string>();
        if (std::find(words.begin(), words.end(), text) == words.end()) {
            tell("the ramp's default has " + text + " where " +
                     (part == "interp" ? "an interpolation" : "a number") + " is wanted",
                 i, myContext.nearest(text, words));
        }
    }
}

/// The value of a tag; -1 without one.
int findTag(const NOD_LintContext &context, const Block &block, std::string_view name)
{
    for (auto entry = block.entries.rbegin(); entry != block.entries.rend(); ++entry) {
        constexpr int theOnePair = 4;
        if ((entry->word == "parmtag" || entry->word == "attribute") &&
            entry->count() >= theOnePair && context.tokens().text(entry->first + 1) == name) {
            return entry->first + 2;
        }
    }
    return -1;
}

void checkRamp(NOD_LintContext &context, int number)
{
    const Block &block = context.block(number);
    const ZEL_ScriptParm *const record = block.record;
    if (!record || block.kind != NOD_LintScript::Kind::PARM ||
        record->getMultiType() == ZEL_MULTITYPE_NONE || record->getBaseParm()) {
        return;
    }
    const bool colorFlag = record->getMultiType() == ZEL_MULTITYPE_RAMP_RGB;
    const int token = findTag(context, block,
                              colorFlag ? ZEL_SpareData::getColorRampDefaultToken()
                                        : ZEL_SpareData::getFloatRampDefaultToken());
    if (token < 0) {
        const Entry *const type = block.find("type");
        context.add(NOD_LintCode::Z307, number, type ? type->first : block.keyword,
                    "the ramp has no default, so a new one goes up in steps");
        return;
    }
    constexpr double theAny = 1e9;
    const double keys =
        record->getDefaults().isEmpty() ? theAny : record->getDefaults()(0).getFloat();
    DefaultCheck(context, number, token, colorFlag, keys).run();
}

} // namespace

void NODlintRamps(NOD_LintContext &context)
{
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        checkRamp(context, int(i));
    }
}
