// Shell commands that change which parameters there are: spare ones, and a new script.

#include "ZELT_ShellCommands.h"

#include "ZELT_Script.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>
#include <set>

using std::cout;

namespace
{

/// What decides whether a parameter of the old list goes on in the new one.
struct Former
{
    std::string token;
    unsigned kind;
    bool multiFlag;
    bool defaultFlag;
};

std::vector<Former> formerParms(const ZEL_ParmList &parms)
{
    std::vector<Former> former;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        // Items go on with the parameter that they belong to.
        if (!parm.getMultiParmOwner()) {
            former.push_back({parm.getToken(), unsigned(parm.getType().getBasicType()),
                              parm.isMultiParm(), parm.isTrueFactoryDefault()});
        }
    }
    return former;
}

std::string fateOf(const Former &former, const ZEL_ParmList &parms)
{
    const ZEL_Parm *const parm = parms.getParmPtr(former.token.c_str());
    if (!parm) {
        return "lost " + former.token + ": there is none now";
    }
    if (unsigned(parm->getType().getBasicType()) != former.kind ||
        (parm->isMultiParm() && !former.multiFlag)) {
        return "lost " + former.token + ": it is of another kind now";
    }
    const bool startsAnew = former.defaultFlag && !parm->isMultiParm();
    return (startsAnew ? "default " : "carried ") + former.token;
}

} // namespace

// -------------------------------------------------------------------- //
// Spare parameters
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::spare(const Words &words)
{
    const bool moreFlag = words.size() == 3;
    if (words[1] == "list" && !moreFlag) {
        listSpares();
    } else if (words[1] == "add" && moreFlag) {
        addSpares(words[2]);
    } else if (words[1] == "remove" && moreFlag) {
        removeSpare(words[2]);
    } else {
        fail("usage: spare list | add FILE|TEXT | remove TOKEN");
    }
}

void ZELT_ShellCommands::listSpares()
{
    const ZEL_ParmList &parms = mySession.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        if (parm.isSpareParm() && !parm.getMultiParmOwner()) {
            cout << parm.getToken() << '\n';
        }
    }
}

void ZELT_ShellCommands::addSpares(const std::string &source)
{
    const bool textFlag = source.find('{') != std::string::npos;
    std::unique_ptr<ZELT_Script> script = textFlag
                                              ? ZELT_Script::loadText(source, "spare", myMessages)
                                              : ZELT_Script::load(source, myMessages);
    if (!script) {
        fail((textFlag ? "the text" : source) + " adds nothing");
        return;
    }
    for (const ZEL_Template *at = script->getTemplates(); !at->isTerminator(); ++at) {
        if (mySession.getNode().addSpareParm(*at)) {
            cout << "added " << at->getToken() << '\n';
        } else {
            fail(std::string("there is a parameter ") + at->getToken());
        }
    }
    myScripts.push_back(std::move(script));
    mySession.growBlocks(myTime);
}

void ZELT_ShellCommands::removeSpare(const std::string &token)
{
    if (!mySession.getNode().removeSpareParm(token.c_str())) {
        fail("there is no spare parameter " + token);
    }
}

// -------------------------------------------------------------------- //
// Another script
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::adopt(const Words &words)
{
    std::unique_ptr<ZELT_Script> script = ZELT_Script::load(words[1], myMessages);
    if (!script) {
        fail(words[1] + " isn't adopted");
        return;
    }
    const std::vector<Former> former = formerParms(mySession.getParms());
    mySession.getNode().renewParms(script->getTemplates());
    // Steps of before would bring back channels that no parameter has now.
    myUndo.clear();
    mySession.growBlocks(myTime);
    myScript = script.get();
    myScripts.push_back(std::move(script));

    std::set<std::string> known;
    for (const Former &one : former) {
        cout << fateOf(one, mySession.getParms()) << '\n';
        known.insert(one.token);
    }
    for (const Former &one : formerParms(mySession.getParms())) {
        if (known.insert(one.token).second) {
            cout << "new " << one.token << '\n';
        }
    }
}
