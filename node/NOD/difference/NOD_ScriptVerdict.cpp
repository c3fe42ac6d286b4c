#include <NOD/NOD_ScriptVerdict.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Description.h>
#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/tree/NOD_LoadingPrivate.h>

#include <algorithm>
#include <string>

namespace
{

constexpr const char *theText = "a text of nobody's";

/// Another value than a new node has: the end of a range, which a narrower one cuts, or the last entry of a menu.
void setFar(NOD_Edit &edit, NOD_Node &node, const NOD_DescribedParm &parm, std::size_t component)
{
    const std::string &name = parm.channels[component];
    const bool menuFlag = parm.menu && !parm.menu->entries.empty();
    if (menuFlag && edit.set(node, name, parm.menu->entries.back().token)) {
        return;
    }
    if (parm.value == "text") {
        edit.set(node, name, theText);
        return;
    }
    const double present = component < parm.defaults.size() ? parm.defaults[component].number : 0.0;
    const double end = parm.max ? parm.max->value : present + 1.0;
    edit.set(node, name, end != present ? end : parm.min ? parm.min->value : present - 1.0);
}

void setAll(NOD_Edit &edit, NOD_Node &node, const std::vector<NOD_DescribedParm> &parms)
{
    for (const NOD_DescribedParm &parm : parms) {
        if (parm.kind == NOD_DescribedParm::Kind::BLOCK) {
            edit.set(node, parm.token, parm.items.value_or(0) + 1);
            continue;
        }
        for (const NOD_DescribedFolder &folder : parm.folders) {
            setAll(edit, node, folder.members);
        }
        const bool parmFlag = parm.kind == NOD_DescribedParm::Kind::PARAMETER;
        for (std::size_t k = 0; parmFlag && k < parm.channels.size(); ++k) {
            setFar(edit, node, parm, k);
        }
    }
}

NOD_Node *makeNode(NOD_Scene &scene, const std::shared_ptr<const NOD_Interface> &interface,
                   NOD_Report &report)
{
    const NOD_Loading loading;
    return scene.add("/node", interface, report);
}

/// What the difference found under another name.
void addRenames(const NOD_Difference &difference, NOD_Migration &migration)
{
    for (const NOD_Change &change : difference.getChanges()) {
        const bool movedFlag =
            change.verb == NOD_Change::Verb::RENAMED || change.verb == NOD_Change::Verb::MOVED;
        if (!movedFlag || change.getKind() != NOD_RecordKind::DECLARATION ||
            change.oldPath.back().name == change.newPath.back().name) {
            continue;
        }
        NOD_Report ignored; // a folder is none that a migration knows
        migration.addRename(change.oldPath.back().name, change.newPath.back().name, ignored);
    }
}

bool isTold(const NOD_Migration::Entry &entry)
{
    using Fate = NOD_Migration::Fate;
    return entry.fate == Fate::LOST || entry.fate == Fate::CHANGED ||
           (entry.fate == Fate::CARRIED && entry.token != entry.newToken);
}

} // namespace

NOD_Migration::Entries NODscriptVerdicts(const std::shared_ptr<const NOD_Interface> &from,
                                         const std::shared_ptr<const NOD_Interface> &to,
                                         const NOD_Difference &difference, NOD_Report &report)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    NOD_Scene scene;
    NOD_Node *const node = makeNode(scene, from, report);
    NOD_Migration::Entries told;
    if (!node) {
        return told;
    }
    {
        NOD_Edit edit(*node, "values");
        setAll(edit, *node, NODdescribe(*from).parms);
    }
    NODgrowBlocks(*node, 0.0);
    NOD_Migration migration;
    addRenames(difference, migration);
    if (migration.run(*node, to, 0.0, report)) {
        std::copy_if(migration.getEntries().begin(), migration.getEntries().end(),
                     std::back_inserter(told), isTold);
    }
    return told;
}
