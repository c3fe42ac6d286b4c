#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace
{

constexpr std::string_view theBlanks = " \t\r\n";

} // namespace

NOD_LintContext::NOD_LintContext(const NOD_LintScript &script)
    : myScript(script), myTokens(script.getTokens()),
      myFaults(NODfindInterfaceFaults(script.getInterface().getTemplates()))
{}

void NOD_LintContext::add(NOD_LintCode code, int block, int token, const std::string &text,
                          Extra extra)
{
    NOD_LintFinding found;
    found.rule = &NODlintRules()[std::size_t(code)];
    found.text = text;
    found.nearest = std::move(extra.nearest);
    found.fix = std::move(extra.fix);
    const int name = myScript.nameOf(block);
    if (name >= 0 && block > 0) {
        found.parm = this->text(name);
    }
    if (token >= 0 && token < myTokens.size()) {
        const NOD_LintTokens::Token &at = myTokens[token];
        const std::string_view raw = myTokens.raw(token);
        const std::size_t offset = at.macroFlag || extra.offset > raw.size() ? 0 : extra.offset;
        found.file = myTokens.getFiles()[std::size_t(at.file)].name;
        found.line = at.line + int(std::count(raw.begin(), raw.begin() + long(offset), '\n'));
        found.column = myTokens.getColumn(at.file, at.begin + offset);
    } else {
        found.file = myTokens.getFiles().front().name;
    }
    myFindings.push_back(std::move(found));
}

void NOD_LintContext::addAt(NOD_LintCode code, int file, int line, std::size_t offset,
                            const std::string &text, std::optional<NOD_LintEdit> fix)
{
    NOD_LintFinding found;
    found.rule = &NODlintRules()[std::size_t(code)];
    found.file = myTokens.getFiles()[std::size_t(file)].name;
    found.line = line;
    found.column = myTokens.getColumn(file, offset);
    found.text = text;
    found.fix = std::move(fix);
    myFindings.push_back(std::move(found));
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

/// Whether the tokens stand in one file, as they are read, without lines of the preprocessor.
bool NOD_LintContext::isPlain(int first, int last) const
{
    if (first >= last || last > myTokens.size()) {
        return false;
    }
    const int file = myTokens[first].file;
    for (int i = first; i < last; ++i) {
        if (myTokens[i].macroFlag || myTokens[i].file != file) {
            return false;
        }
        if (i > first) {
            const std::size_t end = myTokens[i - 1].end;
            if (end > myTokens[i].begin) {
                return false;
            }
            const std::string_view gap =
                std::string_view(myTokens.getFiles()[std::size_t(file)].text)
                    .substr(end, myTokens[i].begin - end);
            if (gap.find('#') != std::string_view::npos) {
                return false;
            }
        }
    }
    return true;
}

std::optional<NOD_LintEdit> NOD_LintContext::replace(int first, int last,
                                                     const std::string &text) const
{
    if (!isPlain(first, last)) {
        return std::nullopt;
    }
    const NOD_LintTokens::File &file = myTokens.getFiles()[std::size_t(myTokens[first].file)];
    std::size_t begin = myTokens[first].begin;
    const std::size_t end = myTokens[last - 1].end;
    if (text.empty()) {
        const std::size_t before =
            begin == 0 ? std::string::npos : file.text.find_last_not_of(" \t", begin - 1);
        const std::size_t after = file.text.find_first_not_of(" \t", end);
        const bool lineFlag = before == std::string::npos || file.text[before] == '\n';
        const bool restFlag = after != std::string::npos && file.text[after] != '\n';
        if (!lineFlag) {
            // What follows right away would else join what is in front.
            begin = after == end && restFlag ? begin : before + 1;
        } else if (restFlag) {
            return NOD_LintEdit{file.name, begin, after, ""};
        }
    }
    return NOD_LintEdit{file.name, begin, end, text};
}

std::optional<NOD_LintEdit> NOD_LintContext::moveBehind(const Entry &moved,
                                                        const Entry &other) const
{
    if (!isPlain(moved.keyword, other.last)) {
        return std::nullopt;
    }
    const NOD_LintTokens::File &file =
        myTokens.getFiles()[std::size_t(myTokens[moved.keyword].file)];
    const std::string_view text = file.text;
    const std::size_t begin = myTokens[moved.keyword].begin;
    const std::size_t movedEnd = myTokens[moved.last - 1].end;
    const std::size_t end = myTokens[other.last - 1].end;
    const std::size_t next = text.find_first_not_of(theBlanks, movedEnd);
    const std::size_t word = myTokens[moved.last].begin; // of the entry after it
    // As the next entry is set off from this one.
    const std::string_view gap = text.substr(movedEnd, word - movedEnd);
    const std::size_t line = gap.rfind('\n');
    const std::string separator(line == std::string_view::npos ? " " : gap.substr(line));
    return NOD_LintEdit{file.name, begin, end,
                        std::string(text.substr(next, end - next)) + separator +
                            std::string(text.substr(begin, movedEnd - begin))};
}

std::optional<NOD_LintEdit> NOD_LintContext::replacePart(int token, std::size_t offset,
                                                         std::size_t length,
                                                         const std::string &text) const
{
    if (!isPlain(token, token + 1)) {
        return std::nullopt;
    }
    const NOD_LintTokens::Token &at = myTokens[token];
    return NOD_LintEdit{myTokens.getFiles()[std::size_t(at.file)].name, at.begin + offset,
                        at.begin + offset + length, text};
}

std::string NODfaultText(const NOD_ExpressionFault &fault)
{
    return fault.text.empty() ? "can't be read" : fault.text;
}
