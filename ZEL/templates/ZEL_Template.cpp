#include <ZEL/ZEL_Template.h>

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_RampTemplate.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/menus/ZEL_FileHistoryMenuPrivate.h>
#include <ZEL/support/ZEL_InstanceMatchPrivate.h>
#include <ZEL/support/ZEL_PlaceMemoryPrivate.h>
#include <ZEL/templates/ZEL_TemplatePrivate.h>
#include <ZEL/templates/ZEL_TemplateSpecPrivate.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_set>

namespace
{

ZEL_Name *defaultName()
{
    static ZEL_Name theName("parm", "Parameter");
    return &theName;
}

ZEL_Range *rampRange()
{
    static ZEL_Range theRange(ZEL_RANGE_HARD, 1.0, ZEL_RANGE_UI, 10.0);
    return &theRange;
}

/// Records that no template frees. The set is never destroyed: templates in other statics may still
/// point at its records while the process ends.
struct KeptSpareData
{
    std::mutex lock;
    std::unordered_set<ZEL_SpareData *> records;
};

KeptSpareData &keptSpareData()
{
    static KeptSpareData *const theKept = new KeptSpareData;
    return *theKept;
}

} // namespace

void *ZEL_Template::operator new[](size_t size)
{
    return size <= ZEL_PlaceMemory::theMostBytes ? ZEL_PlaceMemory::allocate(size)
                                                 : KIT_SmallObjectAllocator::allocate(size);
}

void ZEL_Template::operator delete[](void *memory, size_t size) noexcept
{
    if (size > ZEL_PlaceMemory::theMostBytes) {
        KIT_SmallObjectAllocator::deallocate(memory, size);
    } else {
        ZEL_PlaceMemory::deallocate(memory, size);
    }
}

ZEL_SpareData *ZELcreateKeptSpareData()
{
    auto spare = std::make_unique<ZEL_SpareData>();
    KeptSpareData &kept = keptSpareData();
    const std::lock_guard<std::mutex> scope(kept.lock);
    kept.records.insert(spare.get());
    return spare.release();
}

void ZELfreeSpareData(ZEL_SpareData *spare)
{
    if (spare) {
        KeptSpareData &kept = keptSpareData();
        const std::lock_guard<std::mutex> scope(kept.lock);
        kept.records.erase(spare);
    }
    delete spare;
}

// -------------------------------------------------------------------- //
// Making a template
// -------------------------------------------------------------------- //

ZEL_Template::ZEL_Template() : ZEL_Template(ZEL_LIST_TERMINATOR) {}

ZEL_Template::ZEL_Template(const ZEL_Type &type, int vectorSize, ZEL_Name *name,
                           ZEL_Default *defaults, ZEL_ChoiceList *choices, ZEL_Range *range,
                           ZEL_Callback callback, ZEL_SpareData *spare, int parmGroup,
                           const char *help, ZEL_ConditionalBase *conditional)
    : ZEL_Template(type, ZEL_TYPEX_NONE, ZEL_EXPORT_0, vectorSize, name, defaults, choices, range,
                   callback, spare, parmGroup, help, conditional)
{}

ZEL_Template::ZEL_Template(const ZEL_Type &type, ZEL_Export exportLevel, int vectorSize,
                           ZEL_Name *name, ZEL_Default *defaults, ZEL_ChoiceList *choices,
                           ZEL_Range *range, ZEL_Callback callback, ZEL_SpareData *spare,
                           int parmGroup, const char *help, ZEL_ConditionalBase *conditional)
    : ZEL_Template(type, ZEL_TYPEX_NONE, exportLevel, vectorSize, name, defaults, choices, range,
                   callback, spare, parmGroup, help, conditional)
{}

ZEL_Template::ZEL_Template(const ZEL_Type &type, ZEL_TypeExtended extended, int vectorSize,
                           ZEL_Name *name, ZEL_Default *defaults, ZEL_ChoiceList *choices,
                           ZEL_Range *range, ZEL_Callback callback, ZEL_SpareData *spare,
                           int parmGroup, const char *help, ZEL_ConditionalBase *conditional)
    : ZEL_Template(type, extended, ZEL_EXPORT_0, vectorSize, name, defaults, choices, range,
                   callback, spare, parmGroup, help, conditional)
{}

ZEL_Template::ZEL_Template(const ZEL_Type &type, ZEL_TypeExtended extended, ZEL_Export exportLevel,
                           int vectorSize, ZEL_Name *name, ZEL_Default *defaults,
                           ZEL_ChoiceList *choices, ZEL_Range *range, ZEL_Callback callback,
                           ZEL_SpareData *spare, int parmGroup, const char *help,
                           ZEL_ConditionalBase *conditional)
{
    initialize(type, extended, exportLevel, vectorSize, name, defaults, choices, range, callback,
               spare, parmGroup, help, conditional);
}

ZEL_Template::ZEL_Template(ZEL_MultiType multiType, ZEL_Template *items, double multiSize,
                           ZEL_Name *name, ZEL_Default *defaults, ZEL_Range *range,
                           ZEL_SpareData *spare, const char *help, ZEL_ConditionalBase *conditional,
                           ZEL_Callback callback)
    : ZEL_Template(multiType, items, ZEL_EXPORT_0, multiSize, name, defaults, range, spare, help,
                   conditional, callback)
{}

ZEL_Template::ZEL_Template(ZEL_MultiType multiType, ZEL_Template *items, ZEL_Export exportLevel,
                           double multiSize, ZEL_Name *name, ZEL_Default *defaults,
                           ZEL_Range *range, ZEL_SpareData *spare, const char *help,
                           ZEL_ConditionalBase *conditional, ZEL_Callback callback)
{
    initMulti(multiType, items, exportLevel, multiSize, name, defaults, range, spare, help,
              conditional, callback);
}

ZEL_Template::ZEL_Template(const ZEL_Template &other)
{
    assign(other, other.myVectorSize, other.myFactoryDefaults);
}

ZEL_Template &ZEL_Template::operator=(const ZEL_Template &other)
{
    if (this != &other) {
        assign(other, other.myVectorSize, other.myFactoryDefaults);
    }
    return *this;
}

ZEL_Template::~ZEL_Template()
{
    clearOurData();
}

void ZEL_Template::initialize(const ZEL_Type &type, ZEL_TypeExtended extended,
                              ZEL_Export exportLevel, int vectorSize, ZEL_Name *name,
                              ZEL_Default *defaults, ZEL_ChoiceList *choices, ZEL_Range *range,
                              ZEL_Callback callback, ZEL_SpareData *spare, int parmGroup,
                              const char *help, ZEL_ConditionalBase *conditional)
{
    ZEL_TemplateSpec content;
    content.type = &type;
    content.extended = extended;
    content.exportLevel = exportLevel;
    content.vectorSize = vectorSize;
    content.name = name;
    content.defaults = defaults;
    content.choices = choices;
    content.range = range;
    content.callback = callback;
    content.spare = spare;
    content.parmGroup = parmGroup;
    content.help = help;
    content.conditional = conditional;
    become(content);
}

void ZEL_Template::initMulti(ZEL_MultiType multiType, ZEL_Template *items, ZEL_Export exportLevel,
                             double multiSize, ZEL_Name *name, ZEL_Default *defaults,
                             ZEL_Range *range, ZEL_SpareData *spare, const char *help,
                             ZEL_ConditionalBase *conditional, ZEL_Callback callback)
{
    ZEL_TemplateSpec content;
    content.multiType = multiType;
    content.items = items;
    content.exportLevel = exportLevel;
    content.multiSize = multiSize;
    content.name = name;
    content.defaults = defaults;
    content.range = range;
    content.spare = spare;
    content.help = help;
    content.conditional = conditional;
    content.callback = callback;
    becomeMulti(content);
}

void ZEL_Template::become(const ZEL_TemplateSpec &content)
{
    const ZEL_Type &type = *content.type;
    dropChannelTokens();
    dropOverrides();
    dropRampTemplates();
    if (content.choices != myChoiceList) {
        dropOwnedChoiceList();
    }

    myType = type;
    myMultiType = ZEL_MULTITYPE_NONE;
    if (type.hasAnyOf(ZEL_TYPE_INVISIBLE)) {
        myMultiType = myMultiType | ZEL_MULTITYPE_INVISIBLE;
    }
    const bool joinedFlag = type.hasInterfaceType(ZEL_Type::ZEL_INTERFACE_JOIN_EXT);
    myTypeExtended = joinedFlag ? ZEL_TYPEX_JOINED : content.extended;
    myExportLevel = content.exportLevel;
    myVectorSize = type.hasAllOf(ZEL_SEPARATOR) ? 0 : std::max(content.vectorSize, 0);
    setNamePtr(content.name);
    myFactoryDefaults = content.defaults;
    myChoiceList = content.choices;
    myRange = content.range;
    myCallback = content.callback;
    mySpare = content.spare;
    myConditional = content.conditional;
    myHelpText = content.sharedHelp ? *content.sharedHelp : KIT_StringHolder(content.help);

    const bool idleFlag = type.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOREFRESH) ||
                          type.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK);
    myParmGroup =
        type.isSwitcher() && idleFlag ? uint8_t(0) : static_cast<uint8_t>(content.parmGroup);

    myMultiParmTemplate = nullptr;
    myMultiSize = 0.0;
    BASstore(myAutoScopeField, unknownBit());
    BASstore(myAutoSelectField, ~0u);

    if (!content.choices && type.hasAllOf(ZEL_FILE)) {
        myChoiceList = new ZEL_ChoiceList(ZEL_CHOICELIST_REPLACE,
                                          ZELgetFileHistoryGenerator(type.getPathType()));
        myOwnsChoiceListFlag = true;
    }
}

void ZEL_Template::becomeMulti(const ZEL_TemplateSpec &content)
{
    dropChannelTokens();
    dropOverrides();
    dropOwnedChoiceList();
    setNamePtr(content.name);

    ZEL_Template *items = content.items;
    // `items` may be owned by this template as a ramp: build the new ones before dropping them.
    const ZEL_MultiType rampBits = ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB;
    const bool rampFlag = (content.multiType & rampBits) != 0;
    if (rampFlag) {
        items = ZELcreateRampTemplate(getToken(), content.multiType, content.spare,
                                      content.callback, items);
    } else if (isRampType() && items == myMultiParmTemplate) {
        // They are freed with the ramp, and no other kind owns its items.
        items = nullptr;
    }
    dropRampTemplates();

    myMultiType = content.multiType;
    myTypeExtended = ZEL_TYPEX_NONE;
    myExportLevel = content.exportLevel;
    myType = ZEL_INT_E;
    if (content.multiType & ZEL_MULTITYPE_INVISIBLE) {
        myType |= ZEL_TYPE_INVISIBLE;
    }
    myFactoryDefaults = content.defaults;
    myRange = rampFlag && !content.range ? rampRange() : content.range;
    mySpare = content.spare;
    myCallback = content.callback;
    myMultiParmTemplate = items;
    myMultiSize = content.multiSize > 1.0 ? content.multiSize : 1.0;
    myParmGroup = 0;
    myVectorSize = 1;
    BASstore(myAutoScopeField, 0u);
    BASstore(myAutoSelectField, ~0u);
    myHelpText = content.sharedHelp ? *content.sharedHelp : KIT_StringHolder(content.help);
    myConditional = content.conditional;
}

void ZEL_Template::assign(const ZEL_Template &source, int vectorSize, ZEL_Default *defaults)
{
    if (this == &source) {
        const ZEL_Template copy(source);
        assign(copy, vectorSize, defaults);
        return;
    }
    // Allocate first, so that nothing changes if memory is refused.
    std::unique_ptr<ZEL_ChoiceList> ownChoices;
    if (source.myOwnsChoiceListFlag) {
        ownChoices = std::make_unique<ZEL_ChoiceList>(*source.myChoiceList);
    }
    ZEL_Template *const items =
        source.isRampType()
            ? ZELcreateRampTemplate(source.getToken(), source.myMultiType, source.mySpare,
                                    source.myCallback, source.myMultiParmTemplate)
            : source.myMultiParmTemplate;
    clearOurData();
    myType = source.myType;
    myMultiType = source.myMultiType;
    myTypeExtended = source.myTypeExtended;
    myVectorSize = std::max(vectorSize, 0);
    myFactoryDefaults = defaults;
    myOwnsChoiceListFlag = source.myOwnsChoiceListFlag;
    myChoiceList = myOwnsChoiceListFlag ? ownChoices.release() : source.myChoiceList;
    myName = source.myName;
    myRange = source.myRange;
    myCallback = source.myCallback;
    mySpare = source.mySpare;
    myConditional = source.myConditional;
    myExportLevel = source.myExportLevel;
    myParmGroup = source.myParmGroup;
    BASstore(myAutoScopeField, BASload(source.myAutoScopeField));
    BASstore(myAutoSelectField, BASload(source.myAutoSelectField));
    myMultiSize = source.myMultiSize;
    myHelpText = source.myHelpText;
    myMultiParmTemplate = items;
}

// -------------------------------------------------------------------- //
// Owned parts
// -------------------------------------------------------------------- //

void ZEL_Template::dropChannelTokens()
{
    myChannelTokens.drop();
}

void ZEL_Template::OverrideDeleter::operator()(ZEL_Default *record) const
{
    record->setString(nullptr, true);
    delete record;
}

void ZEL_Template::dropOverrides()
{
    myDefaults.reset();
}

void ZEL_Template::dropOwnedChoiceList()
{
    if (myOwnsChoiceListFlag) {
        delete myChoiceList;
    }
    myChoiceList = nullptr;
    myOwnsChoiceListFlag = false;
}

void ZEL_Template::dropRampTemplates()
{
    if (isRampType()) {
        ZELfreeRampTemplate(myMultiParmTemplate);
    }
    myMultiParmTemplate = nullptr;
}

void ZEL_Template::clearOurData()
{
    dropChannelTokens();
    dropOverrides();
    myVectorSize = 0;
    dropOwnedChoiceList();
    dropRampTemplates();
}

int64_t ZEL_Template::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    if (const KIT_StringHolder *tokens = myChannelTokens.get()) {
        for (int i = 0; i < myVectorSize; i++) {
            bytes += tokens[i].getMemoryUsage(true);
        }
    }
    if (myDefaults) {
        bytes += myVectorSize * static_cast<int64_t>(sizeof(ZEL_Default));
    }
    if (myOwnsChoiceListFlag) {
        bytes += myChoiceList->getMemoryUsage(true);
    }
    if (isRampType()) {
        bytes += ZELgetRampTemplateMemoryUsage(myMultiParmTemplate);
    }
    return bytes;
}

// -------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------- //

/// The component's override, created if it is missing; null for an index outside the vector.
ZEL_Default *ZEL_Template::makeOverride(int index)
{
    if (index < 0 || index >= myVectorSize) {
        return nullptr;
    }
    if (!myDefaults) {
        myDefaults.reset(new Override[static_cast<size_t>(myVectorSize)]);
    }
    Override &place = myDefaults[static_cast<size_t>(index)];
    if (!place) {
        place.reset(new ZEL_Default);
    }
    return place.get();
}

void ZEL_Template::setDefault(int index, const ZEL_Default &value)
{
    if (getDefault(index) == &value) {
        return;
    }
    setFloatDefault(index, value.getFloat());
    setStringDefault(index, value.getString());
}

void ZEL_Template::setFloatDefault(int index, double value)
{
    if (ZEL_Default *record = makeOverride(index)) {
        record->setFloat(value);
    }
}

void ZEL_Template::setOrdinalDefault(int index, int value)
{
    if (ZEL_Default *record = makeOverride(index)) {
        record->setOrdinal(value);
    }
}

void ZEL_Template::setStringDefault(int index, const char *text)
{
    if (ZEL_Default *record = makeOverride(index)) {
        // Copy first: `text` may be the text that is replaced.
        const char *const copy = text && *text ? ::strdup(text) : nullptr;
        if (text && *text && !copy) {
            throw std::bad_alloc();
        }
        record->setString(copy, true);
    }
}

void ZEL_Template::restoreFactoryDefaults()
{
    dropOverrides();
}

// -------------------------------------------------------------------- //
// Records it points to
// -------------------------------------------------------------------- //

void ZEL_Template::setNamePtr(ZEL_Name *name)
{
    myName = name ? name : defaultName();
}

ZEL_ChoiceList *ZEL_Template::getChoiceListPtr() const
{
    if (myChoiceList) {
        return myChoiceList;
    }
    const bool toggleFlag =
        myType.isOrdinalType() && myType.hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE);
    return toggleFlag ? &ZELtoggleMenu : nullptr;
}

void ZEL_Template::setChoiceListPtr(ZEL_ChoiceList *choices)
{
    if (choices != myChoiceList) {
        dropOwnedChoiceList();
        myChoiceList = choices;
    }
}

bool ZEL_Template::isAutomaticallyGeneratedChoiceList() const
{
    if (!myChoiceList) {
        return getChoiceListPtr() != nullptr;
    }
    return myType.hasAllOf(ZEL_FILE) &&
           myChoiceList->getChoiceGenerator() == ZELgetFileHistoryGenerator(myType.getPathType());
}

ZEL_SpareData *ZEL_Template::getOrCreateSparePtr()
{
    if (!mySpare) {
        mySpare = ZELcreateKeptSpareData();
    }
    return mySpare;
}

int ZEL_Template::getMultiStartOffset() const
{
    return mySpare ? mySpare->getMultiStartOffset() : 1;
}

bool ZEL_Template::matchMultiInstance(const char *name, const char *pattern, int startOffset,
                                      int &instance, const KIT_ValArray<int> *instances)
{
    return ZELmatchInstance(name, pattern, startOffset, instance, instances);
}

// -------------------------------------------------------------------- //
// Flags of the type
// -------------------------------------------------------------------- //

void ZEL_Template::setFlag(const ZEL_Type &flag, bool on)
{
    if (on) {
        myType |= flag;
    } else {
        myType.clear(flag);
    }
}

bool ZEL_Template::getInvisible() const
{
    return myType.hasAnyOf(ZEL_TYPE_INVISIBLE);
}

void ZEL_Template::setInvisible(bool flag)
{
    setFlag(ZEL_TYPE_INVISIBLE, flag);
}

bool ZEL_Template::getJoinNext() const
{
    return myType.hasAnyOf(ZEL_TYPE_JOIN_NEXT);
}

void ZEL_Template::setJoinNext(bool flag)
{
    setFlag(ZEL_TYPE_JOIN_NEXT, flag);
    if (!flag && myTypeExtended == ZEL_TYPEX_JOIN_NEXT) {
        myTypeExtended = ZEL_TYPEX_NONE;
    }
}

bool ZEL_Template::getLabelNone() const
{
    return myType.hasAnyOf(ZEL_TYPE_LABEL_NONE);
}

void ZEL_Template::setLabelNone(bool flag)
{
    setFlag(ZEL_TYPE_LABEL_NONE, flag);
}

void ZEL_Template::setBaseParm(bool flag)
{
    setFlag(ZEL_TYPE_BASEPARM, flag);
}

void ZEL_Template::setNoResim(bool flag)
{
    setFlag(ZEL_TYPE_NORESIM, flag);
}

void ZEL_Template::setNoCook(bool flag)
{
    setFlag(ZEL_TYPE_NOCOOK, flag);
    if (isRampType() && myMultiParmTemplate) {
        for (ZEL_Template *item = myMultiParmTemplate; !item->isTerminator(); item++) {
            item->setNoCook(flag);
        }
    }
}

bool ZEL_Template::setNoCook(const ZEL_SpareData &spare, bool noCookByDefault)
{
    if (spare.getValue(ZEL_SpareData::getCookDependentToken())) {
        setNoCook(!spare.getCookDependent());
    } else if (noCookByDefault) {
        setNoCook(true);
    }
    return myType.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK);
}
