#include <EVL/EVL.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/lint/NOD_LintContextPrivate.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_NodePaths.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <utility>

namespace
{

using Extra = NOD_LintContext::Extra;

constexpr std::string_view theBlanks = " \t\r\n";

} // namespace

NOD_LintContext::NOD_LintContext(const NOD_LintScript &script)
    : myScript(script), myTokens(script.getTokens()),
      myFaults(NODfindInterfaceFaults(script.getInterface().getTemplates()))
{}

void NOD_LintContext::add(NOD_LintCode code, int block, int token, const std::string &text,
                          Extra extra)
{
    const int name = block > 0 ? myScript.nameOf(block) : -1;
    const std::string subject = name >= 0 ? this->text(name) : "";
    token = token < 0 ? name : token; // what isn't written is told at the name
    if (token < 0 || token >= myTokens.size()) {
        KIT_MessagePlace place;
        place.file = myTokens.getFiles().front().name;
        add(code, place, 0, subject, text, std::move(extra));
        return;
    }
    const NOD_LintTokens::Token &at = myTokens[token];
    const std::string_view raw = myTokens.raw(token);
    const std::size_t offset = at.macroFlag || extra.offset >= raw.size() ? 0 : extra.offset;
    const std::size_t length = offset + extra.length > raw.size() ? 0 : extra.length;
    const int line = at.line + int(std::count(raw.begin(), raw.begin() + long(offset), '\n'));
    const std::size_t begin = at.begin + offset;
    add(code, getPlace(at.file, begin, length > 0 ? begin + length : at.end, line), at.file,
        subject, text, std::move(extra));
}

void NOD_LintContext::addAt(NOD_LintCode code, int file, int line, std::size_t begin,
                            std::size_t end, const std::string &text, std::optional<Edit> fix)
{
    Extra extra;
    extra.fix = std::move(fix);
    add(code, getPlace(file, begin, end, line), file, "", text, std::move(extra));
}

void NOD_LintContext::add(NOD_LintCode code, const KIT_MessagePlace &place, int file,
                          std::string subject, const std::string &text, Extra extra)
{
    constexpr KIT_ErrorSeverity theSeverities[] = {KIT_ERROR_MESSAGE, KIT_ERROR_WARNING,
                                                   KIT_ERROR_ABORT}; // as NOD_LintLevel
    const NOD_LintRule &rule = NODlintRules()[std::size_t(code)];
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->place = place;
    detail->subject = subject;
    detail->includedFrom = getIncluders(file);
    if (place.offset >= 0) {
        constexpr std::size_t theLongest = 80;
        const std::size_t size = std::size_t(place.endOffset - place.offset);
        detail->found = myTokens.getFiles()[std::size_t(file)].text.substr(
            std::size_t(place.offset), std::min(size, theLongest));
    }
    if (!extra.nearest.empty()) {
        detail->hint = "did you mean " + extra.nearest + "?";
        detail->expected = {extra.nearest};
    }
    if (extra.fix) {
        const Edit &edit = *extra.fix;
        detail->fixes.push_back(
            {edit.text.empty() ? "take it away" : std::string("change it: ") + rule.name,
             {{getPlace(edit.file, edit.begin, edit.end, lineOf(edit, place)), edit.text}}});
    }
    if (extra.related >= 0) {
        const NOD_LintTokens::Token &at = myTokens[extra.related];
        detail->related.push_back(
            {getPlace(at.file, at.begin, at.end, at.line), extra.relatedText});
    }
    NOD_LintFinding found;
    found.rule = &rule;
    found.message = {theSeverities[int(rule.level)],
                     place.file,
                     place.line,
                     std::move(subject),
                     text,
                     theNODLintCategory,
                     std::atoi(rule.code + 1),
                     detail};
    myFindings.push_back(std::move(found));
}

/// The line that an edit begins on, from that of a place near it.
int NOD_LintContext::lineOf(const Edit &edit, const KIT_MessagePlace &place) const
{
    const std::string_view text = myTokens.getFiles()[std::size_t(edit.file)].text;
    const auto from = std::size_t(std::max(place.offset, std::int64_t(0)));
    const auto feeds = [text](std::size_t begin, std::size_t end) {
        return int(std::count(text.begin() + long(begin), text.begin() + long(end), '\n'));
    };
    return edit.begin < from ? place.line - feeds(edit.begin, from)
                             : place.line + feeds(from, edit.begin);
}

KIT_MessagePlace NOD_LintContext::getPlace(int file, std::size_t begin, std::size_t end,
                                           int line) const
{
    const NOD_LintTokens::File &from = myTokens.getFiles()[std::size_t(file)];
    KIT_MessagePlace place;
    place.file = from.name;
    place.setFromText(from.text, begin, end, line);
    return place;
}

std::vector<KIT_MessagePlace> NOD_LintContext::getIncluders(int file) const
{
    std::vector<KIT_MessagePlace> places;
    const std::vector<NOD_LintTokens::Include> &all = myTokens.getIncludes();
    while (file > 0) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [file](const auto &one) { return one.file == file; });
        if (found == all.end() || found->fromFile >= file) {
            break;
        }
        file = found->fromFile;
        places.push_back(getPlace(std::max(file, 0), found->begin, found->end, found->line));
    }
    return places;
}

std::string NOD_LintContext::nearest(const std::string &word, const std::vector<std::string> &words)
{
    constexpr std::size_t theMost = 1000000;
    myCompared += words.size();
    const std::string *const near = myCompared > theMost ? nullptr : KITnearestWord(word, words);
    return near ? *near : "";
}

// ---------------------------------------------------------------------- //
// Edits
// ---------------------------------------------------------------------- //

/// What stands between two tokens of a file.
std::string_view NOD_LintContext::textBetween(int token, int next) const
{
    const NOD_LintTokens::Token &from = myTokens[token];
    return std::string_view(myTokens.getFiles()[std::size_t(from.file)].text)
        .substr(from.end, myTokens[next].begin - from.end);
}

/// Whether the tokens stand in one file, as they are read, without lines of the preprocessor.
bool NOD_LintContext::isPlain(int first, int last) const
{
    if (first >= last || last > myTokens.size()) {
        return false;
    }
    for (int i = first; i < last; ++i) {
        const NOD_LintTokens::Token &at = myTokens[i];
        if (at.macroFlag || at.file != myTokens[first].file) {
            return false;
        }
        if (i > first && (myTokens[i - 1].end > at.begin ||
                          textBetween(i - 1, i).find('#') != std::string_view::npos)) {
            return false;
        }
    }
    return true;
}

std::optional<NOD_LintContext::Edit> NOD_LintContext::replace(int first, int last,
                                                              const std::string &text) const
{
    if (!isPlain(first, last)) {
        return std::nullopt;
    }
    return Edit{myTokens[first].file, myTokens[first].begin, myTokens[last - 1].end, text};
}

std::optional<NOD_LintContext::Edit> NOD_LintContext::remove(int first, int last) const
{
    if (!isPlain(first, last)) {
        return std::nullopt;
    }
    for (int i = first + 1; i < last; ++i) {
        if (textBetween(i - 1, i).find('/') != std::string_view::npos) {
            return std::nullopt; // a comment
        }
    }
    const std::string_view text = myTokens.getFiles()[std::size_t(myTokens[first].file)].text;
    std::size_t begin = myTokens[first].begin;
    std::size_t end = myTokens[last - 1].end;
    const std::size_t before =
        begin == 0 ? std::string::npos : text.find_last_not_of(" \t", begin - 1);
    const std::size_t after = std::min(text.find_first_not_of(" \t", end), text.size());
    const std::string_view rest = text.substr(after);
    const bool firstFlag = before == std::string::npos || text[before] == '\n';
    const bool lastFlag = rest.empty() || rest[0] == '\n' || rest.substr(0, 2) == "\r\n";
    if (firstFlag && lastFlag && !rest.empty()) {
        begin = before + 1; // npos + 1 is 0
        end = after + (rest[0] == '\n' ? 1 : 2);
    } else if (firstFlag) {
        end = after;
    } else if (after != end || lastFlag) {
        begin = before + 1;
    } // else what follows right away would join what is in front
    return Edit{myTokens[first].file, begin, end, ""};
}

std::optional<NOD_LintContext::Edit> NOD_LintContext::moveBehind(const Entry &moved,
                                                                 const Entry &other) const
{
    if (!isPlain(moved.keyword, other.last)) {
        return std::nullopt;
    }
    const int file = myTokens[moved.keyword].file;
    const std::string_view text = myTokens.getFiles()[std::size_t(file)].text;
    const std::size_t begin = myTokens[moved.keyword].begin;
    const std::size_t movedEnd = myTokens[moved.last - 1].end;
    const std::size_t end = myTokens[other.last - 1].end;
    const std::size_t next = text.find_first_not_of(theBlanks, movedEnd);
    // As the next entry is set off from this one.
    const std::string_view gap = textBetween(moved.last - 1, moved.last);
    std::size_t line = gap.rfind('\n');
    line -= line != std::string_view::npos && line > 0 && gap[line - 1] == '\r' ? 1 : 0;
    const std::string separator(line == std::string_view::npos ? " " : gap.substr(line));
    return Edit{file, begin, end,
                std::string(text.substr(next, end - next)) + separator +
                    std::string(text.substr(begin, movedEnd - begin))};
}

std::optional<NOD_LintContext::Edit> NOD_LintContext::replacePart(int token, std::size_t offset,
                                                                  std::size_t length,
                                                                  const std::string &text) const
{
    if (!isPlain(token, token + 1)) {
        return std::nullopt;
    }
    const NOD_LintTokens::Token &at = myTokens[token];
    return Edit{at.file, at.begin + offset, at.begin + offset + length, text};
}

std::string NODfaultText(const std::string &expression, const NOD_ExpressionFault &fault)
{
    constexpr std::string_view theSubject = "An expression ";
    const std::string start = "the expression " + expression;
    if (fault.code == EVL::EVL_SYNTAX) {
        return start + ": " + (fault.text.empty() ? "can't be read" : fault.text);
    }
    const std::string text = KITformatMessage("TRK", fault.code, fault.text.c_str());
    const bool subjectFlag = text.compare(0, theSubject.size(), theSubject) == 0;
    return start + (subjectFlag ? " " + text.substr(theSubject.size()) : ": " + text);
}

void NODsetFaultPlace(const NOD_LintContext &context, int token, const std::string &expression,
                      const NOD_ExpressionFault &fault, NOD_LintContext::Extra &extra)
{
    const std::size_t start = context.tokens().text(token).find(expression);
    extra.offset = start == std::string_view::npos
                       ? 0
                       : context.tokens().rawOffset(token, start + fault.offset);
}

namespace
{

/// Tells each name once that the script doesn't have.
class UnknownNames
{
public:
    UnknownNames(NOD_LintContext &context, int block, int token, const std::string &code,
                 std::string text)
        : myContext(context), myBlock(block), myToken(token), myCode(code), myText(std::move(text))
    {}

    /// `begin` is where it stands in the code, npos where that isn't known; `what` is what reads it.
    void check(const std::string &name, std::size_t begin, const char *what);

private:
    NOD_LintContext &myContext;
    int myBlock;
    int myToken;
    const std::string &myCode;
    std::string myText;
    std::set<std::string> myTold;
};

void UnknownNames::check(const std::string &name, std::size_t begin, const char *what)
{
    const NOD_InterfaceNames &names = myContext.faults().names;
    if (names.isKnown(name, myContext.block(myBlock).depth) || !myTold.insert(name).second) {
        return;
    }
    NOD_ExpressionFault place;
    place.offset = begin == std::string::npos ? 0 : begin;
    NOD_LintContext::Extra extra;
    NODsetFaultPlace(myContext, myToken, myCode, place, extra);
    extra.length = begin == std::string::npos ? 0 : name.size();
    extra.nearest = myContext.nearest(name, names.getTokens());
    myContext.add(NOD_LintCode::Z313, myBlock, myToken,
                  myText + "there is no parameter " + name + ", which the " + what + " reads",
                  extra);
}

} // namespace

void NODtellUnknownNames(NOD_LintContext &context, int block, int token,
                         const std::string &expression, const std::string &start)
{
    UnknownNames unknown(context, block, token, expression, start);
    TRK_Manager::forEachReference(
        expression.c_str(), [&](const KIT_StringRef &path, const KIT_StringRef &name) {
            const std::string word(name.view());
            const std::size_t quote =
                std::min(expression.find('"' + word + '"'), expression.find('\'' + word + '\''));
            if (path.isEmpty()) {
                unknown.check(word, quote == std::string::npos ? quote : quote + 1, "expression");
            }
        });
}

void NODtellUnknownPythonNames(NOD_LintContext &context, int block, int token,
                               const std::string &code, const std::string &start)
{
    UnknownNames unknown(context, block, token, code, start);
    TRK_NodePaths::forEachPythonName(
        code, [&](std::size_t begin, std::size_t end, const std::string &name) {
            unknown.check(name, end - begin == name.size() ? begin : std::string::npos, "code");
        });
}
