#include "ZELT_Session.h"

#include "ZELT_Format.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_String.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>

namespace
{

constexpr bool thePropagate = true;

/// Null for a text that is no JSON object.
std::shared_ptr<const ZEL_DataItem> parseDictionary(const std::string &text)
{
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    KIT_AutoJSONParser parser(stream);
    KIT_JSONValue value;
    value.parseValue(parser);
    KIT_JSONValueMap *const map = value.getMap();
    return map ? std::make_shared<ZEL_KeyValueDictDataItem>(map) : nullptr;
}

/// Why a component can't be changed at that time, "" if it can.
std::string refusal(const ZEL_Parm &parm, int index, double time)
{
    const std::string token = parm.getToken();
    return parm.getLockedFlag(index)                 ? token + " is locked"
           : !parm.canAccess(ZEL_Parm::theWriteMask) ? token + " isn't allowed to change"
           : !parm.isEditable(time, index)           ? token + " can't be changed"
                                                     : "";
}

/// Whether an expression drives the component at that time, which a value then replaces. A curve
/// between keys stays one.
bool hasExpression(const ZEL_Parm &parm, int index, double time)
{
    const TRK_Channel *const channel = parm.getChannel(index);
    const TRK_Segment *const segment = channel ? channel->getExpressionSegment(time) : nullptr;
    return segment && !segment->isInterpolated();
}

/// A key from which the value runs in a straight line to the next.
std::string makeKey(ZEL_Parm &parm, int index, double time, double value)
{
    const std::string refused = refusal(parm, index, time);
    if (!refused.empty()) {
        return refused;
    }
    const bool freshFlag = !parm.getChannel(index);
    parm.addChannel(index);
    TRK_Channel *const channel = parm.getChannel(index);
    if (!channel) {
        return std::string(parm.getToken()) + " can't be animated";
    }
    TRK_FullKey key;
    key.time = time;
    key.in.value = value;
    key.out.value = value;
    key.expression = KIT_StringHolder(TRKinterpolatorToString(TRK_INTERP_LINEAR));
    channel->putFullKey(key);
    // A new channel has a key of its own, which was not requested.
    while (freshFlag && channel->getNKeys() > 1) {
        const bool firstFlag = channel->findKey(time) != 0;
        channel->removeKey(channel->getKeyTime(firstFlag ? 0 : 1));
    }
    constexpr bool sendEvent = true;
    constexpr bool updateMulti = true;
    parm.privateValueChanged(index, sendEvent, updateMulti);
    return "";
}

/// The place of a menu's token; -1 if it has none.
int findMenuToken(const ZEL_Parm &parm, const std::string &token)
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

/// Splits at the first of a character; false without one.
bool splitAt(const std::string &text, char c, std::string &left, std::string &right)
{
    const std::size_t place = text.find(c);
    if (place == std::string::npos) {
        return false;
    }
    left = text.substr(0, place);
    right = text.substr(place + 1);
    return true;
}

std::string unreadable()
{
    return "can't be read: " + KITsystemReason();
}

constexpr const char *theNotWhole = "isn't loaded as a whole";

/// What a block has instead of the items that were asked for; "" if it has them. The library's own
/// message about the refused item is dropped if an event handler's read makes the items.
std::string missedCount(const ZEL_Parm &multi, const std::string &value, double time)
{
    double wanted = 0.0;
    ZELTparseNumber(value, wanted);
    wanted = std::max(wanted, 0.0);
    if (const ZEL_Range *const range = multi.getTemplatePtr()->getRangePtr()) {
        wanted = range->hasParmMin() ? std::max(wanted, range->getParmMin()) : wanted;
        wanted = range->hasParmMax() ? std::min(wanted, range->getParmMax()) : wanted;
    }
    int count = 0;
    multi.getValue(time, count, 0, BASgetSTID());
    count = std::max(count, 0); // a negative value has none
    return std::fabs(count - wanted) <= 0.5
               ? ""
               : multi.getToken() + std::string(" keeps ") + std::to_string(count) + " items";
}

} // namespace

ZELT_Session::ZELT_Session(const NOD_Interface &script)
    : mySource(myRoot), myNode(myRoot.addChild(script.getTypeName().c_str(), script.getTemplates()))
{
    growBlocks(0.0);
}

ZELT_Session::ZELT_Session(ZELT_ScriptPtr script) : ZELT_Session(*script)
{
    myScript = std::move(script);
}

ZELT_Session::~ZELT_Session() = default;

std::unique_ptr<ZELT_Session> ZELT_Session::open(const std::string &file, ZELT_Messages &messages)
{
    ZELT_ScriptPtr script = ZELTloadScript(file, messages);
    return std::unique_ptr<ZELT_Session>(script ? new ZELT_Session(std::move(script)) : nullptr);
}

std::unique_ptr<ZELT_Session> ZELT_Session::open(const ZELT_NodeCall &call, ZELT_Messages &messages)
{
    std::unique_ptr<ZELT_Session> session = open(call.file, messages);
    if (session && !ZELTapplyInputs(*session, call.inputs, call.time, messages)) {
        return nullptr;
    }
    return session;
}

// -------------------------------------------------------------------- //
// Files
// -------------------------------------------------------------------- //

KIT_IStream::Mode ZELT_Session::streamMode(const KIT_IStream &is)
{
    // The numbers in front of a binary stream have bytes of zero, which no text has.
    constexpr std::size_t lookedAt = 64;
    return is.rest().substr(0, lookedAt).find('\0') == std::string_view::npos ? KIT_IStream::TEXT
                                                                              : KIT_IStream::BINARY;
}

std::string ZELT_Session::loadValues(const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), KIT_IStream::TEXT, ZEL_ParmList::canBeStream);
    if (!is.isReadable()) {
        return unreadable();
    }
    is.setBinary(streamMode(is) == KIT_IStream::BINARY);
    const bool loaded = getParms().load(is, file.c_str(), nullptr);
    growBlocks(0.0);
    return loaded ? "" : theNotWhole;
}

std::string ZELT_Session::loadChannels(const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (!is.isReadable()) {
        return unreadable();
    }
    return myNode->loadChannels(is) ? "" : theNotWhole;
}

void ZELT_Session::growBlocks(double time)
{
    const ZEL_InputBudget budget(0);
    // The items of a block may hold blocks of their own, which come after it in the list.
    for (int i = 0; i < getParms().getEntries(); ++i) {
        const ZEL_Parm *const parm = getParms().getParmPtr(i);
        if (parm->isMultiParm()) {
            int count = 0;
            parm->getValue(time, count, 0, BASgetSTID());
        }
    }
}

// -------------------------------------------------------------------- //
// Components
// -------------------------------------------------------------------- //

std::string ZELT_Session::resolve(const std::string &text, ZELT_Address &address)
{
    const std::size_t colon = text.rfind(':');
    int index = -1;
    std::string token = text;
    if (colon != std::string::npos) {
        token = text.substr(0, colon);
        if (!ZELTparseInteger(text.substr(colon + 1), index) || index < 0) {
            return "the index of " + text + " isn't a number from 0 on";
        }
    }
    address.parm = getParms().getParmPtr(token.c_str());
    if (!address.parm && colon == std::string::npos) {
        address.parm = getParms().getParmPtrFromChannel(token.c_str(), &index);
    }
    if (!address.parm) {
        return "there is no parameter " + token;
    }
    if (!address.parm->getInstance()) {
        address.parm = nullptr;
        return token + " is a base parameter, which has no value";
    }
    const int size = address.parm->getVectorSize();
    if (index >= size) {
        return token + " has no component " + std::to_string(index);
    }
    address.first = index < 0 ? 0 : index;
    address.end = index < 0 ? size : index + 1;
    return "";
}

std::string ZELT_Session::setComponent(ZEL_Parm &parm, int index, const std::string &value,
                                       double time)
{
    const ZEL_Type &type = parm.getType();
    const std::string refused = refusal(parm, index, time);
    if (!refused.empty()) {
        return refused;
    }
    if (type.isStringType()) {
        parm.setValue(time, value.c_str(), TRK_MEANING_LITERAL, hasExpression(parm, index, time),
                      index, ZEL_ADDKEY_PENDING, thePropagate);
        return "";
    }
    if (type.isDataType()) {
        if (!type.hasDataType(ZEL_Type::ZEL_DATA_KEY_VALUE_DICT)) {
            return std::string(parm.getToken()) + " holds data, which has no text";
        }
        const std::shared_ptr<const ZEL_DataItem> item = parseDictionary(value);
        if (!item) {
            return ZELTquote(value) + " is no JSON object for " + parm.getToken();
        }
        parm.setValue(time, item, hasExpression(parm, index, time), index, ZEL_ADDKEY_PENDING,
                      thePropagate);
        return "";
    }
    double number = 0.0;
    if (!ZELTparseNumber(value, number)) {
        const int place = type.isOrdinalType() ? findMenuToken(parm, value) : -1;
        if (place < 0) {
            return ZELTquote(value) +
                   (type.isOrdinalType() ? " is no number, and not in the menu of "
                                         : " is no number for ") +
                   parm.getToken();
        }
        number = place;
    }
    parm.setValue(time, number, hasExpression(parm, index, time), index, ZEL_ADDKEY_PENDING,
                  thePropagate);
    return "";
}

std::string ZELT_Session::set(const std::string &text, const std::string &value, double time)
{
    const ZEL_InputBudget budget(0);
    ZELT_Address address;
    std::string fault = resolve(text, address);
    for (int i = address.first; fault.empty() && i < address.end; ++i) {
        fault = setComponent(*address.parm, i, value, time);
    }
    if (address.parm && address.parm->isMultiParm()) {
        growBlocks(time);
        fault = fault.empty() ? missedCount(*address.parm, value, time) : fault;
    }
    return fault;
}

std::string ZELT_Session::setExpression(const std::string &text, const std::string &expression,
                                        TRK_ExprLanguage language, double time)
{
    constexpr bool evaluate = false;
    constexpr bool deleteChannel = true;
    ZELT_Address address;
    const std::string fault = resolve(text, address);
    for (int i = address.first; fault.empty() && i < address.end; ++i) {
        const std::string refused = refusal(*address.parm, i, time);
        if (!refused.empty()) {
            return refused;
        }
        address.parm->setExpression(time, expression.c_str(), language, i, evaluate, deleteChannel,
                                    thePropagate);
        if (!TRK_Collection::isValidChannelName(address.parm->getChannelToken(i).c_str()) &&
            !KIT_String(expression.c_str()).isFloat()) {
            return std::string(address.parm->getToken()) + " can't be animated";
        }
    }
    if (address.parm && address.parm->isMultiParm()) {
        growBlocks(time);
    }
    return fault;
}

std::string ZELT_Session::setKey(const std::string &text, double time, const std::string &value)
{
    ZELT_Address address;
    const std::string fault = resolve(text, address);
    double number = 0.0;
    if (!fault.empty()) {
        return fault;
    }
    if (!address.parm->getType().isFloatType() && !address.parm->getType().isOrdinalType()) {
        return std::string(address.parm->getToken()) + " holds no numbers to key";
    }
    if (!ZELTparseNumber(value, number)) {
        return ZELTquote(value) + " is no number";
    }
    for (int i = address.first; i < address.end; ++i) {
        const std::string refused = makeKey(*address.parm, i, time, number);
        if (!refused.empty()) {
            return refused;
        }
    }
    return "";
}

// -------------------------------------------------------------------- //
// The command line
// -------------------------------------------------------------------- //

std::string ZELT_Session::applySet(const std::string &option, double time)
{
    std::string address;
    std::string value;
    return splitAt(option, '=', address, value) ? set(address, value, time) : option + " has no =";
}

std::string ZELT_Session::applyExpression(const std::string &option, double time)
{
    std::string address;
    std::string text;
    return splitAt(option, '=', address, text)
               ? setExpression(address, text, TRK_LANGUAGE_NATIVE, time)
               : option + " has no =";
}

std::string ZELT_Session::applyKey(const std::string &option)
{
    std::string left;
    std::string value;
    std::string address;
    std::string time;
    double seconds = 0.0;
    if (!splitAt(option, '=', left, value) || !splitAt(left, '@', address, time) ||
        !ZELTparseNumber(time, seconds)) {
        return option + " isn't of the form TOKEN[:INDEX]@TIME=VALUE";
    }
    return setKey(address, seconds, value);
}

bool ZELTtakeFault(const std::string &file, const std::string &fault, ZELT_Messages &messages)
{
    const int before = messages.getErrorCount();
    messages.takeErrors(file);
    // What the library has reported needs no second message.
    if (!fault.empty() && messages.getErrorCount() == before) {
        messages.error(file, fault);
    }
    return messages.getErrorCount() == before;
}

bool ZELTapplyInputs(ZELT_Session &session, const ZELT_Inputs &inputs, double time,
                     ZELT_Messages &messages)
{
    const ZEL_InputBudget budget(std::int64_t(inputs.sets.size() + inputs.expressions.size()));
    bool good = true;
    const auto report = [&](const std::string &fault) {
        good = ZELTtakeFault("", fault, messages) && good;
    };
    report(""); // what making the parameters reported
    // Values may refer to channels, so these come first; a plain value removes its channel, so they
    // are loaded again: what the channel file animates is animated.
    if (!inputs.channels.empty()) {
        good = ZELTtakeFault(inputs.channels, session.loadChannels(inputs.channels), messages);
    }
    if (!inputs.values.empty()) {
        good = ZELTtakeFault(inputs.values, session.loadValues(inputs.values), messages) && good;
        if (!inputs.channels.empty()) {
            const KIT_ErrorManager::Scope reportedAlready(BASgetSTID());
            session.loadChannels(inputs.channels);
        }
    }
    for (const std::string &option : inputs.sets) {
        report(session.applySet(option, time));
    }
    for (const std::string &option : inputs.expressions) {
        report(session.applyExpression(option, time));
    }
    for (const std::string &option : inputs.keys) {
        report(session.applyKey(option));
    }
    session.growBlocks(time);
    report("");
    return good;
}

std::string ZELTevaluationError(int error)
{
    std::string text = EVL::getErrorText(error);
    std::string reason = error == EVL::EVL_PYTHON ? SNKgetExpressionError() : "";
    while (!reason.empty() && reason.back() == '\n') {
        reason.pop_back();
    }
    if (!reason.empty()) {
        text += ": " + reason.substr(reason.rfind('\n') + 1);
    }
    return text;
}
