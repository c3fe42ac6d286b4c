#include <DS/writer/DS_ScriptReaderPrivate.h>

#include <BAS/BAS_Character.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptQuote.h>
#include <ZEL/support/ZEL_NumberPrivate.h>

#include <algorithm>
#include <string_view>

namespace
{

using Words = std::vector<KIT_String>;

/// False if the text ends too early.
bool readWords(DS_Stream &stream, size_t count, Words &words)
{
    words.assign(count, KIT_String());
    for (KIT_String &word : words) {
        if (!stream.getToken(word)) {
            return false;
        }
    }
    return true;
}

int numberOf(const KIT_String &word)
{
    return ZELclampToInt(word.toInteger());
}

/// From the word at `at` on: mask, input, menu, whether it is required.
void takeInput(DS_SelectorBinding &selector, const Words &words, size_t at)
{
    // An empty mask would be written as two tokens, and shift the words after it.
    selector.setPrimMask(words[at].isEmpty() ? " " : words[at].nonNullStr());
    selector.setInputIndex(numberOf(words[at + 1]));
    selector.setMenu(words[at + 2].nonNullStr());
    selector.setInputRequired(numberOf(words[at + 3]));
}

DS_HandleBinding pageHandle(const Words &words)
{
    return DS_HandleBinding(DSscriptWord(words[0]).c_str(), DSscriptWord(words[1]).c_str(),
                            words[2].nonNullStr(), DSscriptWord(words[3]).c_str(),
                            words[4].nonNullStr());
}

DS_SelectorBinding unboundSelector(const Words &words)
{
    DS_SelectorBinding selector("", DSscriptWord(words[0]).c_str(), words[1].nonNullStr(),
                                words[2].nonNullStr(), "", "");
    takeInput(selector, words, 3);
    return selector;
}

DS_SelectorBinding reservedSelector(const Words &words)
{
    DS_SelectorBinding selector(DSscriptWord(words[0]).c_str(), DSscriptWord(words[1]).c_str(),
                                words[2].nonNullStr(), words[3].nonNullStr(), "", "");
    selector.setAsterisk(numberOf(words[4]));
    selector.setDragging(numberOf(words[5]));
    takeInput(selector, words, 6);
    return selector;
}

/// The menu of a parameter's selector is written unquoted.
std::unique_ptr<DS_SelectorBinding> parmSelector(const Words &words)
{
    auto selector = std::make_unique<DS_SelectorBinding>(
        "", DSscriptWord(words[0]).c_str(), words[1].nonNullStr(), words[2].nonNullStr(), "", "");
    selector->setAsterisk(numberOf(words[3]));
    selector->setDragging(numberOf(words[4]));
    takeInput(*selector, words, 5);
    selector->setMenu(DSscriptWord(words[7]).c_str());
    return selector;
}

} // namespace

std::string DSscriptQuoted(const char *text)
{
    KIT_WorkBuffer quoted;
    quoted.append('"');
    ZELprotectString(quoted, text, false, false);
    quoted.append('"');
    return quoted.buffer();
}

std::string DSscriptWord(const char *text)
{
    const std::string_view word(text ? text : "");
    const bool plainFlag = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return BASisWordChar(c) || c == '.' || c == ':' || c == '-';
    });
    return plainFlag ? std::string(word) : DSscriptQuoted(text);
}

// -------------------------------------------------------------------- //
// Pages
// -------------------------------------------------------------------- //

ZEL_ScriptParm *DS_ScriptReader::Page::newParm()
{
    return new Parm(myDialog);
}

ZEL_ScriptPage *DS_ScriptReader::Page::newImportPage()
{
    return new Page(myDialog, false);
}

int DS_ScriptReader::Page::parseHelp(DS_Stream &stream, KIT_String &help)
{
    if (!stream.parseBlock(help, '\n', false)) {
        return 0;
    }
    // An empty block is one line feed.
    if (myOutermostFlag && help.view().find_first_not_of('\n') != std::string_view::npos) {
        myDialog.help += help;
    }
    return 1;
}

int DS_ScriptReader::Page::handleUnknown(DS_Stream &stream, KIT_String &token)
{
    struct Binding
    {
        std::string_view keyword;
        size_t count;
        void (*take)(Dialog &dialog, const Words &words);
    };
    constexpr Binding theBindings[] = {
        {"bindhandle", 5,
         [](Dialog &d, const Words &w) { d.boundHandles.push_back(pageHandle(w)); }},
        {"bindhandlereserved", 5,
         [](Dialog &d, const Words &w) { d.reservedHandles.push_back(pageHandle(w)); }},
        {"bindselector", 7,
         [](Dialog &d, const Words &w) { d.unboundSelectors.push_back(unboundSelector(w)); }},
        {"bindselectorreserved", 10,
         [](Dialog &d, const Words &w) { d.reservedSelectors.push_back(reservedSelector(w)); }},
    };
    Words words;
    for (const Binding &binding : theBindings) {
        if (token.view() == binding.keyword) {
            if (readWords(stream, binding.count, words)) {
                binding.take(myDialog, words);
            }
            return 1;
        }
    }
    const bool labelFlag = token == "inputlabel";
    if (labelFlag || token == "script" || token == "info" || token == "rendermask") {
        if (readWords(stream, labelFlag ? 2 : 1, words) && myOutermostFlag) {
            takeText(token, words);
        }
        return 1;
    }
    return ZEL_ScriptPage::handleUnknown(stream, token);
}

void DS_ScriptReader::Page::takeText(const KIT_String &keyword,
                                     const std::vector<KIT_String> &words)
{
    if (keyword == "script") {
        myDialog.script = words[0];
    } else if (keyword == "rendermask") {
        myDialog.renderMask = words[0];
    } else if (keyword == "info") {
        myDialog.info += words[0];
        myDialog.info += '\n';
    } else {
        const int64_t input = words[0].toInteger() - 1;
        if (input >= 0 && input < theMostInputs && words[1].isstring()) {
            myDialog.inputLabels[static_cast<int>(input)] = DSscriptWord(words[1]);
        }
    }
}

// -------------------------------------------------------------------- //
// Parameters
// -------------------------------------------------------------------- //

ZEL_ScriptPage *DS_ScriptReader::Parm::newPage()
{
    return new Page(myDialog, false);
}

int DS_ScriptReader::Parm::handleUnknown(DS_Stream &stream, KIT_String &token)
{
    Words words;
    if (token == "bindhandle") {
        if (readWords(stream, 5, words)) {
            myHandles.emplace_back(DSscriptWord(words[0]).c_str(), DSscriptWord(words[1]).c_str(),
                                   words[2].nonNullStr(), words[3].nonNullStr(),
                                   words[4].nonNullStr());
        }
        return 1;
    }
    if (token == "bindselector") {
        if (readWords(stream, 9, words)) {
            mySelector = parmSelector(words);
        }
        return 1;
    }
    return ZEL_ScriptParm::handleUnknown(stream, token);
}
