#include <NOD/NOD_Edit.h>

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_IntHandle.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_StringHandle.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace
{

constexpr bool thePropagate = true;
constexpr bool theSendEvent = true;
constexpr bool theUpdateMulti = true;

double now(const NOD_Node &node)
{
    return node.getParms().getEvalTime(BASgetSTID());
}

/// The number of a menu's entry, or of digits; false if it is neither.
bool findEntry(const ZEL_Parm &parm, std::string_view token, std::int64_t &number)
{
    constexpr bool quiet = true;
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    const ZEL_Name *names = nullptr;
    if (menu) {
        menu->getChoiceNames(names, parm.getParmOwner(), parm.getSparePtr(), &parm, quiet);
    }
    for (int i = 0; names && !names[i].isSentinel(); ++i) {
        if (names[i].getToken() == token) {
            number = i;
            return true;
        }
    }
    const std::from_chars_result end =
        std::from_chars(token.data(), token.data() + token.size(), number);
    return end.ec == std::errc() && end.ptr == token.data() + token.size();
}

bool fitsInteger(double value)
{
    constexpr double end = 9223372036854775808.0;
    return std::abs(value) < end;
}

/// Whether a component of numbers takes the values.
bool fitKeys(NOD_Node &node, std::string_view name, const std::vector<TRK_FullKey> &keys)
{
    if (!ZEL_IntHandle(node.getParms(), name)) {
        return bool(ZEL_FloatHandle(node.getParms(), name));
    }
    return std::all_of(keys.begin(), keys.end(), [](const TRK_FullKey &key) {
        return fitsInteger(key.in.value) && fitsInteger(key.out.value);
    });
}

} // namespace

/// A component of a parameter, or all of them.
struct NOD_Edit::Place
{
    explicit operator bool() const { return parm != nullptr; }

    ZEL_Parm *parm = nullptr;
    int first = 0;
    int end = 0;
};

// ---------------------------------------------------------------------- //
// Blocks
// ---------------------------------------------------------------------- //

NOD_Edit::NOD_Edit(NOD_UndoStack &stack, const std::string &label)
    : myBatch(stack.getRoot()), myStack(&stack)
{
    myStack->begin(label);
}

NOD_Edit::NOD_Edit(NOD_Scene &scene, const std::string &label) : NOD_Edit(scene.getUndo(), label) {}

NOD_Edit::NOD_Edit(NOD_Node &node, const std::string &label)
    : myBatch(node), myStack(node.getUndo())
{
    if (myStack) {
        myStack->begin(label);
    }
}

NOD_Edit::~NOD_Edit()
{
    if (myStack) {
        myStack->endOrForget();
    }
}

bool NOD_Edit::cancel()
{
    const bool cancelled = myStack && myStack->cancel();
    myStack = cancelled ? nullptr : myStack;
    return cancelled;
}

void NOD_Edit::change(NOD_Node &node)
{
    if (myStack) {
        myStack->change(node);
    }
}

void NOD_Edit::change(NOD_Node &node, ZEL_Parm &parm)
{
    if (myStack) {
        myStack->change(node, parm);
    }
}

bool NOD_Edit::change(NOD_Node &node, std::string_view name)
{
    const Place place = find(node, name);
    if (place) {
        change(node, *place.parm);
    }
    return bool(place);
}

NOD_Edit::Place NOD_Edit::find(NOD_Node &node, std::string_view name, bool wholeFlag)
{
    const std::string text(name);
    const KIT_StringRef token(text.c_str());
    if (ZEL_Parm *const parm = node.getParms().getParmPtr(token)) {
        return {parm, 0, wholeFlag ? parm->getVectorSize() : std::min(parm->getVectorSize(), 1)};
    }
    int index = 0;
    ZEL_Parm *const parm = node.getParms().getParmPtrFromChannel(token, &index);
    return parm ? Place{parm, index, index + 1} : Place();
}

// ---------------------------------------------------------------------- //
// Values
// ---------------------------------------------------------------------- //

bool NOD_Edit::set(NOD_Node &node, std::string_view name, double value, ZEL_SetOptions options)
{
    ZEL_FloatHandle number(node.getParms(), name);
    if (!number) {
        return false;
    }
    change(node, *number.parm());
    return number.set(value, options);
}

bool NOD_Edit::set(NOD_Node &node, std::string_view name, std::int64_t value,
                   ZEL_SetOptions options)
{
    ZEL_IntHandle number(node.getParms(), name);
    if (!number) {
        return set(node, name, double(value), options);
    }
    change(node, *number.parm());
    return number.set(value, options);
}

bool NOD_Edit::set(NOD_Node &node, std::string_view name, std::string_view text,
                   ZEL_SetOptions options)
{
    ZEL_StringHandle string(node.getParms(), name);
    if (string) {
        change(node, *string.parm());
        return string.set(text, options);
    }
    const Place place = find(node, name);
    std::int64_t number = 0;
    return place && place.parm->getType().isOrdinalType() && findEntry(*place.parm, text, number) &&
           set(node, name, number, options);
}

bool NOD_Edit::set(NOD_Node &node, std::string_view token, std::initializer_list<double> values,
                   ZEL_SetOptions options)
{
    const Place place = find(node, token, true);
    if (!place || place.first != 0 || place.end != int(values.size()) ||
        place.parm->areAllComponentsLocked()) {
        return false;
    }
    change(node, *place.parm);
    return place.parm->setValues(now(node), values.begin(), options.replaceExpression(),
                                 options.addKey(), options.propagate());
}

bool NOD_Edit::revert(NOD_Node &node, std::string_view name)
{
    const Place place = find(node, name, true);
    bool reverted = false;
    for (int k = place.first; k < place.end; ++k) {
        if (!place.parm->getLockedFlag(k)) {
            change(node, *place.parm);
            place.parm->revertToDefault(now(node), k, thePropagate);
            reverted = true;
        }
    }
    return reverted;
}

// ---------------------------------------------------------------------- //
// Keys and expressions
// ---------------------------------------------------------------------- //

bool NOD_Edit::key(NOD_Node &node, std::string_view name, double time, double value)
{
    const Place place = find(node, name);
    ZEL_IntHandle integer(node.getParms(), name);
    if (!place || (integer && !fitsInteger(value))) {
        return false;
    }
    change(node, *place.parm);
    return integer ? integer.key(time, std::llround(value))
                   : ZEL_FloatHandle(node.getParms(), name).key(time, value);
}

bool NOD_Edit::key(NOD_Node &node, std::string_view name, double time, std::string_view text)
{
    ZEL_StringHandle string(node.getParms(), name);
    if (!string) {
        return false;
    }
    change(node, *string.parm());
    return string.key(time, text);
}

bool NOD_Edit::removeKey(NOD_Node &node, std::string_view name, double time)
{
    return removeKeys(node, name, {time});
}

bool NOD_Edit::removeKeys(NOD_Node &node, std::string_view name, const std::vector<double> &times)
{
    const Place place = find(node, name);
    TRK_Channel *const channel = place ? place.parm->getChannel(place.first) : nullptr;
    const bool thereFlag = channel && std::all_of(times.begin(), times.end(), [&](double time) {
                               return channel->findKey(time) >= 0;
                           });
    if (!thereFlag || channel->getNKeys() <= int(times.size()) ||
        place.parm->getLockedFlag(place.first)) {
        return false;
    }
    change(node, *place.parm);
    for (const double time : times) {
        channel->removeKey(time);
    }
    place.parm->privateValueChanged(place.first, theSendEvent, theUpdateMulti);
    return true;
}

bool NOD_Edit::replaceKeys(NOD_Node &node, std::string_view name,
                           const std::vector<TRK_FullKey> &keys)
{
    const Place place = find(node, name);
    if (!place || place.parm->getLockedFlag(place.first)) {
        return false;
    }
    if (keys.empty()) {
        return !place.parm->getChannel(place.first) || removeChannel(node, name);
    }
    if (!fitKeys(node, name, keys)) {
        return false;
    }
    change(node, *place.parm);
    place.parm->removeChannel(place.first);
    return putKeys(node, name, keys);
}

bool NOD_Edit::putKeys(NOD_Node &node, std::string_view name, const std::vector<TRK_FullKey> &keys)
{
    const Place place = find(node, name);
    const bool lockFlag = place && place.parm->getLockedFlag(place.first);
    if (!place || lockFlag || keys.empty()) {
        return place && !lockFlag;
    }
    if (!fitKeys(node, name, keys)) {
        return false;
    }
    change(node, *place.parm);
    if (!place.parm->getChannel(place.first) && !key(node, name, keys[0].time, keys[0].out.value)) {
        return false;
    }
    TRK_Channel *const channel = place.parm->getChannel(place.first);
    const ZEL_Range *const range = place.parm->getRangePtr();
    const bool integerFlag = bool(ZEL_IntHandle(node.getParms(), name));
    for (std::size_t i = 0; channel && i < keys.size(); ++i) {
        TRK_FullKey one = keys[i];
        if (integerFlag) {
            one.in.value = std::round(one.in.value);
            one.out.value = std::round(one.out.value);
        }
        if (range) {
            one.in.value = range->constrain(one.in.value);
            one.out.value = range->constrain(one.out.value);
        }
        channel->putFullKey(one);
    }
    place.parm->privateValueChanged(place.first, theSendEvent, theUpdateMulti);
    return channel != nullptr;
}

bool NOD_Edit::moveKey(NOD_Node &node, std::string_view name, double time, double newTime)
{
    const Place place = find(node, name);
    TRK_Channel *const channel = place ? place.parm->getChannel(place.first) : nullptr;
    TRK_FullKey key;
    if (!channel || channel->findKey(time) < 0 || channel->findKey(newTime) >= 0 ||
        place.parm->getLockedFlag(place.first) || !channel->getFullKey(time, key)) {
        return false;
    }
    change(node, *place.parm);
    key.time = newTime;
    channel->putFullKey(key);
    channel->removeKey(time);
    place.parm->privateValueChanged(place.first, theSendEvent, theUpdateMulti);
    return true;
}

bool NOD_Edit::expression(NOD_Node &node, std::string_view name, std::string_view text,
                          TRK_ExprLanguage language)
{
    const Place place = find(node, name);
    if (!place) {
        return false;
    }
    change(node, *place.parm);
    ZEL_FloatHandle number(node.getParms(), name);
    ZEL_IntHandle integer(node.getParms(), name);
    ZEL_StringHandle string(node.getParms(), name);
    return number    ? number.expression(text, language)
           : integer ? integer.expression(text, language)
                     : string && string.expression(text, language);
}

bool NOD_Edit::removeChannel(NOD_Node &node, std::string_view name)
{
    const Place place = find(node, name);
    if (!place || !place.parm->getChannel(place.first) || place.parm->getLockedFlag(place.first)) {
        return false;
    }
    change(node, *place.parm);
    const double time = now(node);
    const int thread = BASgetSTID();
    if (place.parm->getType().isStringType()) {
        constexpr bool expand = true;
        KIT_String value;
        place.parm->getValue(time, value, place.first, expand, thread);
        place.parm->removeChannel(place.first);
        place.parm->setValue(time, value.nonNullStr(), TRK_MEANING_LITERAL, false, place.first,
                             ZEL_ADDKEY_PENDING, thePropagate);
    } else {
        double value = 0.0;
        place.parm->getValue(time, value, place.first, thread);
        place.parm->removeChannel(place.first);
        place.parm->setValue(time, value, false, place.first, ZEL_ADDKEY_PENDING, thePropagate);
    }
    return true;
}

// ---------------------------------------------------------------------- //
// Marks and names
// ---------------------------------------------------------------------- //

bool NOD_Edit::lock(NOD_Node &node, std::string_view name, bool locked)
{
    const Place place = find(node, name, true);
    for (int k = place.first; k < place.end; ++k) {
        change(node, *place.parm);
        place.parm->setLockedFlag(k, locked);
    }
    return bool(place);
}

bool NOD_Edit::alias(NOD_Node &node, std::string_view name, std::string_view alias)
{
    const Place place = find(node, name);
    if (!place) {
        return false;
    }
    change(node, *place.parm);
    const std::string text(alias);
    if (!node.getParms().setChannelAlias(place.parm, place.first, KIT_StringHolder(text.c_str()))) {
        return false;
    }
    if (NOD_Graph *const graph = node.getGraph()) {
        graph->channelsChanged(node);
    }
    place.parm->privateValueChanged(place.first, theSendEvent, theUpdateMulti);
    return true;
}

// ---------------------------------------------------------------------- //
// Items
// ---------------------------------------------------------------------- //

/// Null if it has no item of that number, or is locked. Announces it.
ZEL_Parm *NOD_Edit::findBlock(NOD_Node &node, std::string_view token, int item, int end)
{
    const Place place = find(node, token);
    if (!place || !place.parm->isMultiParm() || place.parm->areAllComponentsLocked()) {
        return nullptr;
    }
    change(node, *place.parm);
    int count = 0;
    place.parm->getValue(now(node), count, 0, BASgetSTID());
    return item >= 0 && item < place.parm->getMultiParmNumItems() + end ? place.parm : nullptr;
}

bool NOD_Edit::insertItem(NOD_Node &node, std::string_view token, int item)
{
    ZEL_Parm *const parm = findBlock(node, token, item, 1);
    if (parm) {
        node.getParms().insertMultiParmItem(node.getParms().getParmIndex(parm), item);
    }
    return parm != nullptr;
}

bool NOD_Edit::removeItem(NOD_Node &node, std::string_view token, int item)
{
    ZEL_Parm *const parm = findBlock(node, token, item, 0);
    if (parm) {
        node.getParms().removeMultiParmItem(node.getParms().getParmIndex(parm), item);
    }
    return parm != nullptr;
}

bool NOD_Edit::moveItem(NOD_Node &node, std::string_view token, int item, int newItem)
{
    ZEL_Parm *const parm = findBlock(node, token, item, 0);
    if (!parm || !findBlock(node, token, newItem, 0)) {
        return false;
    }
    for (const int step = newItem > item ? 1 : -1; item != newItem; item += step) {
        parm->swapMultiParmItem(item, item + step);
    }
    parm->privateValueChanged(-1, theSendEvent, theUpdateMulti);
    return true;
}
