#include <DS/commands/DS_ParmPrivate.h>

#include <DS/commands/DS_PagePrivate.h>
#include <DS/commands/DS_SwitcherPrivate.h>

ZEL_ScriptGroup *DS_Parm::newGroup(bool multi)
{
    return new DS_Switcher(this, multi);
}

ZEL_ScriptPage *DS_Parm::newPage()
{
    return new DS_Page;
}
