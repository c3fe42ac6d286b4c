#include <NOD/NOD_MigrationWalk.h>

#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>

#include <algorithm>

namespace
{

/// What the migration says, at the line of the step that it is about.
void place(const NOD_Report &found, const NOD_MigrationMap &map, int line, NOD_Report &report)
{
    for (NOD_Message message : found.getMessages()) {
        if (message.file.empty() && (message.category.empty() || message.category == "NOD")) {
            map.tell(line, message.subject, message.text, report);
        } else {
            report.add(std::move(message));
        }
    }
}

} // namespace

bool NOD_MigrationWalk::plan(const NOD_MigrationMap &map, int from, int to, NOD_Report &report)
{
    const int before = report.getErrorCount();
    const int step = from < to ? 1 : -1;
    for (int at = from; at != to; at += step) {
        const NOD_MigrationVersion &above = map.getVersions()[std::size_t(std::max(at, at + step))];
        std::vector<std::size_t> faults;
        mySteps.push_back(step > 0 ? above.steps : NODundoSteps(above.steps, faults));
        for (const std::size_t fault : faults) {
            const NOD_MigrationStep &left = above.steps[fault];
            const std::string text = "can't be undone: " + left.asText();
            map.tell(left.line, left.sources[0], text, report,
                     myAllowLossFlag ? KIT_ERROR_WARNING : KIT_ERROR_ABORT);
        }
    }
    return report.getErrorCount() == before;
}

bool NOD_MigrationWalk::run(NOD_Node &node, const NOD_MigrationMap &map, int from, int to,
                            double time, NOD_Report &report,
                            const std::shared_ptr<const NOD_Interface> &last)
{
    myStages.clear();
    mySteps.clear();
    myLossFlag = false;
    if (!plan(map, from, to, report)) {
        return false;
    }
    NOD_Edit edit(node, "Migrate");
    const int step = from < to ? 1 : -1;
    for (std::size_t i = 0; i < mySteps.size(); ++i) {
        const auto here = std::size_t(from + step * int(i));
        const auto next = std::size_t(int(here) + step);
        const NOD_MigrationVersion &version = map.getVersions()[next];
        NOD_Migration migration;
        migration.setRenames(myRenames);
        NOD_Report found;
        for (const NOD_MigrationStep &one : mySteps[i]) {
            migration.addStep(one, found);
        }
        const bool lastFlag = last && i + 1 == mySteps.size();
        const bool good = !found.hasErrors() &&
                          migration.run(node, lastFlag ? last : version.interface, time, found);
        place(found, map, map.getVersions()[std::max(here, next)].line, report);
        if (!good) {
            edit.cancel();
            myStages.clear();
            return false;
        }
        myLossFlag = myLossFlag || migration.hasLoss();
        node.setTypeVersion(version.name);
        myStages.push_back({map.getVersions()[here].name, version.name, migration.getEntries(),
                            migration.getRenames()});
    }
    return true;
}

int NOD_MigrationWalk::count(NOD_Migration::Fate fate) const
{
    int count = 0;
    for (const Stage &stage : myStages) {
        count += int(std::count_if(stage.entries.begin(), stage.entries.end(),
                                   [&](const auto &entry) { return entry.fate == fate; }));
    }
    return count;
}
