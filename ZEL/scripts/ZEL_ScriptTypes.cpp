#include <ZEL/ZEL_ScriptTypes.h>

#include <KIT/KIT_FSA.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <iterator>

namespace
{

constexpr ZEL_ScriptType theTypes[] = {
#define ZEL_SCRIPT_TYPE(word, otherWord, type, size, flag, extended, multi, opFilter, opRelative)  \
    {&type,    size,      ZEL_ScriptParm::flag, ZEL_TYPEX_##extended, ZEL_MULTITYPE_##multi,       \
     opFilter, opRelative},
#include <ZEL/scripts/ZEL_ScriptTypes.def>
};
constexpr int theTypeCount = int(std::size(theTypes));

/// Two keywords for each row, in the order of the rows.
constexpr const char *theWords[] = {
#define ZEL_SCRIPT_TYPE(word, otherWord, ...) word, otherWord,
#include <ZEL/scripts/ZEL_ScriptTypes.def>
};

KIT_FSA makeTable()
{
    KIT_FSA::Row rows[std::size(theWords)];
    for (int i = 0; i < int(std::size(theWords)); i++) {
        rows[i] = {theWords[i], i / 2};
    }
    return KIT_FSA(int(std::size(rows)), rows);
}

} // namespace

int ZELlookupScriptType(const char *token)
{
    static const KIT_FSA theTable = makeTable();
    return theTable.findSymbol(token);
}

const ZEL_ScriptType *ZELgetScriptType(int index)
{
    return index >= 0 && index < theTypeCount ? &theTypes[index] : nullptr;
}

const char *ZELgetScriptTypeWord(int index)
{
    return index >= 0 && index < theTypeCount ? theWords[2 * index] : nullptr;
}
