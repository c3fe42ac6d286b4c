#include "ZELT_Show.h"

#include "ZELT_Format.h"

#include <NOD/NOD_Description.h>

namespace
{

// -------------------------------------------------------------------- //
// Parts of a line
// -------------------------------------------------------------------- //

std::string spaced(const char *word, const std::string &text)
{
    return std::string("  ") + word + " " + text;
}

std::string defaultText(const NOD_DescribedDefault &one)
{
    if (!one.text) {
        return ZELTnumber(one.number);
    }
    const std::string text = ZELTquote(*one.text);
    return one.meaning == "literal" ? text : "[" + text + " " + one.meaning + "]";
}

/// Without defaults a new parameter has 0 or "" in each component.
std::string defaultsText(const NOD_DescribedParm &parm)
{
    std::string text;
    for (const NOD_DescribedDefault &one : parm.defaults) {
        text += (text.empty() ? "" : " ") + defaultText(one);
    }
    for (int i = 0; parm.defaults.empty() && i < parm.size; ++i) {
        text += std::string(i ? " " : "") +
                (parm.value == "text" || parm.value == "data" ? "\"\"" : "0");
    }
    return text;
}

std::string limitText(const std::optional<NOD_DescribedLimit> &limit)
{
    return limit ? ZELTnumber(limit->value) + (limit->isHard ? "!" : "") : "";
}

std::string menuText(const NOD_DescribedMenu &menu)
{
    std::string text = "  menu " + menu.mode + (menu.usesToken ? " usetokenvalue" : "");
    if (menu.isDynamic) {
        return text +
               (menu.language.empty() ? " by a function" : " by a script (" + menu.language + ")");
    }
    const char *separator = " ";
    for (const NOD_DescribedEntry &entry : menu.entries) {
        text += separator + entry.token;
        text += entry.label == entry.token ? "" : "=" + ZELTquote(entry.label);
        separator = "|";
    }
    return text;
}

/// A condition keeps its braces: `disablewhen { a == 1 }`.
std::string conditionsText(const std::vector<NOD_DescribedCondition> &conditions)
{
    std::string text;
    for (const NOD_DescribedCondition &one : conditions) {
        text += spaced(one.keyword.c_str(), one.text);
    }
    return text;
}

std::string tagsText(const NOD_DescribedTags &tags)
{
    std::string text;
    for (const auto &[token, value] : tags) {
        text += spaced("tag", token + "=" + ZELTquote(value));
    }
    return text;
}

std::string helpText(const std::string &help)
{
    return help.empty() ? "" : spaced("help", ZELTquote(help));
}

/// Size, channels, and the default or number of items.
std::string valueText(const NOD_DescribedParm &parm)
{
    if (parm.kind == NOD_DescribedParm::Kind::BLOCK) {
        return spaced("items", parm.items ? std::to_string(*parm.items) : defaultsText(parm)) +
               (parm.start == 1 ? "" : spaced("from", std::to_string(parm.start)));
    }
    std::string text;
    if (parm.size > 1) {
        text += spaced("size", std::to_string(parm.size)) + "  channels";
        for (const std::string &channel : parm.channels) {
            text += " " + channel;
        }
    }
    return text + (parm.size > 0 ? spaced("default", defaultsText(parm)) : "");
}

std::string wordsText(const NOD_DescribedParm &parm)
{
    std::string text;
    const auto add = [&text](bool flag, const char *word) {
        text += flag ? std::string("  ") + word : "";
    };
    add(parm.isInvisible, "invisible");
    add(parm.joinsNext, "joinnext");
    add(parm.hasNoLabel, "nolabel");
    add(parm.isRequired, "required");
    text += parm.option.empty() ? "" : spaced("option", ZELTquote(parm.option));
    text += parm.exportLevel == 0 ? "" : spaced("export", std::to_string(parm.exportLevel));
    return text;
}

std::string lineOf(const NOD_DescribedParm &parm)
{
    std::string line = parm.token + "  " + ZELTquote(parm.label) + "  " + parm.type;
    if (parm.kind != NOD_DescribedParm::Kind::FOLDERS) {
        line += valueText(parm);
    }
    if (parm.hasRange) {
        line += spaced("range", limitText(parm.min) + ".." + limitText(parm.max));
    }
    line += parm.menu ? menuText(*parm.menu) : "";
    return line + conditionsText(parm.conditions) + tagsText(parm.tags) + wordsText(parm) +
           helpText(parm.help);
}

std::string lineOf(const NOD_DescribedFolder &folder)
{
    return "folder " + ZELTquote(folder.label) +
           (folder.name.empty() ? "" : spaced("name", folder.name)) +
           conditionsText(folder.conditions) + tagsText(folder.tags) +
           (folder.isTabInvisible ? "  invisibletab" : "") + helpText(folder.help);
}

std::string lineOf(const NOD_DescribedImport &import)
{
    std::string line =
        "import " + ZELTquote(import.label) + spaced("source", ZELTquote(import.source)) +
        spaced("token", ZELTquote(import.token)) + spaced("mask", ZELTquote(import.mask)) +
        (import.isEnabled ? "" : "  disabled") + spaced("level", std::to_string(import.level)) +
        (import.folder.empty() ? "" : spaced("in", import.folder)) + "  parameters";
    for (const std::string &token : import.tokens) {
        line += " " + token;
    }
    return line;
}

// -------------------------------------------------------------------- //
// Tree
// -------------------------------------------------------------------- //

void appendLine(std::string &out, int level, const std::string &line)
{
    out.append(std::size_t(level) * 2, ' ');
    (out += line) += '\n';
}

void appendTree(std::string &out, const std::vector<NOD_DescribedParm> &parms, int level)
{
    for (const NOD_DescribedParm &parm : parms) {
        appendLine(out, level, lineOf(parm));
        for (const NOD_DescribedFolder &folder : parm.folders) {
            appendLine(out, level + 1, lineOf(folder));
            appendTree(out, folder.members, level + 2);
        }
        appendTree(out, parm.members, level + 1);
    }
}

} // namespace

std::string ZELTtypeDump(const ZEL_Template &description)
{
    return NODdescribeOne(description).flags;
}

std::string ZELTdescribeLine(const ZEL_Template &description)
{
    return lineOf(NODdescribeOne(description));
}

std::string ZELTdescribeTree(const ZEL_Template *templates)
{
    std::string out;
    appendTree(out, NODdescribe(templates), 0);
    return out;
}

std::string ZELTdescribeTree(const NOD_Description &description)
{
    std::string out;
    appendLine(out, 0,
               "dialog " + (description.name.empty() ? "" : description.name + "  ") +
                   ZELTquote(description.label) + tagsText(description.tags) +
                   (description.isRenderMan ? "  rman" : "") +
                   (description.isShading ? "  ksl" : "") + helpText(description.help));
    appendTree(out, description.parms, 0);
    for (const NOD_DescribedImport &import : description.imports) {
        appendLine(out, 0, lineOf(import));
    }
    for (const std::string &token : description.obsolete) {
        appendLine(out, 0, "obsolete " + token);
    }
    return out + ZELTdescribeSpares(description.spares);
}

std::string ZELTdescribeSpares(const std::vector<NOD_DescribedParm> &spares)
{
    std::string out;
    if (!spares.empty()) {
        appendLine(out, 0, "spare parameters");
        appendTree(out, spares, 1);
    }
    return out;
}
