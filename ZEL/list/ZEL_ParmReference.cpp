#include <ZEL/ZEL_Parm.h>

#include <KIT/KIT_HelpManager.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LYR/LYR_Manager.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <cstring>

namespace
{

/// The placeholder for the channel's alias in a label.
constexpr const char *theAliasMarker = "%s";

/// What is appended to the label for each component.
struct ComponentLetters
{
    ZEL_Type::ZEL_ChannelType naming;
    const char *letters;
};

constexpr ComponentLetters theComponentLetters[] = {
    {ZEL_Type::ZEL_CHAN_NAMEXYZW, "XYZW"},
    // "XYZH" on purpose: the channel labels of this naming are "XYWH", but interfaces show these.
    {ZEL_Type::ZEL_CHAN_NAMEXYWH, "XYZH"},
    {ZEL_Type::ZEL_CHAN_NAMERGB, "RGBA"},
    {ZEL_Type::ZEL_CHAN_NAMEUVW, "UVW"},
};

/// The letter of a component, 0 if its naming has none.
char componentLetter(const ZEL_Type &type, int index)
{
    for (const ComponentLetters &row : theComponentLetters) {
        if (type.isChannelType(row.naming)) {
            return index < int(std::strlen(row.letters)) ? row.letters[index] : '\0';
        }
    }
    return '\0';
}

bool isWord(const char *text)
{
    return text && *text;
}

} // namespace

// ---------------------------------------------------------------------- //
// Aliases and channel references
// ---------------------------------------------------------------------- //

bool ZEL_Parm::setChannelAlias(const KIT_StringHolder &alias, int index)
{
    return canAccess(theWriteMask) && myInstance->setChannelAlias(alias, index);
}

void ZEL_Parm::getChannelAlias(KIT_String &alias, int index) const
{
    alias = getChannelAlias(index);
}

void ZEL_Parm::getChannelToken(KIT_String &token, int index) const
{
    token = getChannelToken(index);
}

void ZEL_Parm::getChannelLabel(KIT_String &label, int index) const
{
    if (myInstance) {
        myInstance->getTemplatePtr()->getChannelLabel(label, index);
    } else {
        label = "";
    }
}

void ZEL_Parm::constructChannelReference(KIT_String &reference, TRK_ExprLanguage language,
                                         const char *path, const char *channelName) const
{
    KIT_WorkBuffer text(ZEL_Kind::find(getType()).referenceOpening(*this, language));
    text.append(path);
    if (isWord(channelName)) {
        text.append('/');
        text.append(channelName);
    }
    text.append("\")");
    text.copyIntoString(reference);
}

void ZEL_Parm::setChannelReference(double time, int index, const char *path,
                                   const char *channelName, bool propagate, bool freshChannel)
{
    if (!myInstance || !myInstance->validIndex(index)) {
        return;
    }
    const TRK_ExprLanguage language = getExprLanguageIfMadeAnExpression(time, index);
    KIT_String reference;
    constructChannelReference(reference, language, path, channelName);

    if (freshChannel && !getLockedFlag(index)) {
        myInstance->removeChannel(index);
    }
    myInstance->addChannel(getChannelToken(index));
    if (TRK_Channel *channel = myInstance->getChannel(index)) {
        channel->changeExpression(time, reference, language, true);
    }
    if (propagate) {
        announceValue(index);
    }
}

// ---------------------------------------------------------------------- //
// Texts for users
// ---------------------------------------------------------------------- //

void ZEL_Parm::joinAliases(KIT_WorkBuffer &out) const
{
    for (int i = 0; i < getVectorSize(); ++i) {
        if (i > 0) {
            out.append(' ');
        }
        out.append(getChannelAlias(i));
    }
}

void ZEL_Parm::getChannelLabelForUI(KIT_String &label, int index) const
{
    label = getLabel();
    const bool hasMarker = label.findString(theAliasMarker, false, false);
    KIT_WorkBuffer text;
    if (index < 0) {
        joinAliases(text);
    } else if (hasMarker) {
        text.append(getChannelAlias(index));
    }

    if (hasMarker) {
        label.substitute(theAliasMarker, text.buffer());
    } else if (getVectorSize() > 1 && index < 0) {
        text.copyIntoString(label);
    } else if (getVectorSize() > 1) {
        const char letter = componentLetter(getType(), index);
        if (letter) {
            text.sprintf("%s [%c]", label.nonNullStr(), letter);
        } else {
            text.sprintf("%s [%d]", label.nonNullStr(), index);
        }
        text.copyIntoString(label);
    }
}

void ZEL_Parm::getHelpText(KIT_WorkBuffer &text) const
{
    text.clear();
    if (!myInstance) {
        return;
    }
    const int size = getVectorSize();
    const ZEL_Template &templateRef = *getTemplatePtr();
    text.append(size > 1 ? "Parameters: " : "Parameter: ");
    bool aliased = false;
    for (int i = 0; i < size; ++i) {
        text.append(i > 0 ? " " : "");
        text.append(templateRef.getDecodedChannelToken(i));
        aliased = aliased || getChannelAlias(i) != getChannelToken(i);
    }
    if (aliased) {
        text.append(size > 1 ? "\nAliases:     " : "\nAlias:        ");
        joinAliases(text);
    }

    KIT_String help;
    KIT_WorkBuffer path;
    const ZEL_Multi::KeepItems keep;
    const ZEL_ParmOwner *owner = getParmOwner();
    KIT_HelpManager *manager = KIT_HelpManager::get();
    const char *ownerPath = owner ? owner->getFullPath(path) : "";
    if (manager && manager->getText(ownerPath, getToken(), help) && help.isstring() &&
        help != "None") {
        text.append('\n');
        text.append(help);
    } else if (isWord(templateRef.getHelpText())) {
        text.append('\n');
        text.append(templateRef.getHelpText());
    }

    if (const LYR_Take *take = LYR_Manager::getCurrentManager()->findDefinition(this)) {
        text.append("\nTake: ");
        text.append(take->getName());
    }
}

bool ZEL_Parm::getHelpTitle(KIT_String &title) const
{
    title = "";
    const ZEL_Multi::KeepItems keep;
    KIT_WorkBuffer path;
    const ZEL_ParmOwner *owner = getParmOwner();
    KIT_HelpManager *manager = KIT_HelpManager::get();
    return manager && manager->getTitle(owner ? owner->getFullPath(path) : "", getToken(), title);
}

bool ZEL_Parm::getHelpUrl(KIT_String &url) const
{
    url = "";
    const ZEL_Multi::KeepItems keep;
    KIT_WorkBuffer path;
    const ZEL_ParmOwner *owner = getParmOwner();
    KIT_HelpManager *manager = KIT_HelpManager::get();
    return manager && manager->getUrl(owner ? owner->getFullPath(path) : "", getToken(), url);
}

void ZEL_Parm::getFullParmPath(KIT_WorkBuffer &path) const
{
    if (myInstance) {
        myInstance->getFullParmPath(path);
    } else {
        path.clear();
    }
}
