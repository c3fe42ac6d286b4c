// Rules of types and keywords: Z201 to Z209.

#include <NOD/interface/NOD_ScriptWordsPrivate.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <vector>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;
using Kind = NOD_LintScript::Kind;

constexpr std::string_view theLooks[] = {"invisible", "nolabel", "joinnext", "logarithmic"};

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isLook(std::string_view word)
{
    return std::find(std::begin(theLooks), std::end(theLooks), word) != std::end(theLooks);
}

bool isDefault(std::string_view word)
{
    return word == "default" || word == "defaults";
}

bool isMenu(std::string_view word)
{
    return word.substr(0, 4) == "menu";
}

class Check
{
public:
    Check(NOD_LintContext &context, int number)
        : myContext(context), myBlock(context.block(number)), myNumber(number)
    {}

    void run()
    {
        checkRepeats();
        checkTags();
        checkQuotes();
        if (myBlock.kind == Kind::PARM) {
            checkTypes();
            checkSizes();
            checkOrder();
            checkSurplus();
            checkEffects();
        }
    }

private:
    void checkTypes();
    void checkSizes();
    void checkOrder();
    void checkSurplus();
    void checkRepeats();
    void checkTags();
    void checkEffects();
    void checkQuotes();

    bool isScript(const Entry &menu) const;
    void tellLost(const Entry &lost, const Entry &by);

    NOD_LintContext &myContext;
    const Block &myBlock;
    int myNumber;
};

void Check::checkTypes()
{
    for (const Entry &entry : myBlock.entries) {
        if (entry.word != "type" || entry.count() != 1) {
            continue;
        }
        const std::string word = myContext.text(entry.first);
        if (ZELlookupScriptType(word.c_str()) < 0) {
            Extra extra;
            extra.nearest = myContext.nearest(word, NODgetScriptTypeWords());
            myContext.add(NOD_LintCode::Z201, myNumber, entry.first,
                          "there is no type " + word + ", so it is a float", extra);
        }
    }
}

void Check::checkSizes()
{
    for (const Entry &entry : myBlock.entries) {
        if (entry.word != "size" || entry.count() != 1) {
            continue;
        }
        const std::string word = myContext.text(entry.first);
        const KIT_String number(word.c_str());
        if (!number.isInteger()) {
            myContext.add(NOD_LintCode::Z202, myNumber, entry.first,
                          "the size " + word + " is no whole number");
        } else if (number.toInteger() < 1) {
            myContext.add(NOD_LintCode::Z202, myNumber, entry.first,
                          "a parameter of the size " + word + " has no component");
        }
    }
}

/// What a later keyword takes away, and what doesn't come again. From the last entry to the first.
void Check::checkOrder()
{
    const Entry *type = nullptr;    // the last ones there are
    const Entry *ordinal = nullptr; // a type
    const Entry *sized = nullptr;   // a type or size
    std::set<std::string_view> kept;
    for (auto entry = myBlock.entries.rbegin(); entry != myBlock.entries.rend(); ++entry) {
        const bool typeFlag = entry->word == "type" && entry->count() == 1;
        if (typeFlag || (entry->word == "size" && entry->count() == 1)) {
            type = !type && typeFlag ? &*entry : type;
            sized = sized ? sized : &*entry;
            const bool ordinalFlag = typeFlag && myContext.tokens().text(entry->first) == "ordinal";
            ordinal = !ordinal && ordinalFlag ? &*entry : ordinal;
            continue;
        }
        const bool menuFlag = isMenu(entry->word);
        const bool defaultFlag = isDefault(entry->word);
        const Entry *const by = menuFlag              ? ordinal
                                : defaultFlag         ? sized
                                : isLook(entry->word) ? type
                                                      : nullptr;
        const std::string_view word = menuFlag ? "menu" : defaultFlag ? "default" : entry->word;
        if (kept.insert(word).second && by) {
            tellLost(*entry, *by);
        }
    }
}

void Check::tellLost(const Entry &lost, const Entry &by)
{
    Extra extra;
    extra.fix = myContext.moveBehind(lost, by);
    const std::string word(lost.word);
    if (isMenu(lost.word)) {
        myContext.add(NOD_LintCode::Z203, myNumber, lost.keyword,
                      "the " + word + " comes before `type ordinal`, which clears it", extra);
    } else {
        myContext.add(NOD_LintCode::Z204, myNumber, lost.keyword,
                      word + " comes before `" + std::string(by.word) + "`, which drops it", extra);
    }
}

void Check::checkSurplus()
{
    const ZEL_ScriptParm *const record = myBlock.record;
    for (const Entry &entry : myBlock.entries) {
        if (!isDefault(entry.word) || !record || entry.count() < 2) {
            continue;
        }
        constexpr int theBracketed = 4;
        int values = 0;
        int surplus = -1;
        for (int i = entry.first + 1; i < entry.last - 1; ++values) {
            if (values == record->getSize()) {
                surplus = i;
            }
            i += myContext.tokens().text(i) == "[" ? theBracketed : 1;
        }
        if (surplus >= 0 && record->getSize() > 0) {
            Extra extra;
            extra.fix = myContext.remove(surplus, entry.last - 1);
            myContext.add(NOD_LintCode::Z205, myNumber, surplus,
                          "there are " + std::to_string(values) + " defaults for " +
                              std::to_string(record->getSize()) +
                              (record->getSize() == 1 ? " component" : " components"),
                          extra);
        }
    }
}

void Check::checkRepeats()
{
    const std::vector<Entry> &entries = myBlock.entries;
    std::vector<bool> again(entries.size());
    std::set<std::string_view> later;
    for (std::size_t i = entries.size(); i-- > 0;) {
        again[i] = !later.insert(isDefault(entries[i].word) ? "default" : entries[i].word).second;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry &one = entries[i];
        if (!isOneOf(one.word, {"name", "label", "help", "default", "defaults", "option", "export",
                                "callback", "rmantype", "type", "size", "range"})) {
            continue;
        }
        if (!again[i]) {
            continue;
        }
        Extra extra;
        // The others leave something behind that the last one doesn't take away.
        if (!isOneOf(one.word, {"type", "size", "range"})) {
            extra.fix = myContext.remove(one.keyword, one.last);
        }
        myContext.add(NOD_LintCode::Z206, myNumber, one.keyword,
                      std::string(one.word) + " comes again, and only the last one counts", extra);
    }
}

void Check::checkTags()
{
    for (const Entry &entry : myBlock.entries) {
        constexpr int theOnePair = 4; // with its braces
        if (isOneOf(entry.word, {"parmtag", "attribute", "grouptag"}) &&
            entry.count() > theOnePair) {
            const int surplus = entry.first + 3;
            myContext.add(NOD_LintCode::Z207, myNumber, surplus,
                          std::string(entry.word) + " holds one name and one value: " +
                              myContext.text(surplus) + " is dropped");
        }
    }
}

void Check::checkEffects()
{
    if (!myBlock.record) {
        return;
    }
    const ZEL_Type &type = myBlock.record->getType();
    const bool floatFlag = type.isFloatType() && !type.hasAnyOf(ZEL_TYPE_INTEGER);
    for (const Entry &entry : myBlock.entries) {
        const char *only = nullptr;
        if (entry.word == "logarithmic" && !floatFlag) {
            only = "floats";
        } else if (entry.word == "unquoted" && !type.isStringType()) {
            only = "strings";
        }
        if (only) {
            Extra extra;
            extra.fix = myContext.remove(entry.keyword, entry.last);
            myContext.add(NOD_LintCode::Z208, myNumber, entry.keyword,
                          std::string(entry.word) + " has an effect on " + only + " only", extra);
        }
    }
}

/// Whether a menu has a script in brackets.
bool Check::isScript(const Entry &menu) const
{
    for (int i = menu.first; i + 1 < menu.last; ++i) {
        if (myContext.tokens().text(i) == "{") {
            return myContext.tokens().text(i + 1) == "[";
        }
    }
    return false;
}

/// Words with a quote that has no other one. Code and expressions without quotes around them have pairs.
void Check::checkQuotes()
{
    for (const Entry &entry : myBlock.entries) {
        if (entry.shape >= ZEL_ScriptShape::PARM) {
            continue; // a block of its own
        }
        const bool scriptFlag = entry.shape == ZEL_ScriptShape::MENU && isScript(entry);
        const bool codeFlag =
            entry.shape == ZEL_ScriptShape::TEXTS || entry.shape == ZEL_ScriptShape::RAW;
        for (int i = entry.first; i < entry.last && !codeFlag && !scriptFlag; ++i) {
            const std::string_view raw = myContext.tokens().raw(i);
            if (raw.empty() || raw[0] == '"') {
                continue;
            }
            int quotes = 0;
            std::size_t last = 0;
            for (std::size_t at = 0; at < raw.size(); ++at) {
                last = raw[at] == '"' ? at : last;
                quotes += raw[at] == '"';
                at += raw[at] == '\\';
            }
            if (quotes % 2 != 0) {
                Extra extra;
                extra.offset = last;
                extra.length = 1;
                myContext.add(NOD_LintCode::Z209, myNumber, i,
                              "the quote belongs to the word " + myContext.text(i), extra);
            }
        }
    }
}

} // namespace

void NODlintKeywords(NOD_LintContext &context)
{
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        Check(context, int(i)).run();
    }
}
