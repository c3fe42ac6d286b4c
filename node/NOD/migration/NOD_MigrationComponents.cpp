#include <NOD/migration/NOD_MigrationComponentsPrivate.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <sstream>

namespace
{

std::string quoted(std::string_view text)
{
    KIT_WorkBuffer buffer;
    buffer.appendQuoted(text);
    return std::string(buffer.view());
}

/// Keeps what an evaluation reports to itself, and knows whether there was anything.
class Evaluation
{
public:
    Evaluation() : myThread(BASgetSTID()), myErrors(myThread)
    {
        EVL::theErrNo[myThread] = EVL::EVL_OK;
    }
    ~Evaluation() { EVL::theErrNo[myThread] = EVL::EVL_OK; }
    Evaluation(const Evaluation &) = delete;
    Evaluation &operator=(const Evaluation &) = delete;

    bool failed()
    {
        return EVL::theErrNo[myThread] != EVL::EVL_OK || myErrors.getManager().entries() > 0;
    }

private:
    int myThread;
    KIT_ErrorManager::Scope myErrors;
};

std::string valueOf(const ZEL_Parm &parm, int index, double time, bool expand)
{
    if (parm.getType().isDataType()) {
        constexpr int text = 0;
        constexpr bool compiled = false;
        std::ostringstream os;
        parm.save(os, text, compiled);
        return os.str();
    }
    KIT_String value;
    parm.getValue(time, value, index, expand, BASgetSTID());
    return parm.getType().isStringType() ? quoted(value.view()) : value.toStdString();
}

/// The channel under a name that doesn't tell whose it is.
std::string bodyOf(const TRK_Channel &channel)
{
    TRK_Collection alone;
    alone.addChannel("c")->copyContents(channel);
    std::ostringstream os;
    alone.save(os);
    return os.str();
}

std::string textOf(const TRK_Channel &channel, double time)
{
    const TRK_Segment *const segment = channel.getExpressionSegment(time);
    if (channel.getNKeys() > 1 || !segment || segment->isInterpolated()) {
        return std::to_string(channel.getNKeys()) + (channel.getNKeys() == 1 ? " key" : " keys");
    }
    KIT_String text;
    channel.getExpression(time, text);
    return "[" + text.toStdString() + "]";
}

} // namespace

NOD_MigrationComponent NODcomponentOf(const ZEL_Parm &parm, int index, double time)
{
    NOD_MigrationComponent component;
    {
        Evaluation evaluation;
        component.value = valueOf(parm, index, time, true);
        component.failedFlag = evaluation.failed();
    }
    if (const TRK_Channel *const channel = parm.getChannel(index)) {
        component.text = textOf(*channel, time);
        component.body = bodyOf(*channel);
    } else {
        component.text = valueOf(parm, index, time, false);
        component.body = component.text;
    }
    component.body += parm.getLockedFlag(index) ? "\nlocked" : "";
    if (parm.getChannelAlias(index) != parm.getChannelToken(index)) {
        component.body += "\nalias " + std::string(parm.getChannelAlias(index).view());
    }
    return component;
}

NOD_MigrationComponents NODcomponentsOf(const ZEL_Parm &parm, double time)
{
    NOD_MigrationComponents components;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        components.push_back(NODcomponentOf(parm, k, time));
    }
    return components;
}

std::string NODtextOf(const NOD_MigrationComponents &components)
{
    std::string text;
    for (const NOD_MigrationComponent &component : components) {
        text += (text.empty() ? "" : " ") + component.text;
    }
    return text;
}

std::string NODvaluesOf(const NOD_MigrationComponents &components)
{
    std::string text;
    for (const NOD_MigrationComponent &component : components) {
        text += (text.empty() ? "" : " ") + component.value + (component.failedFlag ? "!" : "");
    }
    return text;
}

// ---------------------------------------------------------------------- //
// Parameters
// ---------------------------------------------------------------------- //

bool NODhasValue(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    return parm.getInstance() && parm.getVectorSize() > 0 && !parm.getTemplatePtr()->isSwitcher() &&
           !parm.isCallbackType() &&
           !(type.isStringType() && type.hasStringType(ZEL_TYPE_LABEL.getStringType()));
}

int NODfindEntry(const ZEL_Parm &parm, const std::string &token)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    const ZEL_Name *names = nullptr;
    if (menu) {
        menu->getChoiceNames(names, parm.getParmOwner(), parm.getSparePtr(), &parm, false);
    }
    for (int i = 0; names && !names[i].isSentinel(); ++i) {
        if (names[i].getTokenRef() == KIT_StringRef(token.c_str())) {
            return i;
        }
    }
    return -1;
}

bool NODhasFixedMenu(const ZEL_Parm &parm)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    return menu && menu->choiceNamesPtr() && menu->getStaticSize() > 0 &&
           (menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT) != 0;
}

std::string NODrawText(const ZEL_Parm &parm, int index, double time)
{
    KIT_String value;
    parm.getValue(time, value, index, false, BASgetSTID());
    return value.toStdString();
}
