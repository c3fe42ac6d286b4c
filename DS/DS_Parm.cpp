#include <DS/DS_ParmPrivate.h>

#include <DS/DS_PagePrivate.h>
#include <DS/DS_SwitcherPrivate.h>

ZEL_ScriptGroup *DS_Parm::newGroup(bool multi)
{
    return new DS_Switcher(this, multi);
}

ZEL_ScriptPage *DS_Parm::newPage()
{
    return new DS_Page;
}
