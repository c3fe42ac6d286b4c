#include <ZEL/ZEL_RampUtils.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_Format.h>
#include <KIT/KIT_Ramp.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_VarEncode.h>
#include <KIT/KIT_WorkArgs.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <ostream>

namespace
{

constexpr int thePartsOfAKey = 3;
constexpr int theColorSize = 3;
constexpr int theMostColorComponents = 4;

// -------------------------------------------------------------------- //
// Keys
// -------------------------------------------------------------------- //

struct Key
{
    ZEL_Parm *position;
    ZEL_Parm *value;
    ZEL_Parm *interp;

    bool isComplete() const { return position && value && interp; }
};

Key keyOf(const ZEL_Parm &ramp, int item)
{
    const int first = item * thePartsOfAKey;
    return {ramp.getMultiParm(first + ZEL_RAMP_POSITION), ramp.getMultiParm(first + ZEL_RAMP_VALUE),
            ramp.getMultiParm(first + ZEL_RAMP_INTERP)};
}

/// Reads parameters and collects their dependencies.
class Reader
{
public:
    Reader(double time, bool *timeDependent, LNK_MicroNode *dependent)
        : myTime(time), myTimeDependent(timeDependent), myDependent(dependent)
    {}

    template <class T>
    T read(ZEL_Parm &parm, int index)
    {
        // Create the node first: evaluation then flags it, and isTimeDependent() below reads that
        // flag.
        if (myDependent) {
            if (ZEL_ParmMicroNode *node = parm.microNode(index)) {
                myDependent->addExplicitInput(*node);
            }
        }
        T value{};
        parm.getValue(myTime, value, index, myThread);
        if (myTimeDependent && parm.isTimeDependent(index)) {
            *myTimeDependent = true;
        }
        return value;
    }

private:
    double myTime;
    bool *myTimeDependent;
    LNK_MicroNode *myDependent;
    int myThread = BASgetSTID();
};

void readColor(Reader &reader, ZEL_Parm &parm, bool color, float rgba[4])
{
    const int size = std::min(parm.getVectorSize(), theMostColorComponents);
    float values[theMostColorComponents] = {0.0f, 0.0f, 0.0f, 1.0f};
    for (int i = 0; i < size; i++) {
        values[i] = static_cast<float>(reader.read<double>(parm, i));
    }
    for (int i = 0; i < theMostColorComponents; i++) {
        rgba[i] = color ? values[i] : values[0];
    }
}

/// Passes values of one ramp to a setter.
class Writer
{
public:
    Writer(double time, ZEL_RampUtils::ValueSetter setter, void *data)
        : myTime(time), mySetter(setter), myData(data)
    {}

    void number(ZEL_Parm &parm, float value, int index) const
    {
        const ZEL_Multi::KeepItems keep;
        mySetter({&parm, double(value), 0, index, myTime, myData});
    }
    void integer(ZEL_Parm &parm, int value) const
    {
        const ZEL_Multi::KeepItems keep;
        mySetter({&parm, double(value), value, 0, myTime, myData});
    }
    /// False if a parameter of the key is missing, before or after a write. Each is looked up right
    /// before it is written: an event handler of the previous write may have removed it.
    bool key(const ZEL_Parm &ramp, int item, const KIT_RampNode &node, float position,
             bool color) const
    {
        if (!keyOf(ramp, item).isComplete()) {
            return false;
        }
        number(*keyOf(ramp, item).position, position, 0);
        const float rgb[theColorSize] = {node.red, node.green, node.blue};
        for (int i = 0; i < (color ? theColorSize : 1); i++) {
            ZEL_Parm *const value = keyOf(ramp, item).value;
            if (!value) {
                return false;
            }
            number(*value, color ? rgb[i] : node.alpha, i);
        }
        ZEL_Parm *const interp = keyOf(ramp, item).interp;
        if (interp) {
            integer(*interp, ZELgetRampInterp(node.basis));
        }
        return interp != nullptr;
    }

private:
    double myTime;
    ZEL_RampUtils::ValueSetter mySetter;
    void *myData;
};

/// Sets the number of keys; their parameters exist afterwards, as far as the limits allow.
void writeCount(const Writer &writer, double time, ZEL_Parm &parm, int count)
{
    const int thread = BASgetSTID();
    int present = 0;
    parm.getValue(time, present, 0, thread);
    if (present != count) {
        writer.integer(parm, count);
        parm.getValue(time, present, 0, thread);
    }
}

// -------------------------------------------------------------------- //
// Default text
// -------------------------------------------------------------------- //

bool isSeparator(char c)
{
    return c == ' ' || c == '\t' || c == '\n';
}

KIT_ValArray<const char *> splitWords(const char *text, KIT_WorkArgs &storage)
{
    while (*text) {
        const char *end = text;
        while (*end && !isSeparator(*end)) {
            end++;
        }
        if (end != text) {
            storage.append(std::string_view(text, static_cast<size_t>(end - text)));
        }
        text = *end ? end + 1 : end;
    }
    KIT_ValArray<const char *> words;
    for (int64_t i = 0; i < storage.entries(); i++) {
        words.append(storage[i]);
    }
    return words;
}

/// The ramp's child that a word of the text names. A word can't address other parameters: a text
/// from a file must change nothing but the ramp.
ZEL_Parm *childOf(const ZEL_Parm &ramp, const KIT_WorkBuffer &prefix, const char *word)
{
    KIT_WorkBuffer plain(prefix);
    plain.append(word);
    KIT_WorkBuffer token;
    KIT_VarEncode::encodeParm(plain.buffer(), token);
    ZEL_Parm *parm = ramp.getParmList()->getParmPtr(token.buffer());
    return parm && parm->getMultiParmOwner() == ramp.getInstance() ? parm : nullptr;
}

/// An ordinal set from a word deletes its channel, which would otherwise stay in the collection and
/// be linked again at the next look-up of channels.
void clearOrdinalChannels(ZEL_Parm &parm)
{
    constexpr bool sendEvent = false;
    if (ZEL_Kind::find(parm.getType()).wholeNumbers && !parm.getLockedFlag(0)) {
        parm.clearAndDestroyChannels(sendEvent);
    }
}

double positionOf(int64_t item, int64_t count, const KIT_ValArray<double> *keys)
{
    if (keys && keys->entries() > 0) {
        return (*keys)[std::min(item, keys->entries() - 1)];
    }
    return double(item) / double(std::max<int64_t>(count - 1, 1));
}

const char *basisOf(int64_t item, const KIT_StringArray *bases)
{
    if (bases && bases->entries() > 0) {
        return (*bases)[std::min(item, bases->entries() - 1)].nonNullStr();
    }
    return ZELgetRampInterpToken(ZEL_RAMPINTERP_LINEAR);
}

} // namespace

// -------------------------------------------------------------------- //
// The host's object
// -------------------------------------------------------------------- //

void ZEL_RampUtils::updateRampFromMultiParm(double time, const ZEL_Parm &parm, KIT_Ramp *ramp,
                                            bool *timeDependent, LNK_MicroNode *dependent)
{
    if (timeDependent) {
        *timeDependent = false;
    }
    if (!ramp) {
        return;
    }
    ramp->clearAndDestroy();
    if (!parm.isMultiParm()) {
        return;
    }
    Reader reader(time, timeDependent, dependent);
    // Creating its micro node doesn't change the parameter.
    const int wanted = reader.read<int>(const_cast<ZEL_Parm &>(parm), 0);
    const int count = std::min(wanted, parm.getMultiParmNumItems());

    const bool color = parm.isRampTypeColor();
    ramp->setStrictOrder(color);
    if (const ZEL_SpareData *spare = parm.getTemplatePtr()->getSparePtr()) {
        ramp->setColorType(spare->getRampColorType());
    }
    for (int i = 0; i < count; i++) {
        const Key key = keyOf(parm, i);
        if (!key.isComplete()) {
            continue;
        }
        const auto position = static_cast<float>(reader.read<double>(*key.position, 0));
        float rgba[theMostColorComponents];
        readColor(reader, *key.value, color, rgba);
        const KIT_SPLINE_BASIS basis = ZELgetRampBasis(reader.read<int>(*key.interp, 0));
        ramp->insertNode(ramp->getNodeCount(), position, rgba, basis, true);
    }
    ramp->clearSelection();
    ramp->reorderNodes();
}

void ZEL_RampUtils::updateMultiParmFromRamp(double time, const KIT_Ramp &ramp, ZEL_Parm &parm,
                                            bool addWrapKey, ZEL_AddKeyType addKey)
{
    updateMultiParmFromRamp(time, ramp, parm, addWrapKey, &setParmValue, &addKey);
}

void ZEL_RampUtils::updateMultiParmFromRamp(double time, const KIT_Ramp &ramp, ZEL_Parm &parm,
                                            bool addWrapKey, ValueSetter setter, void *data)
{
    constexpr float theWrapPosition = 1.0f;
    // A key at 0.99999 counts as close enough; no 32-bit float equals that exactly.
    constexpr double theWrapTolerance = 1e-05 + double(std::numeric_limits<float>::epsilon());
    const int nodes = ramp.getNodeCount();
    if (!parm.isMultiParm() || !setter) {
        return;
    }
    if (nodes == 0 || std::fabs(double(ramp.getNode(nodes - 1)->position) -
                                double(theWrapPosition)) <= theWrapTolerance) {
        addWrapKey = false;
    }
    const Writer writer(time, setter, data);
    const int count = nodes + (addWrapKey ? 1 : 0);
    writeCount(writer, time, parm, count);

    const bool color = parm.isRampTypeColor();
    for (int i = 0; i < count; i++) {
        const KIT_RampNode &node = *ramp.getNode(i < nodes ? i : 0);
        if (!writer.key(parm, i, node, i < nodes ? node.position : theWrapPosition, color)) {
            return;
        }
    }
}

void ZEL_RampUtils::setParmValue(ValueData value)
{
    constexpr bool keepExpression = false;
    constexpr bool propagate = true;
    const auto addKey = *static_cast<const ZEL_AddKeyType *>(value.data);
    ZEL_Parm &parm = *value.parm;
    if (parm.isMultiParm() || ZEL_Kind::find(parm.getType()).wholeNumbers) {
        parm.setValue(value.time, value.integer, keepExpression, value.index, addKey, propagate);
        return;
    }
    // A value such as 0.1 was narrowed to a 32-bit float on the way: keep the wider number if it is
    // equal.
    double number = 0.0;
    parm.getValue(value.time, number, value.index, BASgetSTID());
    if (static_cast<float>(number) != static_cast<float>(value.value)) {
        number = value.value;
    }
    parm.setValue(value.time, number, keepExpression, value.index, addKey, propagate);
}

void ZEL_RampUtils::getRampValuesFromParm(KIT_ValArray<double> &values, int &components,
                                          KIT_ValArray<double> &keys, KIT_StringArray &bases,
                                          const KIT_Ramp &ramp, bool color)
{
    values.clear();
    keys.clear();
    bases.clear();
    components = 1;
    for (int i = 0; i < ramp.getNodeCount(); i++) {
        const KIT_RampNode &node = *ramp.getNode(i);
        keys.append(double(node.position));
        bases.append(ZELgetRampInterpToken(ZELgetRampInterp(node.basis)));
        if (color) {
            components = theColorSize;
            values.append(double(node.red));
            values.append(double(node.green));
            values.append(double(node.blue));
        } else {
            values.append(double(node.alpha));
        }
    }
}

// -------------------------------------------------------------------- //
// Default text
// -------------------------------------------------------------------- //

void ZEL_RampUtils::getRampDefaultString(KIT_WorkBuffer &out, const KIT_ValArray<double> &values,
                                         int components, const KIT_ValArray<double> *keys,
                                         const KIT_StringArray *bases)
{
    out.clear();
    const int64_t count = components > 0 ? values.entries() / components : 0;
    const char *valueWord = components == 1 ? "value" : "c";
    for (int64_t i = 0; i < count; i++) {
        if (i > 0) {
            out.append(' ');
        }
        KITformatAppend(out, "{0}pos ( {1:g} ) {0}interp ( {2} ) {0}{3} (", i + 1,
                        positionOf(i, count, keys), basisOf(i, bases), valueWord);
        for (int c = 0; c < components; c++) {
            KITformatAppend(out, " {:g}", values[i * components + c]);
        }
        out.append(" )");
    }
}

void ZEL_RampUtils::getRampParmFromDefault(ZEL_Parm &parm, const char *text)
{
    if (!text || !parm.isRampType() || !parm.getParmList()) {
        return;
    }
    constexpr int allComponents = -1;
    constexpr bool asSet = false;
    KIT_WorkBuffer prefix;
    ZELgetRampDecodedParmPrefix(parm.getToken(), prefix);
    KIT_WorkArgs storage;
    const KIT_ValArray<const char *> words = splitWords(text, storage);

    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    const auto count = static_cast<int>(words.entries());
    for (int i = 0; i < count; i++) {
        if (ZEL_Parm *child = childOf(parm, prefix, words[i])) {
            clearOrdinalChannels(*child);
            i += child->loadCommand(count - i - 1, words.begin() + i + 1, allComponents, asSet,
                                    ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
            // Ordinals don't set dirty flags when they load.
            child->setDirtyFlags(-1);
        }
    }
}

void ZEL_RampUtils::setRampDefaultFromParm(std::ostream &os, const ZEL_Parm &parm)
{
    if (!parm.isRampType()) {
        return;
    }
    constexpr int plainValues = 1;
    constexpr int allComponents = -1;
    KIT_WorkBuffer prefix;
    ZELgetRampDecodedParmPrefix(parm.getToken(), prefix);

    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    const int count = parm.getMultiParmNumItems() * parm.getMultiParmInstancesPerItem();
    const char *separator = "";
    for (int i = 0; i < count; i++) {
        const ZEL_Parm *child = parm.getMultiParm(i);
        if (!child) {
            continue;
        }
        KIT_WorkBuffer token;
        KIT_VarEncode::decodeParm(child->getToken(), token);
        if (token.view().substr(0, prefix.length()) == prefix.view()) {
            os << separator << token.view().substr(prefix.length());
            child->saveCommand(os, plainValues, allComponents);
            separator = " ";
        }
    }
}

// -------------------------------------------------------------------- //
// Interpolation
// -------------------------------------------------------------------- //

namespace
{

// Indexed by ZEL_RampInterpType. The host's basis 4 has no type.
constexpr KIT_SPLINE_BASIS theBases[] = {
    KIT_BASIS_CONSTANT, KIT_BASIS_LINEAR,  KIT_BASIS_CATMULL_ROM, KIT_BASIS_MONOTONE_CUBIC,
    KIT_BASIS_BEZIER,   KIT_BASIS_BSPLINE, KIT_BASIS_HERMITE,
};
static_assert(std::size(theBases) == ZEL_RAMPINTERP_HERMITE + 1);

} // namespace

KIT_SPLINE_BASIS ZELgetRampBasis(int interpType)
{
    return interpType >= 0 && interpType < int(std::size(theBases)) ? theBases[interpType]
                                                                    : KIT_BASIS_CONSTANT;
}

ZEL_RampInterpType ZELgetRampInterp(KIT_SPLINE_BASIS basis)
{
    const auto *const found = std::find(std::begin(theBases), std::end(theBases), basis);
    return found == std::end(theBases) ? ZEL_RAMPINTERP_CONSTANT
                                       : ZEL_RampInterpType(found - std::begin(theBases));
}
