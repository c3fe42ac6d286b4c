#include <ZEL/ZEL_Instance.h>

#include <BAS/BAS_LostText.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_InstanceWatch.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_UndoData.h>
#include <ZEL/ZEL_Value.h>
#include <ZEL/instance/ZEL_InstancePrivate.h>
#include <ZEL/instance/ZEL_UndoStreamPrivate.h>

#include <cstring>
#include <memory>
#include <new>

__thread ZEL_UndoStream *ZEL_UndoStream::theInnermost = nullptr;

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

ZEL_Instance::Rare::Rare() = default;

ZEL_Instance::Rare::~Rare()
{
    if (channels != &onlyChannel) {
        delete[] channels;
    }
}

ZEL_Instance::ZEL_Instance(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : myFlags(0), myEnableState(~0u), mySendExtraFlags(0), myTemplate(templatePtr), myRare(0)
{
    myDirtyFlags = sizeBits();
    if (myTemplate->getExpressionFlag() != 0) {
        myFlags |= ZEL_INST_EXPRESSION;
    }
    place(parm);
    initTakeFlags();
    readTemplateMasks();
}

ZEL_Instance::ZEL_Instance(const ZEL_Instance &source, ZEL_Parm *parm)
    : myFlags(source.myFlags &
              ~(ZEL_INST_UNDO_SAVED | ZEL_INST_DEFAULTS_INIT | ZEL_INST_LEAVING | PRIVATE_FLAGS)),
      myEnableState(0), // the caller sets the state
      mySendExtraFlags(0), myTemplate(source.myTemplate), myRare(0)
{
    myDirtyFlags = sizeBits();
    place(parm);
    readTemplateMasks();
    try {
        if (const ZEL_Value *value = source.inputNotifyValue()) {
            makeRare().inputNotify = std::make_unique<ZEL_Value>(*value);
        }
        if (const TRK_Collection *collection = getChannelGroupPtr()) {
            for (int i = 0, size = getVectorSize(); i < size; ++i) {
                setChannel(i, collection->getChannel(getChannelToken(i)));
            }
        }
    } catch (...) {
        delete rare();
        throw;
    }
}

ZEL_Instance::~ZEL_Instance()
{
    ZEL_InstanceWatch::forget(this);
    leavePropagations();
    clearSendExtra();
    if (const Rare *record = rare()) {
        destroyMicroNodes();
        // What resolves paths for the collection isn't told: it may be gone already.
        for (int i = 0, size = getVectorSize(); i < size; ++i) {
            dropChannel(i);
        }
        delete record;
    }
}

/// Keeps the parameter: by its place if it lies before this object.
void ZEL_Instance::place(ZEL_Parm *parm)
{
    if (parm && static_cast<void *>(parm + 1) == static_cast<void *>(this)) {
        myFlags |= BESIDE_PARM;
    } else if (parm) {
        myRare = reinterpret_cast<std::uintptr_t>(parm) | theParmBit;
    }
}

/// A later change of the template's masks doesn't change those of its instances.
void ZEL_Instance::readTemplateMasks()
{
    const std::uint32_t scope = myTemplate->getAutoScopeField();
    const std::uint32_t select = myTemplate->getAutoSelectField();
    if (scope != 0) {
        putAutoScope(scope);
    }
    if (select != ~0u) {
        putAutoSelect(select);
    }
}

ZEL_Instance::Rare &ZEL_Instance::makeRare() const
{
    static_assert(sizeof(void *) != 8 || sizeof(Rare) == 112, "as ARCHITECTURE.md says");
    std::uintptr_t word = __atomic_load_n(&myRare, __ATOMIC_ACQUIRE);
    if (Rare *record = rareIn(word)) {
        return *record;
    }
    // Evaluating threads make it too, for their nodes: the first one's stays.
    std::unique_ptr<Rare> made(new Rare);
    made->multiOwner = getMultiParmOwner();
    made->parm = testFlag(BESIDE_PARM) ? nullptr : getParm();
    if (!__atomic_compare_exchange_n(&myRare, &word, reinterpret_cast<std::uintptr_t>(made.get()),
                                     false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
        return *reinterpret_cast<Rare *>(word);
    }
    return *made.release();
}

ZEL_Parm *ZEL_Instance::getParm() const
{
    if (testFlag(BESIDE_PARM)) {
        return reinterpret_cast<ZEL_Parm *>(const_cast<ZEL_Instance *>(this)) - 1;
    }
    const std::uintptr_t word = __atomic_load_n(&myRare, __ATOMIC_ACQUIRE);
    if ((word & theParmBit) != 0) {
        return reinterpret_cast<ZEL_Parm *>(word - theParmBit);
    }
    const Rare *record = rareIn(word);
    return record ? record->parm : nullptr;
}

void ZEL_Instance::setMultiParmOwner(const ZEL_Multi *owner)
{
    const bool makeFlag = owner && (__atomic_load_n(&myRare, __ATOMIC_ACQUIRE) & theParmBit) != 0;
    if (Rare *record = makeFlag ? &makeRare() : rare()) {
        record->multiOwner = owner;
    } else if (owner || getMultiParmOwner()) {
        const std::uintptr_t word =
            owner ? reinterpret_cast<std::uintptr_t>(owner) | theOwnerBit : 0;
        __atomic_store_n(&myRare, word, __ATOMIC_RELEASE);
    }
}

void ZEL_Instance::initTakeFlags()
{
    const ZEL_Type &type = getType();
    bool always = type.isSwitcher() && !type.hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE);
    if (!always) {
        const ZEL_SpareData *spare = myTemplate->getSparePtr();
        const char *control = spare ? spare->getTakeControl() : nullptr;
        always = control && std::strcmp(control, "always") == 0;
    }
    if (always) {
        myFlags |= ZEL_INST_ACTIVE_TAKE | ZEL_INST_ALWAYS_TAKE;
    }
}

void ZEL_Instance::adopt(ZEL_Instance &source)
{
    if (&source == this) {
        return;
    }
    setFlag(source.myFlags & (ZEL_INST_EXPRESSION | ZEL_INST_VALUE), true);
    adoptOptions(source);
    adoptChannels(source);
    if (getVectorSize() == source.getVectorSize()) {
        adoptMicroNodes(source);
    }
}

void ZEL_Instance::adoptOverrides(ZEL_Instance &) {}

// ---------------------------------------------------------------------- //
// Base versions of the virtual operations
// ---------------------------------------------------------------------- //

bool ZEL_Instance::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    if (!checkLocks) {
        return true;
    }
    if (!validIndex(index)) {
        return false;
    }
    return (type & ZEL_DEFAULT_UNLOCKED) == 0 || !getLockedFlag(index);
}

bool ZEL_Instance::isAllDefault(ZEL_DefaultType type) const
{
    if ((type & ZEL_DEFAULT_UNLOCKED) != 0 && getLockedFlag(-1)) {
        return false;
    }
    const int size = getVectorSize();
    for (int i = 0; i < size; ++i) {
        if (!isDefault(i, type, false)) {
            return false;
        }
    }
    return true;
}

bool ZEL_Instance::saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const
{
    const BAS_LostText lost;
    ZEL_UndoStream::Turn stream;
    const bool ok = save(*stream, 0, false);
    // A text cut off for lack of memory would be restored as if it were complete.
    lost.check();
    if (!*stream) {
        throw std::bad_alloc();
    }
    data = std::make_shared<ZEL_InstanceUndoData>(stream->str());
    stream.end();
    return ok;
}

bool ZEL_Instance::loadUndoData(const std::shared_ptr<ZEL_UndoData> &data)
{
    const auto *bytes = dynamic_cast<const ZEL_InstanceUndoData *>(data.get());
    if (!bytes) {
        return false;
    }
    KIT_IStream stream(bytes->data(), bytes->length(), KIT_IStream::TEXT);
    return load(stream);
}

void ZEL_Instance::getValues(ZEL_ParmList *list, double time, std::int64_t *values,
                             int thread) const
{
    for (int i = getVectorSize(); i-- > 0;) {
        getValue(list, time, values[i], i, thread);
    }
}

void ZEL_Instance::getValues(ZEL_ParmList *list, double time, int *values, int thread) const
{
    for (int i = getVectorSize(); i-- > 0;) {
        getValue(list, time, values[i], i, thread);
    }
}

void ZEL_Instance::getValues(ZEL_ParmList *list, double time, double *values, int thread) const
{
    for (int i = getVectorSize(); i-- > 0;) {
        getValue(list, time, values[i], i, thread);
    }
}

void ZEL_Instance::getValues(ZEL_ParmList *list, double time, float *values, int thread) const
{
    for (int i = getVectorSize(); i-- > 0;) {
        double value = 0.0;
        getValue(list, time, value, i, thread);
        values[i] = float(value);
    }
}

void ZEL_Instance::getDefaultValue(KIT_String &value, int) const
{
    value = "";
}

void ZEL_Instance::getDefaultValue(std::int64_t &value, int) const
{
    value = 0;
}

void ZEL_Instance::getDefaultValue(int &value, int) const
{
    value = 0;
}

void ZEL_Instance::getDefaultValue(double &value, int) const
{
    value = 0.0;
}

void ZEL_Instance::setExpression(double, const char *, TRK_ExprLanguage, int, bool, bool) {}

void ZEL_Instance::setValue(double, const std::shared_ptr<const ZEL_DataItem> &, bool, int index,
                            ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(index);
}

void ZEL_Instance::setValue(double, std::int64_t, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(index);
}

void ZEL_Instance::setValue(double, int, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(index);
}

void ZEL_Instance::setValue(double, double, bool, int index, ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(index);
}

void ZEL_Instance::setValue(double, const char *, TRK_StringMeaning, bool, int index,
                            ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(index);
}

void ZEL_Instance::setValues(double, const std::int64_t *, bool, ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(-1);
}

void ZEL_Instance::setValues(double, const double *, bool, ZEL_AddKeyType, ZEL_KeySetType)
{
    setDirtyFlags(-1);
}

bool ZEL_Instance::isMultiParm() const
{
    return false;
}

int ZEL_Instance::getMultiParmNumItems() const
{
    return 0;
}

int ZEL_Instance::getMultiParmInstancesPerItem() const
{
    return 0;
}

const char *ZEL_Instance::getMultiParmToken(int, int) const
{
    return nullptr;
}

void ZEL_Instance::insertMultiParmItem(int) {}

void ZEL_Instance::removeMultiParmItem(int) {}

void ZEL_Instance::buildOpDependencies(const ZEL_RefId &, int) {}

int ZEL_Instance::changeOpRef(const char *, const char *, const char *, const char *, const char *,
                              void (*)(void *, ZEL_Parm *, int), void *, int)
{
    return 0;
}

bool ZEL_Instance::findString(const char *, bool, bool) const
{
    return false;
}

int ZEL_Instance::changeString(const char *, const char *, bool)
{
    return 0;
}

bool ZEL_Instance::notifyVarChange(int, const char *)
{
    return false;
}

bool ZEL_Instance::isEditable(ZEL_ParmList *, double, int) const
{
    return true;
}

bool ZEL_Instance::isEditableByUI(ZEL_ParmList *, double, int) const
{
    return true;
}

int ZEL_Instance::setOverride(int, int, const char *, ZEL_OverrideType)
{
    return 0;
}

bool ZEL_Instance::setOverrideDisable(int, int)
{
    return false;
}

const char *ZEL_Instance::getOverride(int) const
{
    return nullptr;
}

bool ZEL_Instance::getOverrideType(int, ZEL_OverrideType &) const
{
    return false;
}

int ZEL_Instance::getOverrideDataIndex(int) const
{
    return -1;
}

int ZEL_Instance::getIsOverrideActive(int) const
{
    return 0;
}

void ZEL_Instance::destroyChildParms() {}

void ZEL_Instance::moveValuesApart() {}

std::int64_t ZEL_Instance::getMemoryUsage(bool inclusive) const
{
    const int size = getVectorSize();
    std::int64_t bytes = inclusive ? std::int64_t(sizeof(*this)) : 0;
    const Rare *record = rare();
    if (!record) {
        return bytes;
    }
    bytes += std::int64_t(sizeof(*record));
    bytes += record->channels ? std::int64_t(sizeof(TRK_Channel *)) * size : 0;
    for (int i = 0; record->aliases && i < size; ++i) {
        bytes += record->aliases[std::size_t(i)].getMemoryUsage(true);
    }
    bytes += record->colors ? std::int64_t(sizeof(ColorRecord)) * size : 0;
    bytes += record->inputNotify ? std::int64_t(sizeof(ZEL_Value)) : 0;
    return bytes + getMicroNodesMemoryUsage();
}

bool ZEL_Instance::isRotationParm() const
{
    return false;
}

// ---------------------------------------------------------------------- //
// Surroundings
// ---------------------------------------------------------------------- //

ZEL_ParmList *ZEL_Instance::getParmList() const
{
    const ZEL_Parm *parm = getParm();
    return parm ? parm->getParmList() : nullptr;
}

ZEL_ParmOwner *ZEL_Instance::getParmOwner() const
{
    const ZEL_ParmList *list = getParmList();
    return list ? list->getParmOwner() : nullptr;
}

void ZEL_Instance::tellTextsChanged() const
{
    if (const TRK_Collection *const collection = getChannelGroupPtr()) {
        collection->tellTextsChanged();
    }
}

TRK_Collection *ZEL_Instance::getChannelGroupPtr() const
{
    const ZEL_ParmList *list = getParmList();
    return list ? list->getChannelGroupPtr() : nullptr;
}

ZEL_Value *ZEL_Instance::createInputNotifyValue()
{
    std::unique_ptr<ZEL_Value> &value = makeRare().inputNotify;
    if (!value) {
        value = std::make_unique<ZEL_Value>();
    }
    return value.get();
}

// ---------------------------------------------------------------------- //
// Masks
// ---------------------------------------------------------------------- //

void ZEL_Instance::setMaskBits(std::uint32_t &mask, int index, bool on) const
{
    if (index < 0) {
        mask = on ? sizeBits() : 0;
    } else {
        mask = on ? mask | bit(index) : mask & ~bit(index);
    }
}

void ZEL_Instance::setLockedField(std::uint32_t field)
{
    if (field != 0 || rare()) {
        makeRare().locks = field;
    }
}

void ZEL_Instance::setLockedFlag(int index, bool locked)
{
    std::uint32_t field = getLockedField();
    setMaskBits(field, index, locked);
    setLockedField(field);
}

bool ZEL_Instance::areAllComponentsLocked() const
{
    const std::uint32_t all = sizeBits();
    return (getLockedField() & all) == all;
}

std::uint32_t ZEL_Instance::getEnableState(int index) const
{
    return index < 0 ? myEnableState : (myEnableState & bit(index)) != 0;
}

bool ZEL_Instance::setEnableState(bool enabled, int index)
{
    const std::uint32_t before = myEnableState;
    // A ramp's first key doesn't move: its position is never enabled.
    if (enabled && isFirstRampPosition()) {
        enabled = false;
    }
    if (index < 0) {
        myEnableState = enabled ? ~0u : 0u;
    } else {
        setMaskBits(myEnableState, index, enabled);
    }
    return myEnableState != before;
}

std::uint32_t ZEL_Instance::visibleField() const
{
    return testFlag(HIDDEN) ? 0 : testFlag(OWN_VISIBLE) ? rare()->visible : allBits();
}

bool ZEL_Instance::getVisibleState(int index) const
{
    return testMask(visibleField(), getVectorSize() == 0 ? -1 : index);
}

bool ZEL_Instance::setVisibleState(bool visible, int index)
{
    const std::uint32_t before = visibleField();
    std::uint32_t field = before;
    if (getVectorSize() == 0) {
        field = visible ? ~0u : 0u;
    } else {
        setMaskBits(field, index, visible);
    }
    // All and none are flags, so that conditions need no record.
    const bool own = field != 0 && field != allBits();
    if (own) {
        makeRare().visible = field;
    }
    setFlag(OWN_VISIBLE, own);
    setFlag(HIDDEN, field == 0);
    return field != before;
}

void ZEL_Instance::setAutoScopedFlag(int index, bool flag)
{
    std::uint32_t field = getAutoScopeField();
    setMaskBits(field, index, flag);
    setAutoScopeField(field);
}

void ZEL_Instance::setAutoSelectFlag(int index, bool flag)
{
    std::uint32_t field = getAutoSelectField();
    setMaskBits(field, index, flag);
    setAutoSelectField(field);
}

// All and none are flags here, too.
void ZEL_Instance::putAutoScope(std::uint32_t field)
{
    const bool all = field != 0 && field == sizeBits();
    const bool own = field != 0 && !all;
    if (own) {
        makeRare().autoScope = field;
    }
    setFlag(AUTO_SCOPED, all);
    setFlag(OWN_AUTO_SCOPE, own);
}

void ZEL_Instance::putAutoSelect(std::uint32_t field)
{
    const bool own = field != 0 && field != ~0u;
    if (own) {
        makeRare().autoSelect = field;
    }
    setFlag(NO_AUTO_SELECT, field == 0);
    setFlag(OWN_AUTO_SELECT, own);
}

void ZEL_Instance::resetOptions()
{
    setLockedField(0);
    putAutoScope(myTemplate->getAutoScopeField());
    putAutoSelect(myTemplate->getAutoSelectField());
    setFlag(theWrittenFlags, false);
    if (Rare *const record = rare()) {
        record->colors.reset();
    }
}

void ZEL_Instance::setAutoScopeField(std::uint32_t field)
{
    putAutoScope(field);
    setFlag(ZEL_INST_SAVE_AUTOSCOPE, true);
}

void ZEL_Instance::setAutoSelectField(std::uint32_t field)
{
    putAutoSelect(field);
    setFlag(ZEL_INST_SAVE_AUTOSELECT, true);
}

bool ZEL_Instance::isActive(int index) const
{
    return rare() && validIndex(index) && (rare()->active & bit(index)) != 0;
}

void ZEL_Instance::setActive(int index, bool active)
{
    if (active || rare()) {
        setMaskBits(makeRare().active, index, active);
    }
}

void ZEL_Instance::setActiveTakeFlag(bool flag)
{
    if (!getAlwaysTakeFlag() || flag) {
        setFlag(ZEL_INST_ACTIVE_TAKE, flag);
    }
}

void ZEL_Instance::setDirtyFlags(int index)
{
    BASorBits(myDirtyFlags, index < 0 ? sizeBits() : bit(index));
    setSendExtra(index);
}

void ZEL_Instance::setSendExtra(int index)
{
    const std::uint32_t present = BASload(mySendExtraFlags);
    const std::uint32_t wanted = index < 0 ? sizeBits() : bit(index);
    // For all components: if any of the bits is set, the others stay as they are. The list counts
    // bits, so clearing them later brings its count back to 0 for every size.
    if (wanted == 0 || (present & wanted) != 0) {
        return;
    }
    BASstore(mySendExtraFlags, present | wanted);
    if (ZEL_ParmList *list = getParmList()) {
        list->bumpNumSendExtra(__builtin_popcount(wanted));
    }
}

// ---------------------------------------------------------------------- //
// Time dependence
// ---------------------------------------------------------------------- //

bool ZEL_Instance::isDataDependent(double, int index) const
{
    const int first = index < 0 ? 0 : index;
    const int end = index < 0 ? getVectorSize() : validIndex(index) ? index + 1 : index;
    for (int i = first; i < end; ++i) {
        const TRK_Channel *channel = getChannel(i);
        if (channel && channel->isDataDependent()) {
            return true;
        }
    }
    return false;
}

void ZEL_Instance::setTimeDependent(int index, bool timeDependent) const
{
    const ZEL_Type &type = getType();
    if (type.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOREFRESH)) {
        return;
    }
    ZEL_ParmList *const list = timeDependent ? getParmList() : nullptr;
    if (list) {
        list->setTimeDependent();
        if (type.isCookable()) {
            list->setCookTimeDependent();
        }
    }
    if (ZEL_ParmMicroNode *nodes = threadSafeMicroNodes()) {
        markMicroNode(nodes, index, timeDependent);
    }
}
