#include <NOD/migration/NOD_MigrationReadersPrivate.h>

#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Node.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_NodeTextsPrivate.h>

#include <algorithm>

namespace
{

using Fate = NOD_Migration::Fate;
using Targets = NOD_MigrationReaders::Targets;

bool readsOther(NOD_Node &node, ZEL_Parm &parm, const Targets &targets)
{
    bool foundFlag = false;
    NOD_NodeTexts::forEach(
        parm, &node.getChannels(),
        [&](const std::string &reference) {
            const std::size_t slash = reference.rfind('/');
            if (slash != std::string::npos && !foundFlag) {
                const std::string path = reference.substr(0, std::max<std::size_t>(slash, 1));
                const NOD_Node *const target = node.findNode(path.c_str());
                foundFlag = target && target != &node && targets.count(target) != 0;
            }
            return false;
        },
        TRK_NodePaths::Part::ALL);
    return foundFlag;
}

/// What it is called after the stage; "" if that has changed it, or told of it.
std::string tokenAfter(const NOD_MigrationWalk::Stage &stage, const std::string &token)
{
    const auto entry =
        std::find_if(stage.entries.begin(), stage.entries.end(),
                     [&](const auto &one) { return one.fate != Fate::NEW && one.token == token; });
    const bool wholeFlag =
        entry != stage.entries.end() &&
        std::none_of(entry->steps.begin(), entry->steps.end(),
                     [](const NOD_MigrationStep &step) { return step.isValueStep(); }) &&
        entry->fate != Fate::CHANGED && entry->newToken.find(' ') == std::string::npos;
    return wholeFlag ? entry->newToken : "";
}

} // namespace

NOD_MigrationReaders::NOD_MigrationReaders(NOD_Node &root, const Targets &targets, double time)
    : myTime(time)
{
    NODforEachNode(root, [&](NOD_Node &node) {
        NODforEachParm(node, [&](int, ZEL_Parm &parm) {
            if (NODhasValue(parm) && readsOther(node, parm, targets)) {
                myOf[&node].push_back(myReaders.size());
                const std::string token = parm.getToken();
                myReaders.push_back({&node, token, token, NODcomponentsOf(parm, time)});
            }
        });
    });
}

void NOD_MigrationReaders::follow(const NOD_Node &node, const NOD_MigrationWalk &walk)
{
    const auto own = myOf.find(&node);
    if (own == myOf.end()) {
        return;
    }
    for (const std::size_t i : own->second) {
        std::string &token = myReaders[i].token;
        for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
            token = token.empty() ? "" : tokenAfter(stage, token);
        }
    }
}

std::vector<NOD_MigrationReaders::Change> NOD_MigrationReaders::findChanges() const
{
    std::vector<Change> changes;
    for (const Reader &reader : myReaders) {
        const ZEL_Parm *const parm = reader.node->getParms().getParmPtr(reader.token.c_str());
        if (reader.token.empty() || !parm) {
            continue;
        }
        const NOD_MigrationComponents present = NODcomponentsOf(*parm, myTime);
        bool sameFlag = present.size() == reader.components.size();
        bool failedFlag = false;
        for (std::size_t k = 0; k < std::min(present.size(), reader.components.size()); ++k) {
            const NOD_MigrationComponent &was = reader.components[k];
            const NOD_MigrationComponent &is = present[k];
            sameFlag = sameFlag && was.value == is.value && was.failedFlag == is.failedFlag;
            failedFlag = failedFlag || (is.failedFlag && !was.failedFlag);
        }
        if (!sameFlag) {
            NOD_Migration::Entry entry;
            entry.fate = Fate::CHANGED;
            entry.token = reader.former;
            entry.newToken = reader.token;
            entry.before = NODvaluesOf(reader.components);
            entry.after = NODvaluesOf(present);
            entry.reason = failedFlag ? "its evaluation fails now"
                                      : "it reads a node that was of an older version";
            changes.push_back({reader.node, std::move(entry)});
        }
    }
    return changes;
}
