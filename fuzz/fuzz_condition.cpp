// Fuzzes conditions: read any text, check that reading and checking agree, write and
// read again, put instance numbers in, and evaluate among a few parameters.

#include "FuzzMemory.h"

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace
{

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

KIT_String written(const ZEL_Conditional &conditional)
{
    KIT_String text;
    conditional.getStringFromList(text);
    return text;
}

/// Words that the written form can't keep: those with a brace, a backtick in front, or a backslash
/// at the end.
bool isWritable(const KIT_StringArray &words)
{
    for (const KIT_String &word : words) {
        if (word.findChar('}') || word[0] == '`' || word.lastChar() == '\\') {
            return false;
        }
    }
    return true;
}

/// Whether the text of a condition says all of it.
bool isWritable(const ZEL_Conditional &conditional)
{
    for (int i = 0; i < conditional.entries(); ++i) {
        const ZEL_ConditionalInfo &info = *conditional(i);
        if (info.entries() == 0 || !isWritable(info.getControlParms()) ||
            !isWritable(info.getControlValues())) {
            return false;
        }
    }
    return true;
}

void checkRewriting(const ZEL_Conditional &conditional)
{
    const KIT_String text = written(conditional);
    KIT_StringHolder message;
    ZEL_Conditional again(conditional.getType());
    require(again.setListFromString(text, message));
    require(again.entries() == conditional.entries());
    for (int i = 0; i < again.entries(); ++i) {
        require(again(i)->getControlParms() == conditional(i)->getControlParms());
        require(again(i)->getControlValues() == conditional(i)->getControlValues());
        require(again(i)->getOperators() == conditional(i)->getOperators());
    }
}

void checkEvaluation(const ZEL_Conditional &conditional)
{
    static ZEL_Name names[] = {ZEL_Name("a", "A"), ZEL_Name("t", "T")};
    static ZEL_Default defaults[] = {ZEL_Default(1), ZEL_Default(2), ZEL_Default(3)};
    static ZEL_Template templates[] = {ZEL_Template(ZEL_FLT, 1, &names[0], defaults),
                                       ZEL_Template(ZEL_XYZ, 3, &names[1], defaults),
                                       ZEL_Template()};
    static TRK_Collection channels;
    static ZEL_ParmList list(templates, &channels, nullptr, nullptr, "", false);
    const ZEL_Parm &parm = *list.getParmPtr(0);
    KIT_StringArray ignored;
    ignored.append("t");
    conditional.eval(parm, list, &ignored);
    const bool holdsFlag = conditional.eval(parm, list, nullptr);
    require(holdsFlag == ZEL_Conditional(conditional).eval(parm, list, nullptr));
    require(!holdsFlag || conditional.entries() > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    const std::string text(reinterpret_cast<const char *>(data), size);
    KIT_StringHolder message;
    KIT_StringHolder checked;
    ZEL_Conditional conditional(ZEL_CONDTYPE_HIDE);
    const bool goodFlag = conditional.setListFromString(text.c_str(), message);
    require(goodFlag == ZEL_Conditional::verifyConditionalString(text.c_str(), checked));
    require(message == checked && goodFlag == message.isNull());
    require(goodFlag || conditional.entries() == 0);
    if (isWritable(conditional)) {
        checkRewriting(conditional);
    }
    checkEvaluation(conditional);
    const std::unique_ptr<ZEL_Conditional> same(conditional.instance({}));
    require(written(*same) == written(conditional));
    const std::unique_ptr<ZEL_Conditional> item(conditional.instance({3, -2}));
    require(item->entries() == conditional.entries());
    checkEvaluation(*item);
    return 0;
}
