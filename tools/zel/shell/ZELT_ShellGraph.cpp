// Shell commands on what depends on what.

#include "ZELT_Shell.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_DirtyCauses.h>
#include <NOD/NOD_Explanation.h>
#include <NOD/NOD_Snapshot.h>

#include <iostream>

namespace
{

void showGraph(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const bool cleanFlag = words.size() > 1;
    if (cleanFlag && words[1] != "clean") {
        shell.fail("usage: graph [clean]");
        return;
    }
    NOD_Graph &graph = shell.getGraph();
    graph.rebuild(shell.getTime());
    if (cleanFlag) {
        std::cout << graph.update(shell.getTime()) << '\n';
    } else {
        graph.writeDOT(std::cout);
    }
}

void tellWhy(ZELT_Shell &shell, const NOD_Place &place, int component)
{
    NOD_Scene &scene = shell.getSession().getScene();
    NOD_SnapshotOptions options;
    options.time = shell.getTime();
    const std::shared_ptr<const NOD_Snapshot> snapshot = scene.snapshot(options);
    KIT_WorkBuffer path;
    const NOD_SnapshotHandle handle =
        snapshot->find(place.node->getFullPath(path), place.token.view(), component);
    std::cout << NODexplain(*snapshot, handle, shell.getTime(), BASgetSTID())
                     .asText(snapshot->getFrameRate());
    for (const NOD_DirtyCause &cause :
         NODfindDirtyCauses(scene, *place.node, handle.getParm(), component)) {
        std::cout << "dirty by " << cause.address << (cause.label.empty() ? "" : ": " + cause.label)
                  << '\n';
    }
}

void explain(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    for (const NOD_Place &place : shell.findPlaces(words[1])) {
        for (int i = place.first; i < place.end; ++i) {
            tellWhy(shell, place, i);
        }
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"explain", "ADDRESS", 1, 1, ZELT_SHELL_PLAIN, explain},
    {"graph", "[clean]", 0, 1, ZELT_SHELL_PLAIN, showGraph},
};

} // namespace

const ZELT_ShellTable ZELTshellGraph(theCommands);
