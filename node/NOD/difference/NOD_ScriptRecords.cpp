#include <NOD/difference/NOD_ScriptRecordsPrivate.h>

#include <NOD/NOD_Description.h>
#include <NOD/NOD_Interface.h>

#include <string>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;
using Parm = NOD_DescribedParm;

// Stored in patches.
constexpr const char *theFolder = "folder";
constexpr const char *theBlock = "block";
constexpr const char *theParameter = "parameter";

void addText(NOD_Record &to, const char *name, const std::string &text)
{
    if (!text.empty()) {
        to.add(Kind::PROPERTY, name, text);
    }
}

void addFlag(NOD_Record &to, const char *name, bool flag)
{
    if (flag) {
        to.add(Kind::PROPERTY, name, std::string("on"));
    }
}

void addNumber(NOD_Record &to, const char *name, int number, int usual)
{
    if (number != usual) {
        to.add(Kind::PROPERTY, name, std::int64_t(number));
    }
}

/// A name that no sibling has.
std::string freeName(const NOD_Record &to, const std::string &name)
{
    std::string free = name;
    for (int number = 2; to.find(Kind::DECLARATION, free); ++number) {
        free = name + "#" + std::to_string(number);
    }
    return free;
}

void addTags(NOD_Record &to, const NOD_DescribedTags &tags)
{
    for (const auto &[name, value] : tags) {
        to.add(Kind::TAG, name, value);
    }
}

void addConditions(NOD_Record &to, const std::vector<NOD_DescribedCondition> &conditions)
{
    for (const NOD_DescribedCondition &condition : conditions) {
        std::string name = condition.keyword;
        for (int number = 2; to.find(Kind::CONDITION, name); ++number) {
            name = condition.keyword + " " + std::to_string(number);
        }
        to.add(Kind::CONDITION, name, condition.text);
    }
}

void addLimit(NOD_Record &to, const char *name, const std::optional<NOD_DescribedLimit> &limit)
{
    if (limit) {
        to.add(Kind::PROPERTY, name, limit->value);
        addFlag(to, (std::string(name) + " is hard").c_str(), limit->isHard);
    }
}

void addMenu(NOD_Record &to, const std::optional<NOD_DescribedMenu> &menu)
{
    if (!menu) {
        return;
    }
    addText(to, "menu", menu->mode);
    addFlag(to, "menu by token", menu->usesToken);
    addText(to, "menu language", menu->language);
    addText(to, "menu script", menu->script);
    for (const NOD_DescribedEntry &entry : menu->entries) {
        if (!to.find(Kind::MENU_ENTRY, entry.token)) {
            to.add(Kind::MENU_ENTRY, entry.token, entry.label);
        }
    }
}

void addDefaults(NOD_Record &to, const Parm &parm)
{
    for (std::size_t i = 0; i < parm.defaults.size(); ++i) {
        const NOD_DescribedDefault &one = parm.defaults[i];
        const std::string name = std::to_string(i);
        const std::string meaning =
            one.meaning.empty() || one.meaning == "literal" ? "" : one.meaning + ": ";
        to.add(Kind::DEFAULT_VALUE, name,
               one.text ? NOD_Value(meaning + *one.text) : NOD_Value(one.number));
    }
}

void addParms(NOD_Record &to, const std::vector<Parm> &parms);

void addFolders(NOD_Record &to, const Parm &set)
{
    for (const NOD_DescribedFolder &folder : set.folders) {
        const std::string name = folder.name.empty() ? folder.label : folder.name;
        NOD_Record &made = to.add(Kind::DECLARATION, freeName(to, "folder " + name));
        made.add(Kind::PROPERTY, "kind", std::string(theFolder));
        addText(made, "label", folder.label);
        addText(made, "type", set.type);
        addText(made, "help", folder.help);
        addFlag(made, "invisible tab", folder.isTabInvisible);
        addConditions(made, folder.conditions);
        addTags(made, folder.tags);
        addParms(made, folder.members);
    }
}

void addParm(NOD_Record &to, const Parm &parm)
{
    NOD_Record &made = to.add(Kind::DECLARATION, freeName(to, parm.token));
    const bool blockFlag = parm.kind == Parm::Kind::BLOCK;
    made.add(Kind::PROPERTY, "kind", std::string(blockFlag ? theBlock : theParameter));
    addText(made, "label", parm.label);
    addText(made, "type", parm.type);
    addText(made, "flags", parm.flags);
    made.add(Kind::PROPERTY, "size", std::int64_t(parm.size));
    addDefaults(made, parm);
    addLimit(made, "min", parm.min);
    addLimit(made, "max", parm.max);
    addMenu(made, parm.menu);
    addConditions(made, parm.conditions);
    addTags(made, parm.tags);
    addNumber(made, "export", parm.exportLevel, 0);
    addText(made, "help", parm.help);
    addText(made, "option", parm.option);
    addFlag(made, "required", parm.isRequired);
    addFlag(made, "invisible", parm.isInvisible);
    addFlag(made, "joins the next", parm.joinsNext);
    addFlag(made, "no label", parm.hasNoLabel);
    addFlag(made, "no cook", parm.isNoCook);
    if (blockFlag) {
        made.add(Kind::PROPERTY, "items",
                 parm.items ? NOD_Value(std::int64_t(*parm.items))
                            : NOD_Value(std::string("by an expression")));
        made.add(Kind::PROPERTY, "start", std::int64_t(parm.start));
        addParms(made, parm.members);
    }
}

void addParms(NOD_Record &to, const std::vector<Parm> &parms)
{
    for (const Parm &parm : parms) {
        if (parm.kind == Parm::Kind::FOLDERS) {
            addFolders(to, parm);
        } else {
            addParm(to, parm);
        }
    }
}

} // namespace

void NODreadScript(const NOD_Interface &interface, NOD_Record &top)
{
    const NOD_Description description = NODdescribe(interface);
    addText(top, "name", description.name);
    addText(top, "label", description.label);
    addText(top, "help", description.help);
    addFlag(top, "rman", description.isRenderMan);
    addFlag(top, "ksl", description.isShading);
    addTags(top, description.tags);
    for (const std::string &token : description.obsolete) {
        if (!top.find(Kind::PROPERTY, "obsolete " + token)) {
            top.add(Kind::PROPERTY, "obsolete " + token);
        }
    }
    for (const NOD_DescribedImport &import : description.imports) {
        const std::string name = "import " + import.source + " " + import.token;
        if (!top.find(Kind::PROPERTY, name)) {
            top.add(Kind::PROPERTY, name, import.mask + (import.isEnabled ? "" : " (off)"));
        }
    }
    addParms(top, description.parms);
}
