#include <NOD/NOD_InterfaceDifference.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <ZEL/ZEL_Template.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace
{

std::string tokenOf(const ZEL_Template &one)
{
    return one.getToken() ? one.getToken() : "";
}

/// Beside the text of a default a number has no meaning.
bool endsWith(const std::string &text, const std::string &end)
{
    return end.back() == '"' && text.size() > end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Of a type its words alone, without the numbers in parentheses behind them.
std::string wordsOf(const std::string &field, const std::string &text)
{
    return text.substr(0, field == "type" ? text.rfind(" (") : std::string::npos);
}

/// What the differences of one comparison are told to.
struct Differences
{
    NOD_Report &report;
    KIT_ErrorSeverity severity;
    int count = 0;

    void tell(const std::string &token, const std::string &text)
    {
        report.add({severity, {}, 0, token, text, {}, 0});
        ++count;
    }

    void compare(const ZEL_Template *from, const ZEL_Template *to);
    void compareFields(const std::string &token, const NOD_TemplateFields &from,
                       const NOD_TemplateFields &to);
};

void Differences::compare(const ZEL_Template *from, const ZEL_Template *to)
{
    std::unordered_map<std::string, const ZEL_Template *> others;
    for (; to && !to->isTerminator(); ++to) {
        others.emplace(tokenOf(*to), to);
    }
    for (; from && !from->isTerminator(); ++from) {
        const std::string token = tokenOf(*from);
        const auto other = others.find(token);
        if (other == others.end()) {
            tell(token, from->isSwitcher() ? "there is no set of folders of that name"
                                           : "there is no parameter of that name");
            continue;
        }
        compareFields(token, NODgetTemplateFields(*from), NODgetTemplateFields(*other->second));
        if (from->isMultiType() && other->second->isMultiType() && !from->isRampType()) {
            compare(from->getMultiParmTemplate(), other->second->getMultiParmTemplate());
        }
    }
}

void Differences::compareFields(const std::string &token, const NOD_TemplateFields &from,
                                const NOD_TemplateFields &to)
{
    for (const auto &[field, text] : from) {
        const auto found = to.find(field);
        if (found == to.end()) {
            tell(token, field + " is missing: " + text);
        } else if (found->second != text && !endsWith(text, " " + found->second)) {
            const bool wordsFlag = wordsOf(field, found->second) != wordsOf(field, text);
            // By a name of its own: Clang 14 captures no parts of a pair.
            const auto shown = [&, &name = field](const std::string &value) {
                return wordsFlag ? wordsOf(name, value) : value;
            };
            tell(token, field + " is " + shown(found->second) + ", not " + shown(text));
        }
    }
    for (const auto &[field, text] : to) {
        if (from.count(field) == 0) {
            tell(token, field + " is added: " + text);
        }
    }
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// What the text has beside its words: comments that the library didn't write, and directives.
struct Extras
{
    bool commentFlag = false;
    bool directiveFlag = false;
};

/// After a text in quotes that begins at the place.
std::size_t endOfQuoted(std::string_view text, std::size_t at)
{
    const char quote = text[at++];
    while (at < text.size() && text[at] != quote) {
        at += text[at] == '\\' ? 2 : 1;
    }
    return at + 1;
}

Extras extrasOf(std::string_view text)
{
    Extras extras;
    bool lineStartFlag = true;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        const bool blockFlag = startsWith(rest, "/*");
        if (blockFlag || startsWith(rest, "//")) {
            extras.commentFlag |= !startsWith(rest, "// End of Group: ") &&
                                  !startsWith(rest, "/*\n * Velmora Dialog Script generated ");
            const std::size_t end = blockFlag ? rest.find("*/", 2) : rest.find('\n');
            at = end == std::string_view::npos ? text.size() : at + end + (blockFlag ? 2 : 0);
        } else if (rest[0] == '"') {
            at = endOfQuoted(text, at);
            lineStartFlag = false;
        } else {
            extras.directiveFlag |= lineStartFlag && rest[0] == '#';
            lineStartFlag =
                rest[0] == '\n' || (lineStartFlag && (rest[0] == ' ' || rest[0] == '\t'));
            ++at;
        }
    }
    return extras;
}

} // namespace

int NODcompareInterfaces(const ZEL_Template *from, const ZEL_Template *to, NOD_Report &report,
                         KIT_ErrorSeverity severity)
{
    Differences differences{report, severity};
    differences.compare(from, to);
    return differences.count;
}

int NODcompareInterfaces(const NOD_Interface &from, const NOD_Interface &to, NOD_Report &report,
                         KIT_ErrorSeverity severity)
{
    Differences differences{report, severity};
    const Extras extras = extrasOf(from.getText());
    if (extras.commentFlag) {
        differences.tell("", "comments are left out");
    }
    if (extras.directiveFlag) {
        differences.tell("",
                         "what is included or defined is written in full, without the directives");
    }
    differences.compare(from.getTemplates(), to.getTemplates());
    return differences.count;
}
