#include <NOD/server/NOD_ServerPassPrivate.h>

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <set>
#include <utility>

namespace
{

using Finding = NOD_ServerFinding;

constexpr const char *theReader = "zel";
constexpr const char *theJudge = "zel lint";

Finding::Severity severityOf(KIT_ErrorSeverity severity)
{
    return severity >= KIT_ERROR_ABORT     ? Finding::ERROR
           : severity == KIT_ERROR_WARNING ? Finding::WARNING
                                           : Finding::INFORMATION;
}

Finding::Severity severityOf(NOD_LintLevel level)
{
    return level == NOD_LintLevel::ERROR     ? Finding::ERROR
           : level == NOD_LintLevel::WARNING ? Finding::WARNING
                                             : Finding::HINT;
}

/// What is told of another file: many editors show nothing of a finding but its text.
std::string inFile(const KIT_MessagePlace &place, const std::string &text)
{
    if (place.file.empty()) {
        return text;
    }
    const std::string name = std::filesystem::path(place.file).filename().string();
    return name + (place.line > 0 ? ":" + std::to_string(place.line) : "") + ": " + text;
}

} // namespace

NOD_ServerPass::NOD_ServerPass(std::string uri, std::string path,
                               std::shared_ptr<const NOD_ServerText> text,
                               const NOD_ServerRules &rules)
    : myUri(std::move(uri)), myPath(std::move(path)), myText(std::move(text)), myRules(rules)
{}

void NOD_ServerPass::run()
{
    try {
        if (myText->get().size() <= theMostBytes) {
            read();
            return;
        }
        tell("the script is larger than " + std::to_string(theMostBytes >> 20) +
             " MB: the server doesn't check it, zel check does");
    } catch (const std::bad_alloc &) {
        myInterface.reset();
        myFindings.clear();
        tell("there is not enough memory to check the script");
    }
}

void NOD_ServerPass::read()
{
    const std::string &text = myText->get();
    myFeeds = {0};
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        myFeeds.push_back(at + 1);
    }
    NOD_Report said;
    myInterface = NODcheckScript(text, myPath, said, myRules.includes);
    if (myInterface) {
        NODcheckDescription(*myInterface, myPath, said);
    }
    const bool wholeFlag = NODscriptHead(text, myPath).empty();
    if (wholeFlag && myRules.lintFlag) {
        NOD_LintOptions options;
        if (myRules.includes != NOD_Interface::Includes::NONE) {
            options.readFolder(myPath, said);
        }
        NOD_Judgement judged =
            myInterface ? NODjudge(*myInterface, options, said)
                        : NODjudgeSoundPart(text, myPath, options, said, myRules.includes);
        for (const NOD_LintFinding &finding : judged.findings) {
            add(finding);
        }
        said = std::move(judged.rest);
    }
    for (const NOD_Message &message : said.getMessages()) {
        myFindings.push_back(findingOf(message));
    }
    std::stable_sort(myFindings.begin(), myFindings.end(), [](const Finding &a, const Finding &b) {
        return std::pair(a.begin, a.end) < std::pair(b.begin, b.end);
    });
    cut();
}

/// Errors stay before what is less.
void NOD_ServerPass::cut()
{
    if (myFindings.size() <= theMostFindings) {
        return;
    }
    const std::size_t more = myFindings.size() - theMostFindings;
    std::stable_sort(myFindings.begin(), myFindings.end(),
                     [](const Finding &a, const Finding &b) { return a.severity < b.severity; });
    myFindings.resize(theMostFindings);
    std::stable_sort(myFindings.begin(), myFindings.end(),
                     [](const Finding &a, const Finding &b) { return a.begin < b.begin; });
    tell(std::to_string(more) + " more findings aren't shown");
}

/// About the whole script, in front of all.
void NOD_ServerPass::tell(const std::string &text)
{
    Finding finding;
    finding.severity = Finding::INFORMATION;
    finding.source = theReader;
    finding.text = text;
    myFindings.insert(myFindings.begin(), std::move(finding));
}

std::size_t NOD_ServerPass::lineBegin(std::size_t line) const
{
    return line == 0 ? 0 : myFeeds[std::min(line, myFeeds.size()) - 1];
}

/// Of a place that is only a line: what the line has.
void NOD_ServerPass::setLine(Finding &finding, std::size_t line)
{
    const std::string &text = myText->get();
    std::size_t at = lineBegin(line);
    const std::size_t end = std::min(text.find('\n', at), text.size());
    at = std::min(text.find_first_not_of(" \t", at), end);
    finding.begin = at;
    finding.end = std::max(at, end - (end > at && text[end - 1] == '\r' ? 1 : 0));
}

Finding NOD_ServerPass::findingOf(const NOD_Message &message)
{
    Finding finding;
    finding.severity = severityOf(message.severity);
    finding.source = theReader;
    if (!message.category.empty()) {
        finding.code = message.category + " " + std::to_string(message.code);
    }
    finding.text = message.subject.empty() ? message.text : message.subject + ": " + message.text;
    const bool ownFlag = message.file.empty() || message.file == myPath;
    if (message.detail) {
        setPlace(finding, *message.detail);
    } else if (ownFlag) {
        setLine(finding, std::size_t(std::max(message.line, 0)));
    } else {
        KIT_MessagePlace place;
        place.file = message.file;
        place.line = message.line;
        addRelated(finding, place, message.text);
        finding.text = inFile(place, finding.text);
    }
    return finding;
}

void NOD_ServerPass::setPlace(Finding &finding, const KIT_MessageDetail &detail)
{
    const KIT_MessagePlace *own = &detail.place;
    if (own->file != myPath) {
        addRelated(finding, *own, finding.text);
        finding.text = inFile(*own, finding.text);
        own = detail.includedFrom.empty() ? own : &detail.includedFrom.back();
    }
    const std::size_t size = myText->get().size();
    if (own->file != myPath) {
        // where the document begins
    } else if (own->offset >= 0) {
        finding.begin = std::min(std::size_t(own->offset), size);
        finding.end =
            std::clamp(std::size_t(std::max(own->endOffset, own->offset)), finding.begin, size);
    } else {
        setLine(finding, std::size_t(std::max(own->line, 0)));
    }
    if (!detail.hint.empty()) {
        finding.text += "; " + detail.hint;
    }
    for (const KIT_MessageRelated &related : detail.related) {
        addRelated(finding, related.place, related.text);
    }
    for (const KIT_MessageFix &fix : detail.fixes) {
        NOD_ServerFix mended{fix.what, {}, false};
        for (const KIT_MessageEdit &edit : fix.edits) {
            if (edit.place.file == myPath && edit.place.offset >= 0) {
                mended.edits.push_back({std::min(std::size_t(edit.place.offset), size),
                                        std::min(std::size_t(edit.place.endOffset), size),
                                        edit.text});
            }
        }
        if (mended.edits.size() == fix.edits.size() && !fix.edits.empty()) {
            finding.fixes.push_back(std::move(mended));
        }
    }
}

void NOD_ServerPass::addRelated(Finding &finding, const KIT_MessagePlace &place,
                                const std::string &text) const
{
    Finding::Related related;
    related.text = text;
    if (place.file == myPath || place.file.empty()) {
        const std::size_t size = myText->get().size();
        const std::size_t at = place.offset >= 0 ? std::size_t(place.offset)
                                                 : lineBegin(std::size_t(std::max(place.line, 0)));
        related.begin = std::min(at, size);
        related.end = std::clamp(std::size_t(std::max<std::int64_t>(place.endOffset, 0)),
                                 related.begin, size);
    } else {
        related.file = place.file;
        const long line = std::max(place.line, 1) - 1;
        const std::string_view source = place.source;
        const NOD_ServerText one = myText->makeLike(std::string(source));
        const auto unit = [&](int column) {
            return one.findPosition(std::size_t(std::max(column, 1) - 1)).unit;
        };
        related.from = {line, unit(place.column)};
        related.to = {line, place.endLine > place.line
                                ? long(one.findPosition(source.size()).unit)
                                : unit(std::max(place.endColumn, place.column))};
    }
    finding.related.push_back(std::move(related));
}

/// The word that may have been meant, where the place is one word.
void NOD_ServerPass::addReplacement(Finding &finding, const std::string &word) const
{
    std::size_t begin = finding.begin;
    std::size_t end = finding.end;
    std::string_view written = std::string_view(myText->get()).substr(begin, end - begin);
    const bool quotedFlag = written.size() > 1 && written.front() == '"' && written.back() == '"';
    begin += quotedFlag ? 1 : 0;
    end -= quotedFlag ? 1 : 0;
    written = std::string_view(myText->get()).substr(begin, end - begin);
    if (!written.empty() && written.find_first_of(" \t\r\n\"\\{}") == std::string_view::npos) {
        finding.fixes.push_back({"replace it by " + word, {{begin, end, word}}, false});
    }
}

void NOD_ServerPass::add(const NOD_LintFinding &found)
{
    Finding finding = findingOf(found.message);
    finding.severity = severityOf(found.rule->level);
    finding.source = theJudge;
    finding.code = found.rule->code;
    for (NOD_ServerFix &fix : finding.fixes) {
        fix.title = std::string("fix ") + found.rule->name;
        fix.safeFlag = true;
    }
    const KIT_MessageDetail &detail = *found.message.detail;
    if (finding.fixes.empty() && !detail.expected.empty() && detail.place.file == myPath) {
        addReplacement(finding, detail.expected.front());
    }
    myFindings.push_back(std::move(finding));
}
