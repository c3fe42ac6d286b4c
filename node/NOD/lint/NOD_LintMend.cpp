// Fixes of findings: edits of a text, and what they do to the interface.

#include <NOD/NOD_Lint.h>

#include <KIT/KIT_MessageDetail.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace
{

using Script = std::shared_ptr<const NOD_Interface>;
using Findings = std::vector<NOD_LintFinding>;

/// The edits of findings that fit into a text, by place, without those that overlap one before.
struct Edits
{
    std::vector<const KIT_MessageEdit *> edits;
    Findings findings;
};

/// The edits of a finding's first fix, if all are in the file.
std::vector<const KIT_MessageEdit *> editsOf(const NOD_LintFinding &finding,
                                             const std::string &file, std::size_t size)
{
    std::vector<const KIT_MessageEdit *> edits;
    if (!finding.hasFix()) {
        return edits;
    }
    for (const KIT_MessageEdit &edit : finding.message.detail->fixes[0].edits) {
        const KIT_MessagePlace &place = edit.place;
        if (place.file != file || place.offset < 0 || place.offset > place.endOffset ||
            std::size_t(place.endOffset) > size) {
            return {};
        }
        edits.push_back(&edit);
    }
    return edits;
}

Edits collect(const Findings &findings, const std::string &file, std::size_t size)
{
    Edits all;
    std::vector<std::pair<std::vector<const KIT_MessageEdit *>, const NOD_LintFinding *>> found;
    for (const NOD_LintFinding &finding : findings) {
        found.emplace_back(editsOf(finding, file, size), &finding);
        if (found.back().first.empty()) {
            found.pop_back();
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) {
        return a.first.front()->place.offset < b.first.front()->place.offset;
    });
    std::int64_t end = 0;
    for (const auto &[edits, finding] : found) {
        if (edits.front()->place.offset >= end) {
            all.edits.insert(all.edits.end(), edits.begin(), edits.end());
            all.findings.push_back(*finding);
            end = edits.back()->place.endOffset;
        }
    }
    return all;
}

// ---------------------------------------------------------------------- //
// What a fix may change
// ---------------------------------------------------------------------- //

/// Compares two interfaces, but for what rules may change.
class Law
{
public:
    explicit Law(const Findings &findings)
    {
        for (const NOD_LintFinding &one : findings) {
            const std::string_view words = one.rule->changes;
            for (std::size_t at = 0; at < words.size();) {
                const std::size_t end = std::min(words.find(' ', at), words.size());
                myAllowed.emplace(one.message.subject, words.substr(at, end - at));
                at = end + 1;
            }
        }
    }

    /// What changes though it may not; "" for nothing.
    std::string compare(const NOD_Interface &from, const NOD_Interface &to) const
    {
        const bool sameFlag = from.getTypeName() == to.getTypeName() &&
                              from.getLabel() == to.getLabel() && from.getHelp() == to.getHelp();
        return sameFlag ? compare(from.getTemplates(), to.getTemplates()) : "the script's own name";
    }

private:
    std::string compare(const ZEL_Template *from, const ZEL_Template *to) const
    {
        for (; !from->isTerminator() && !to->isTerminator(); ++from, ++to) {
            std::string change = compareFields(*from, *to);
            const ZEL_Template *const items = from->getMultiParmTemplate();
            if (change.empty() && from->isMultiType() && !from->isRampType() && items &&
                to->isMultiType() && to->getMultiParmTemplate()) {
                change = compare(items, to->getMultiParmTemplate());
            }
            if (!change.empty()) {
                return change;
            }
        }
        return from->isTerminator() == to->isTerminator() ? "" : "the number of parameters";
    }

    std::string compareFields(const ZEL_Template &from, const ZEL_Template &to) const
    {
        const std::string token = from.getToken() ? from.getToken() : "";
        const NOD_TemplateFields before = NODgetTemplateFields(from);
        const NOD_TemplateFields after = NODgetTemplateFields(to);
        for (const auto &[one, other] : {std::pair(&before, &after), std::pair(&after, &before)}) {
            for (const auto &[field, text] : *one) {
                const auto found = other->find(field);
                const bool sameFlag = found != other->end() && found->second == text;
                if (!sameFlag && !isAllowed(token, from.isSwitcher(), field)) {
                    return "the " + field + " of " + token;
                }
            }
        }
        return "";
    }

    /// A set of folders has another token than its folders.
    bool isAllowed(const std::string &token, bool switcherFlag, const std::string &field) const
    {
        const std::string word = field.substr(0, field.find(' '));
        return std::any_of(myAllowed.begin(), myAllowed.end(), [&](const auto &row) {
            return (switcherFlag || row.first == token) && row.second == word;
        });
    }

    std::set<std::pair<std::string, std::string_view>> myAllowed; ///< parameters and fields
};

// ---------------------------------------------------------------------- //
// Rounds of edits
// ---------------------------------------------------------------------- //

class Mending
{
public:
    Mending(Script script, const std::string &name, const NOD_LintOptions &options,
            NOD_Report &report)
        : myName(name), myOptions(options), myReport(report)
    {
        myResult.script = std::move(script);
    }

    NOD_MendedScript run();

private:
    Script apply(const Findings &findings, std::string &why) const;
    Findings keepGood(const Findings &findings);
    void refuse(const NOD_LintFinding &finding, const std::string &why);
    bool isRefused(const NOD_LintFinding &one) const
    {
        return myRefused.count({one.rule, one.message.subject}) != 0;
    }

    const std::string &myName;
    const NOD_LintOptions &myOptions;
    NOD_Report &myReport;
    NOD_MendedScript myResult;
    std::set<std::pair<const NOD_LintRule *, std::string>> myRefused;
};

NOD_MendedScript Mending::run()
{
    constexpr int theMostRounds = 100; // each makes one edit at least
    myResult.findings = NODlint(*myResult.script, myOptions);
    for (int round = 0; round < theMostRounds; ++round) {
        Findings wanted;
        std::copy_if(myResult.findings.begin(), myResult.findings.end(), std::back_inserter(wanted),
                     [this](const NOD_LintFinding &one) { return !isRefused(one); });
        const Edits edits = collect(wanted, myName, myResult.script->getText().size());
        if (edits.findings.empty()) {
            break;
        }
        const Findings good = keepGood(edits.findings);
        std::string why;
        const Script mended = good.empty() ? nullptr : apply(good, why);
        if (mended) {
            myResult.script = mended;
            myResult.fixed += int(good.size());
            myResult.findings = NODlint(*mended, myOptions);
        } else if (!good.empty()) {
            break; // each is good alone: what is left is told
        }
    }
    return std::move(myResult);
}

/// The script after some fixes; null, with the reason, if it can't be read or means something else.
Script Mending::apply(const Findings &findings, std::string &why) const
{
    int applied = 0;
    const std::string text =
        NODapplyLintFixes(findings, myName, myResult.script->getText(), applied);
    NOD_Report report;
    Script mended = NOD_Interface::fromText(text, myName, report, myResult.script->getIncludes());
    why = mended ? Law(findings).compare(*myResult.script, *mended) : "";
    why = mended ? why : "the script couldn't be read any more";
    return why.empty() ? mended : nullptr;
}

/// Those that keep the law together; others are found by halves.
Findings Mending::keepGood(const Findings &findings)
{
    std::string why;
    if (apply(findings, why)) {
        return findings;
    }
    if (findings.size() == 1) {
        refuse(findings[0], why);
        return {};
    }
    const auto middle = findings.begin() + std::ptrdiff_t(findings.size() / 2);
    Findings good = keepGood(Findings(findings.begin(), middle));
    const Findings rest = keepGood(Findings(middle, findings.end()));
    good.insert(good.end(), rest.begin(), rest.end());
    return good;
}

void Mending::refuse(const NOD_LintFinding &finding, const std::string &why)
{
    myRefused.emplace(finding.rule, finding.message.subject);
    NOD_Message message = finding.message;
    message.severity = KIT_ERROR_WARNING;
    message.text = std::string("the fix of ") + finding.rule->code +
                   " isn't made: it would change " + why + " too";
    if (why.compare(0, 10, "the script") == 0) {
        message.text = std::string("the fix of ") + finding.rule->code + " isn't made: " + why;
    }
    myReport.add(std::move(message));
}

} // namespace

std::string NODapplyLintFixes(const std::vector<NOD_LintFinding> &findings, const std::string &file,
                              std::string_view text, int &applied)
{
    const Edits all = collect(findings, file, text.size());
    std::string out;
    std::size_t at = 0;
    for (const KIT_MessageEdit *edit : all.edits) {
        const auto begin = std::size_t(edit->place.offset);
        if (begin >= at) {
            out += text.substr(at, begin - at);
            out += edit->text;
            at = std::size_t(edit->place.endOffset);
        }
    }
    applied = int(all.findings.size());
    return out += text.substr(at);
}

NOD_MendedScript NODmendScript(std::shared_ptr<const NOD_Interface> script, const std::string &name,
                               const NOD_LintOptions &options, NOD_Report &report)
{
    return Mending(std::move(script), name, options, report).run();
}
