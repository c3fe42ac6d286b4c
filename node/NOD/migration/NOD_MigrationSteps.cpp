// Which steps a migration has, and whether both interfaces have their names.

#include <NOD/NOD_Migration.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <set>

namespace
{

using Tokens = std::set<std::string>;

/// Tokens as they are written, and of blocks as items get them: numbers without a `#` are added at the end.
void addTokens(const ZEL_Template *templates, int depth, Tokens &out)
{
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        std::string token = at->getTokenRef().nonNullStr();
        out.insert(token);
        for (int marks = int(std::count(token.begin(), token.end(), '#')); marks < depth; ++marks) {
            token += marks ? "_#" : "#";
        }
        out.insert(token);
        if (at->isMultiType()) {
            addTokens(at->getMultiParmTemplate(), depth + 1, out);
        }
    }
}

Tokens tokensOf(NOD_Node &node)
{
    Tokens tokens;
    addTokens(node.getInterface() ? node.getInterface()->getTemplates() : node.getPlainTemplates(),
              0, tokens);
    for (const ZEL_Template *spare : node.getSpareParms().getDescriptions()) {
        tokens.insert(spare->getTokenRef().nonNullStr());
        if (spare->isMultiType()) {
            addTokens(spare->getMultiParmTemplate(), 1, tokens);
        }
    }
    return tokens;
}

} // namespace

bool NOD_Migration::addStep(const NOD_MigrationStep &step, NOD_Report &report)
{
    if (step.kind == NOD_MigrationStep::Kind::RENAME && step.line == 0) {
        return addRename(step.sources[0], step.targets[0], report);
    }
    keep(step);
    return true;
}

void NOD_Migration::keep(NOD_MigrationStep step)
{
    if (step.kind == NOD_MigrationStep::Kind::RENAME) {
        myPresentNames.emplace(step.sources[0], step.targets[0]);
        myFormerNames.emplace(step.targets[0], step.sources[0]);
    }
    mySteps.push_back(std::move(step));
}

bool NOD_Migration::addRename(const std::string &former, const std::string &present,
                              NOD_Report &report)
{
    const int before = report.getErrorCount();
    if (former.empty() || present.empty()) {
        report.error("", "a rename has no name");
    } else if (std::count(former.begin(), former.end(), '#') !=
               std::count(present.begin(), present.end(), '#')) {
        report.error(former, "has not as many # as " + present);
    }
    const auto other = myPresentNames.find(former);
    if (other != myPresentNames.end() && other->second != present) {
        report.error(former, "is to be called " + other->second + " and " + present);
    }
    const auto one = myFormerNames.find(present);
    if (one != myFormerNames.end() && one->second != former) {
        report.error(present, "is to be the name of " + one->second + " and " + former);
    }
    if (report.getErrorCount() != before) {
        return false;
    }
    if (former != present) {
        keep(NOD_MigrationStep::rename(former, present));
    }
    return true;
}

bool NOD_Migration::addRename(const std::string &text, NOD_Report &report)
{
    const std::size_t place = text.find('=');
    if (place == std::string::npos) {
        report.error("", text + " has no =");
        return false;
    }
    return addRename(text.substr(0, place), text.substr(place + 1), report);
}

bool NOD_Migration::readRenames(std::string_view text, const std::string &name, NOD_Report &report)
{
    NOD_MigrationMap map;
    return map.read(text, name, report) && addRenames(map, report);
}

bool NOD_Migration::readRenames(const std::string &path, NOD_Report &report)
{
    NOD_MigrationMap map;
    return map.read(path, report) && addRenames(map, report);
}

bool NOD_Migration::addRenames(const NOD_MigrationMap &map, NOD_Report &report)
{
    const int before = report.getErrorCount();
    if (!map.isPlain()) {
        map.tell(0, "", "has versions, and this takes renames alone", report);
        return false;
    }
    for (const NOD_MigrationStep &step : map.getVersions().back().steps) {
        NOD_Report found;
        addRename(step.sources[0], step.targets[0], found);
        for (const NOD_Message &message : found.getMessages()) {
            map.tell(step.line, message.subject, message.text, report);
        }
    }
    return report.getErrorCount() == before;
}

bool NOD_Migration::checkNames(NOD_Node &node, const ZEL_Template *templates,
                               NOD_Report &report) const
{
    const int before = report.getErrorCount();
    const Tokens former = mySteps.empty() ? Tokens() : tokensOf(node);
    Tokens present;
    addTokens(mySteps.empty() ? nullptr : templates, 0, present);
    for (const NOD_MigrationStep &step : mySteps) {
        const bool renameFlag = step.kind == NOD_MigrationStep::Kind::RENAME;
        const std::string what =
            renameFlag ? "is to be renamed, but" : "has a step, \"" + step.asText() + "\", but";
        for (const std::string &one : step.sources) {
            // An item's own name is one of those of its block.
            if (former.count(one) == 0 && !node.getParms().getParmPtr(one.c_str())) {
                report.error(one, what + " there is no parameter of that name");
            }
        }
        for (const std::string &other : step.targets) {
            if (present.count(other) == 0) {
                report.error(other, "is the new name of " + step.sources[0] +
                                        ", but the new interface has no parameter of that name");
            }
        }
    }
    return report.getErrorCount() == before;
}
