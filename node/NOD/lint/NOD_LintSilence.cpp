#include <NOD/lint/NOD_LintSilencePrivate.h>

#include <NOD/lint/NOD_LintContextPrivate.h>
#include <NOD/lint/NOD_LintWordsPrivate.h>

#include <algorithm>
#include <string_view>

NOD_LintSilence::NOD_LintSilence(NOD_LintContext &context)
{
    constexpr std::string_view theLineWord = "disable=";
    constexpr std::string_view theFileWord = "disable-file=";
    for (const NOD_LintTokens::Comment &comment : context.tokens().findComments()) {
        const std::string_view text = comment.text;
        const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
        const std::size_t end = std::min(text.find_first_of(" \t", start), text.size());
        const std::string_view word = text.substr(start, end - start);
        const bool fileFlag = word.substr(0, theFileWord.size()) == theFileWord;
        const std::string &file = context.tokens().getFiles()[std::size_t(comment.file)].name;
        const auto fault = [&](const std::string &what) {
            context.addAt(NOD_LintCode::Z505, comment.file, comment.line, comment.begin + start,
                          comment.begin + end, what);
        };
        if (!fileFlag && word.substr(0, theLineWord.size()) != theLineWord) {
            fault("a zel-lint: comment says disable=CODES or disable-file=CODES");
            continue;
        }
        const auto silence = [&](const NOD_LintRule &rule) {
            if (fileFlag) {
                myFiles[file].insert(&rule);
            } else {
                myLines[{file, comment.line}].insert(&rule);
            }
        };
        NODforEachLintWord(word.substr(fileFlag ? theFileWord.size() : theLineWord.size()),
                           [&](const std::string &name) {
                               if (const NOD_LintRule *const rule = NODfindLintRule(name)) {
                                   silence(*rule);
                               } else {
                                   fault("there is no rule " + name);
                               }
                           });
    }
}

bool NOD_LintSilence::has(const NOD_LintFinding &finding) const
{
    const auto file = myFiles.find(finding.message.file);
    const auto line = myLines.find({finding.message.file, finding.message.line});
    return (file != myFiles.end() && file->second.count(finding.rule)) ||
           (line != myLines.end() && line->second.count(finding.rule));
}
