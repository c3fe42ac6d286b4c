// The shell's view of what depends on what.

#include "ZELT_ShellCommands.h"

#include <iostream>

using std::cout;

void ZELT_ShellCommands::graph(const Words &words)
{
    const bool cleanFlag = words.size() > 1;
    if (cleanFlag && words[1] != "clean") {
        fail("usage: graph [clean]");
        return;
    }
    if (!myGraph) {
        myGraph = std::make_unique<ZELX_NodeGraph>(mySession.getNode());
    }
    myGraph->rebuild(myTime);
    if (cleanFlag) {
        cout << myGraph->update(myTime) << '\n';
    } else {
        myGraph->writeDOT(cout);
    }
}
