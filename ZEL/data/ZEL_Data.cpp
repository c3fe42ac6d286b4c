#include <ZEL/ZEL_Data.h>

#include <EVL/EVL.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <algorithm>

namespace
{

/// How many references one read follows in turn; a parameter that refers to itself ends here.
constexpr int theMaxReferences = 64;

/// Counts the references that the thread is following.
class ReferenceDepth
{
public:
    ReferenceDepth() { ++theDepth; }
    ~ReferenceDepth() { --theDepth; }
    ReferenceDepth(const ReferenceDepth &) = delete;
    ReferenceDepth &operator=(const ReferenceDepth &) = delete;

    static bool isFull() { return theDepth >= theMaxReferences; }

private:
    static thread_local int theDepth;
};

thread_local int ReferenceDepth::theDepth = 0;

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_Data::ZEL_Data(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_Instance(templatePtr, parm), myData(getVectorSize())
{}

ZEL_Data::ZEL_Data(const ZEL_Data &source, ZEL_Parm *parm)
    : ZEL_Instance(source, parm), myData(getVectorSize())
{
    copyItems(source);
}

ZEL_Data::~ZEL_Data() = default;

ZEL_Instance *ZEL_Data::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Data(*this, parm);
}

void ZEL_Data::adopt(ZEL_Instance &source)
{
    ZEL_Instance::adopt(source);
    const auto *other = dynamic_cast<const ZEL_Data *>(&source);
    if (other && other != this) {
        copyItems(*other);
    }
    setDefaultsInitFlag(true);
}

void ZEL_Data::copyItems(const ZEL_Data &source)
{
    const int count = std::min(source.myData.size(), myData.size());
    for (int i = 0; i < count; ++i) {
        store(i, source.fetch(i));
    }
}

// -------------------------------------------------------------------------- //
// Items
// -------------------------------------------------------------------------- //

ZEL_Data::Item ZEL_Data::getData(double, int index) const
{
    return validIndex(index) ? fetch(index) : Item();
}

bool ZEL_Data::setData(const Item &item, double, int index)
{
    if (!validIndex(index)) {
        return false;
    }
    setDirtyFlags(index);
    store(index, item);
    return true;
}

// -------------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------------- //

void ZEL_Data::setValueToDefault(double, int index, ZEL_AddKeyType)
{
    if (validIndex(index)) {
        store(index, nullptr);
        setDefaultsInitFlag(true);
    }
}

void ZEL_Data::revertToDefault(int index)
{
    if (validIndex(index)) {
        removeChannel(index);
        store(index, nullptr);
        setDefaultsInitFlag(true);
    }
}

void ZEL_Data::revertToDefaults(bool deleteChannels)
{
    if (deleteChannels) {
        clearAndDestroyChannels();
    }
    for (int i = 0; i < getVectorSize(); ++i) {
        store(i, nullptr);
    }
    setDefaultsInitFlag(true);
}

bool ZEL_Data::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    if (!ZEL_Instance::isDefault(index, type, checkLocks)) {
        return false;
    }
    for (int i = 0; i < getVectorSize(); ++i) {
        if (!myData[i].isEmpty()) {
            return false;
        }
    }
    return true;
}

// -------------------------------------------------------------------------- //
// Values out
// -------------------------------------------------------------------------- //

void ZEL_Data::getValue(ZEL_ParmList *list, double time, Item &value, int index, int thread) const
{
    value.reset();
    if (!validIndex(index)) {
        return;
    }
    if (getChannel(index)) {
        followReference(list, time, index, thread, value);
    } else {
        value = fetch(index);
    }
}

void ZEL_Data::followReference(ZEL_ParmList *list, double time, int index, int thread,
                               Item &out) const
{
    ZEL_ParmOwner *owner = list ? list->getParmOwner() : nullptr;
    if (!owner) {
        return;
    }
    if (ReferenceDepth::isFull()) {
        evaluationError(list, index, EVL::EVL_CYCLE, thread);
        return;
    }
    const ReferenceDepth depth;
    const ZEL_Multi::KeepItems keep;
    int component = index;
    const ZEL_Parm *parm =
        owner->followChannelReference(index, time, list->getParmIndex(getTokenRef()), component);
    if (parm) {
        parm->getValue(time, out, component, thread);
    }
}

void ZEL_Data::getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index,
                        bool expand, int thread) const
{
    value.clear();
    Item item;
    getValue(list, time, item, index, thread);
    const KIT_JSONValueMap *dict = item ? item->getKeyValueDict() : nullptr;
    if (!dict) {
        return;
    }
    if (expand) {
        expandJSONMap(list, time, index, thread, *dict, value);
    } else {
        copyJSONMap(*dict, value);
    }
}

void ZEL_Data::getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool,
                        int thread) const
{
    value.harden("");
    Item item;
    getValue(list, time, item, index, thread);
    if (!item || item->getDataType() != ZEL_Type::ZEL_DATA_KEY_VALUE_DICT) {
        return;
    }
    constexpr bool binary = false;
    KIT_WorkBuffer text;
    const auto writer = KIT_JSONWriter::allocWriter(text, binary);
    if (const KIT_JSONValueMap *dict = item->getKeyValueDict()) {
        dict->save(*writer);
    } else {
        KIT_JSONValueMap().save(*writer);
    }
    text.copyIntoString(value);
}

void ZEL_Data::getValue(ZEL_ParmList *, double, double &value, int, int) const
{
    value = 0.0;
}

void ZEL_Data::getValue(ZEL_ParmList *, double, std::int64_t &value, int, int) const
{
    value = 0;
}

void ZEL_Data::getValue(ZEL_ParmList *, double, int &value, int, int) const
{
    value = 0;
}

// -------------------------------------------------------------------------- //
// Dictionaries
// -------------------------------------------------------------------------- //

bool ZEL_Data::expandJSONString(ZEL_ParmList *list, double time, int index, int thread,
                                const char *text, KIT_String &out, bool &timeDependent) const
{
    constexpr int theFlags = TRK_EXPAND_VARIABLES | TRK_EXPAND_EXPRESSIONS | TRK_EXPAND_HOME;
    const int &error = EVL::theErrNo[thread];
    const int result = TRK_Manager::getContext().expandString(text, out, time, getChannelGroupPtr(),
                                                              thread, theFlags);
    if (error != EVL::EVL_OK) {
        evaluationError(list, index, error, thread);
        return false;
    }
    timeDependent = timeDependent || (result & TRK_EXPAND_TIME_DEPENDENT) != 0;
    return true;
}

void ZEL_Data::expandJSONMap(ZEL_ParmList *list, double time, int index, int thread,
                             const KIT_JSONValueMap &source, KIT_JSONValueMap &destination) const
{
    bool timeDependent = false;
    {
        // The texts' variables may be the application's.
        const ZEL_Multi::KeepItems keep;
        TRK_EvalContext::Scope context(thread);
        context.setCollection(getChannelGroupPtr());
        context.setChannelName(getChannelToken(index).nonNullStr());
        const TRK_EvalContext::OneEvaluation evaluation(thread);
        const EVL::ErrorScope error(thread, EVL::ErrorScope::CLEARED);
        KIT_Array<KIT_StringHolder> keys;
        source.getKeys(keys);
        for (const KIT_StringHolder &key : keys) {
            const KIT_StringHolder text = source.get(key)->getS();
            KIT_String newKey;
            KIT_String newText;
            bool entryTimeDependent = false;
            if (!expandJSONString(list, time, index, thread, key.nonNullStr(), newKey,
                                  entryTimeDependent) ||
                !expandJSONString(list, time, index, thread, text.nonNullStr(), newText,
                                  entryTimeDependent)) {
                break;
            }
            timeDependent = timeDependent || entryTimeDependent;
            destination.insert(KIT_StringHolder(newKey.nonNullStr()),
                               KIT_JSONValue(newText.nonNullStr()));
        }
    }
    setTimeDependent(index, timeDependent);
}

void ZEL_Data::copyJSONMap(const KIT_JSONValueMap &source, KIT_JSONValueMap &destination)
{
    KIT_Array<KIT_StringHolder> keys;
    source.getKeys(keys);
    for (const KIT_StringHolder &key : keys) {
        destination.insert(key, *source.get(key));
    }
}

// -------------------------------------------------------------------------- //
// Expressions
// -------------------------------------------------------------------------- //

void ZEL_Data::getExpression(double time, KIT_String &text, int index, bool, int) const
{
    text.harden("");
    if (validIndex(index) && getChannel(index)) {
        getChannel(index)->getExpression(time, text);
    }
}

void ZEL_Data::getExpressionStringForUI(double time, KIT_String &text, int index, int thread) const
{
    constexpr bool expand = false;
    getExpression(time, text, index, expand, thread);
}

void ZEL_Data::setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                             bool, bool deleteChannel)
{
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    // Copy first: `text` may belong to the channel that is removed.
    KIT_String expression(text ? text : "", true);
    expression.removeTrailingSpace();
    if (deleteChannel) {
        removeChannel(index);
    }
    if (!getChannel(index)) {
        addChannel(index);
    }
    if (TRK_Channel *channel = getChannel(index)) {
        channel->changeExpression(time, expression.nonNullStr(), language, false);
        channel->clearPending();
    }
}

// -------------------------------------------------------------------------- //
// Values in
// -------------------------------------------------------------------------- //

void ZEL_Data::setValue(double time, const Item &value, bool replaceExpression, int index,
                        ZEL_AddKeyType, ZEL_KeySetType)
{
    if (replaceExpression) {
        removeChannel(index);
    }
    setData(value, time, index);
}

void ZEL_Data::setValue(double time, std::int64_t, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setData(nullptr, time, index);
}

void ZEL_Data::setValue(double time, int, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setData(nullptr, time, index);
}

void ZEL_Data::setValue(double time, double, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setData(nullptr, time, index);
}

void ZEL_Data::setValue(double time, const char *, TRK_StringMeaning, bool, int index,
                        ZEL_AddKeyType, ZEL_KeySetType)
{
    setData(nullptr, time, index);
}

std::int64_t ZEL_Data::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = ZEL_Instance::getMemoryUsage(false);
    const ZEL_Multi::KeepItems keep;
    for (int i = 0; i < getVectorSize(); ++i) {
        const Item item = fetch(i);
        bytes += item ? item->getMemoryUsage() : 0;
    }
    return bytes + (inclusive ? std::int64_t(sizeof(*this)) : 0);
}
