#include <NOD/interface/NOD_ScriptTokensPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <NOD/interface/NOD_MessageCodesPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <TOK/TOK_TokenStream.h>

#include <algorithm>

namespace
{

/// The indentation of the line that an offset is on.
int indentOf(std::string_view text, std::size_t offset)
{
    constexpr int theTab = 8;
    constexpr std::size_t theLongest = KIT_MessagePlace::theLongestLine;
    const std::size_t from = offset > theLongest ? offset - theLongest : 0;
    const std::size_t feed = text.substr(from, offset - from).rfind('\n');
    int indent = 0;
    for (std::size_t at = feed == std::string_view::npos ? from : from + feed + 1; at < offset;
         ++at) {
        if (text[at] == '\t') {
            indent += theTab - indent % theTab;
        } else if (text[at] == ' ') {
            ++indent;
        } else {
            break;
        }
    }
    return indent;
}

/// Whether what comes after the mistake isn't read.
bool takesAway(const NOD_Message &message)
{
    return NODisMessage(message, NOD_SCRIPT_OPEN_COMMENT) ||
           NODisMessage(message, NOD_SCRIPT_OPEN_IF) ||
           NODisMessage(message, NOD_SCRIPT_IF_WITHOUT_NAME) ||
           NODisMessage(message, NOD_SCRIPT_BAD_IF);
}

} // namespace

std::size_t NODrawOffset(std::string_view written, std::size_t offset)
{
    constexpr std::size_t theLetter = 2; // bytes of an escape of a letter
    constexpr std::size_t theOctal = 4;
    const auto isEscape = [written](std::size_t at, std::size_t size) {
        KIT_String text(std::string(written.substr(at, size)));
        return text.length() == size && text.expandControlSequences() == 1 && text.length() == 1;
    };
    std::size_t at = 0;
    for (std::size_t meant = 0; at < written.size() && meant < offset; ++meant) {
        if (written[at] != '\\') {
            ++at;
        } else if (isEscape(at, theLetter) || isEscape(at, theOctal)) {
            at += isEscape(at, theLetter) ? theLetter : theOctal;
        } else {
            // Both bytes stay, and the second one begins no escape.
            at += ++meant < offset ? theLetter : 1;
        }
    }
    return std::min(at, written.size());
}

/// Keeps what the preprocessor says, but for open texts, which the tokens tell.
class NOD_ScriptTokens::Stream : public NOD_ScriptStream
{
public:
    Stream(KIT_IStream &is, const std::string &name, NOD_Interface::Includes includes,
           NOD_ScriptTokens &tokens)
        : NOD_ScriptStream(is, name, tokens.myMessages, includes), myTokens(tokens)
    {}

    void cppError(const char *text) override
    {
        TOK_Place place;
        if (!getPlace(place) || !place.openFlag) {
            NOD_ScriptStream::cppError(text);
        }
        if (!myTokens.myMessages.isEmpty() && takesAway(myTokens.myMessages.getMessages().back())) {
            myTokens.myLostAt = myTokens.size();
        }
    }

private:
    NOD_ScriptTokens &myTokens;
};

NOD_ScriptTokens::NOD_ScriptTokens(std::string_view text, const std::string &name,
                                   NOD_Interface::Includes includes, Doubt doubt)
{
    if (text.size() > theMostBytes) {
        myWholeFlag = false;
        return;
    }
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    myStream = std::make_unique<Stream>(is, name, includes, *this);
    myStream->setEndsOpenTexts(doubt == Doubt::GUESS);
    read();
}

NOD_ScriptTokens::~NOD_ScriptTokens() = default;

void NOD_ScriptTokens::read()
{
    KIT_String token;
    while (myStream->TOK_TokenStream::getToken(token)) {
        if (size() == theMostTokens) {
            myWholeFlag = false;
            return;
        }
        add(token);
    }
}

void NOD_ScriptTokens::add(const KIT_String &token)
{
    TOK_Place place;
    if (!myStream->getPlace(place)) {
        return;
    }
    NOD_ScriptToken added;
    added.text = std::string(token.view());
    added.file = fileOf(place.file, place.text);
    added.line = place.line;
    added.begin = place.begin;
    added.end = place.end;
    added.quotedFlag = place.quotedFlag;
    added.firstFlag = place.firstFlag;
    added.openFlag = place.openFlag;
    const NOD_ScriptToken *const last = myTokens.empty() ? nullptr : &myTokens.back();
    const bool sameFlag = last && last->file == added.file && last->line == added.line;
    added.indent = sameFlag ? last->indent : indentOf(place.text, place.begin);
    myFiles[std::size_t(added.file)].tokens.push_back(size());
    myTokens.push_back(std::move(added));
}

/// A file that is read twice is two.
int NOD_ScriptTokens::fileOf(const char *name, std::string_view text)
{
    const int last = myTokens.empty() ? -1 : myTokens.back().file;
    if (last >= 0 && myFiles[std::size_t(last)].text.data() == text.data()) {
        return last;
    }
    const auto [found, newFlag] = myFilesByText.try_emplace(text.data(), int(myFiles.size()));
    if (!newFlag) {
        return found->second;
    }
    myFilesByName[name] = found->second;
    File file = {name, text, {}, {}};
    TOK_Place place;
    for (int level = 0; myStream->getIncluder(level, place); ++level) {
        KIT_MessagePlace &at = file.includers.emplace_back();
        at.file = place.file;
        at.setFromText(place.text, place.begin, place.end, place.line);
    }
    myFiles.push_back(std::move(file));
    return int(myFiles.size()) - 1;
}

int NOD_ScriptTokens::find(const std::string &file, std::size_t offset) const
{
    const auto found = myFilesByName.find(file);
    if (found == myFilesByName.end()) {
        return -1;
    }
    const File &one = myFiles[std::size_t(found->second)];
    const auto after =
        std::upper_bound(one.tokens.begin(), one.tokens.end(), offset,
                         [this](std::size_t at, int token) { return at < (*this)[token].begin; });
    return after == one.tokens.begin() ? -1 : *(after - 1);
}

KIT_MessagePlace NOD_ScriptTokens::getPlace(int first, int last) const
{
    const NOD_ScriptToken &begin = (*this)[first];
    const NOD_ScriptToken &end = (*this)[last];
    const File &file = myFiles[std::size_t(begin.file)];
    KIT_MessagePlace place;
    place.file = file.name;
    place.setFromText(file.text, begin.begin, end.file == begin.file ? end.end : begin.end,
                      begin.line);
    return place;
}

KIT_MessagePlace NOD_ScriptTokens::getPlaceAfter(int token) const
{
    const NOD_ScriptToken &before = (*this)[token];
    const File &file = myFiles[std::size_t(before.file)];
    const std::string_view own = file.text.substr(before.begin, before.end - before.begin);
    KIT_MessagePlace place;
    place.file = file.name;
    place.setFromText(file.text, before.end, before.end,
                      before.line + int(std::count(own.begin(), own.end(), '\n')));
    return place;
}

KIT_MessagePlace NOD_ScriptTokens::getPlaceIn(int token, std::size_t offset,
                                              std::size_t length) const
{
    const NOD_ScriptToken &one = (*this)[token];
    const File &file = myFiles[std::size_t(one.file)];
    const std::size_t at = std::min(one.begin + (one.quotedFlag ? 1 : 0) + offset, one.end);
    const std::string_view before = file.text.substr(one.begin, at - one.begin);
    KIT_MessagePlace place;
    place.file = file.name;
    place.setFromText(file.text, at, std::min(at + length, one.end),
                      one.line + int(std::count(before.begin(), before.end(), '\n')));
    return place;
}

std::vector<KIT_MessagePlace> NOD_ScriptTokens::getIncluders(int token) const
{
    return myFiles[std::size_t((*this)[token].file)].includers;
}

bool NOD_ScriptTokens::isLeft(int inside, int token) const
{
    const int file = (*this)[inside].file;
    const int now = (*this)[token].file;
    return file != now && myFiles[std::size_t(now)].includers.size() <=
                              myFiles[std::size_t(file)].includers.size();
}
