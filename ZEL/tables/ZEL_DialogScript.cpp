#include <ZEL/ZEL_DialogScript.h>

#include <KIT/KIT_FSA.h>

#include <iterator>

namespace
{

constexpr KIT_FSA::Row theScripts[] = {
#define ZEL_DIALOG_SCRIPT(word, what) {#word, ZEL_DIALOG_##word},
#include <ZEL/ZEL_DialogScript.def>
#undef ZEL_DIALOG_SCRIPT
};
static_assert(std::size(theScripts) == ZEL_DIALOG_COUNT, "a row for each kind");

} // namespace

ZEL_DialogScript ZELlookupDialogScript(const char *name)
{
    static KIT_FSA theTable;
    if (theTable.entries() == 0) {
        theTable.build(ZEL_DIALOG_COUNT, theScripts);
    }
    return static_cast<ZEL_DialogScript>(theTable.findSymbol(name));
}

const char *ZELlookupDialogScript(ZEL_DialogScript script)
{
    return script >= 0 && script < ZEL_DIALOG_COUNT ? theScripts[script].word : nullptr;
}
