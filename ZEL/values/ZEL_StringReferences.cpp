// The references of a string, and searching its text.

#include <ZEL/ZEL_String.h>

#include <KIT/KIT_String.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_RefId.h>
#include <ZEL/ZEL_TypeConstants.h>

void ZEL_String::forceStringExpressions(TRK_Channel *channel)
{
    for (int i = 0; i < channel->getNSegments(); ++i) {
        channel->getSegment(i)->forceStringType();
    }
}

void ZEL_String::buildOpDependencies(const ZEL_RefId &id, int thread)
{
    const TRK_Collection *collection = getChannelGroupPtr();
    // The collection's resolver, which is asked and told of them, may be the application's.
    const ZEL_Multi::KeepItems keep;
    for (int i = getVectorSize() - 1; collection && i >= 0; --i) {
        if (TRK_Channel *channel = getChannel(i)) {
            forceStringExpressions(channel);
        } else if (!texts()[i].isEmpty()) {
            TRK_Manager::buildStringOpDependencies(texts()[i].unsafeGet(),
                                                   TRK_Referrer{id.index(), i}, collection, thread);
        }
    }
    ZEL_ValueInstance::buildOpDependencies(id, thread);
}

int ZEL_String::changeOpRef(const char *oldFullPath, const char *newFullPath,
                            const char *oldRelativePath, const char *newRelativePath,
                            const char *name, void (*callback)(void *, ZEL_Parm *, int), void *data,
                            int thread)
{
    const TRK_Collection *collection = getChannelGroupPtr();
    for (int i = getVectorSize() - 1; collection && i >= 0; --i) {
        if (TRK_Channel *channel = getChannel(i)) {
            forceStringExpressions(channel);
        }
    }
    const int changed = rewriteTexts([&](int index, KIT_String &text) {
        const bool changedFlag =
            TRK_Manager::changeStringOpRef(text, oldFullPath, newFullPath, oldRelativePath,
                                           newRelativePath, name, collection, thread) > 0;
        if (changedFlag && callback) {
            const ZEL_Multi::KeepItems keep;
            callback(data, getParm(), index);
        }
        return changedFlag;
    });
    return changed + ZEL_ValueInstance::changeOpRef(oldFullPath, newFullPath, oldRelativePath,
                                                    newRelativePath, name, callback, data, thread);
}

int ZEL_String::rewriteTexts(const Rewrite &rewrite)
{
    int changed = 0;
    for (int i = getVectorSize() - 1; getChannelGroupPtr() && i >= 0; --i) {
        if (getChannel(i)) {
            continue;
        }
        KIT_String text(texts()[i].unsafeGet(), true);
        if (rewrite(i, text)) {
            storeText(i, text.c_str());
            setDirtyFlags(i);
            ++changed;
        }
    }
    return changed;
}

bool ZEL_String::findString(const char *text, bool fullWord, bool usePattern) const
{
    for (int i = getVectorSize() - 1; i >= 0; --i) {
        if (texts()[i].findString(text, fullWord, usePattern)) {
            return true;
        }
    }
    return false;
}

int ZEL_String::changeString(const char *from, const char *to, bool fullWord)
{
    const bool inBackticks = fullWord && getType() == ZEL_COMMAND;
    int total = 0;
    for (int i = getVectorSize() - 1; i >= 0; --i) {
        KIT_String text(texts()[i].unsafeGet(), true);
        const int count = inBackticks ? text.changeQuotedWord(from, to, '`', KIT_INSIDE_QUOTES)
                                      : text.changeString(from, to, fullWord);
        if (count > 0) {
            storeText(i, text.c_str());
            total += count;
        }
    }
    return total;
}

bool ZEL_String::notifyVarChange(int index, const char *name)
{
    bool used = ZEL_ValueInstance::notifyVarChange(index, name);
    for (int i = 0; i < getVectorSize(); ++i) {
        used |= (index < 0 || index == i) && texts()[i].findVariable(name);
    }
    return used;
}
