#include <NOD/NOD_TextEdit.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TimeText.h>
#include <NOD/text/NOD_NumberTextPrivate.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

/// Why an edit isn't made; without a text it is.
struct NOD_EditFault
{
    std::string text = {};
    std::string word = {};                  ///< of the value; "" where the address is at fault
    std::vector<std::string> expected = {}; ///< one of which may have been meant
    std::int64_t offset = -1;               ///< in the word; -1: all of it

    bool empty() const { return text.empty(); }
};

namespace
{

constexpr bool thePropagate = true;

std::string quoted(std::string_view text)
{
    KIT_WorkBuffer buffer;
    buffer.appendQuoted(text);
    return std::string(buffer.view());
}

/// Where a text stops to be JSON; -1 where it doesn't.
std::int64_t findJsonFault(const std::string &text)
{
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    KIT_AutoJSONParser parser(stream);
    KIT_JSONValue value;
    value.parseValue(parser);
    return parser.getFaultOffset();
}

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

bool hasNumbers(const ZEL_Parm &parm)
{
    return parm.getType().isFloatType() || parm.getType().isOrdinalType();
}

// ---------------------------------------------------------------------- //
// Texts as values
// ---------------------------------------------------------------------- //

/// A value of a parameter of numbers; in `fault` why it is none.
double numberOf(const ZEL_Parm &parm, const std::string &value, NOD_EditFault &fault)
{
    const bool ordinalFlag = parm.getType().isOrdinalType();
    const std::vector<std::string> words =
        ordinalFlag ? NODordinalWords(parm) : std::vector<std::string>();
    double number = 0.0;
    if (!NODreadFloat(value, number)) {
        auto found = std::find(words.begin(), words.end(), value);
        const bool toggleFlag = parm.getType().getOrdinalType() == ZEL_Type::ZEL_ORD_TOGGLE;
        if (found != words.end()) {
            return double(found - words.begin());
        }
        if (toggleFlag && (value == "on" || value == "off")) {
            return value == "on" ? 1.0 : 0.0;
        }
        fault = {
            quoted(value) +
                (ordinalFlag ? " is no number, and not in the menu of " : " is no number for ") +
                parm.getToken(),
            value, words};
    } else if (!std::isfinite(number)) {
        fault = {quoted(value) + " is no finite number for " + parm.getToken(), value};
    } else if (!words.empty() &&
               (number < 0.0 || number >= double(words.size()) || std::floor(number) < number)) {
        fault = {quoted(value) + " is no entry of " + parm.getToken() + ", which are 0 to " +
                     std::to_string(words.size() - 1),
                 value};
    }
    return number;
}

std::string numberText(double number)
{
    return KIT_Digits(number).buffer();
}

/// What a range or a whole number made of a number that was set; "" if it is that number.
std::string changeOf(const ZEL_Parm &parm, int index, double number, double time)
{
    const ZEL_Template *const description = parm.getTemplatePtr();
    const ZEL_Range *const range = description ? description->getRangePtr() : nullptr;
    const bool outsideFlag = range && ((range->hasParmMin() && number < range->getParmMin()) ||
                                       (range->hasParmMax() && number > range->getParmMax()));
    const bool brokenFlag = parm.getType().isOrdinalType() && std::floor(number) < number;
    const bool noCountFlag = parm.isMultiParm() && number < 0.0;
    if (!outsideFlag && !brokenFlag && !noCountFlag) {
        return "";
    }
    double became = 0.0;
    parm.getValue(time, became, index, BASgetSTID());
    became = noCountFlag ? std::max(became, 0.0) : became;
    return std::fabs(became - number) > 0.0
               ? std::string(parm.getChannelToken(index).nonNullStr()) + ": " + numberText(number) +
                     " became " + numberText(became)
               : "";
}

std::vector<std::string> wordsOf(const std::string &text)
{
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        const auto end = std::find_if(text.begin() + std::ptrdiff_t(at), text.end(), BASisBlank);
        const std::size_t stop = std::size_t(end - text.begin());
        if (stop > at) {
            words.push_back(text.substr(at, stop - at));
        }
        at = stop + 1;
    }
    return words;
}

/// A value for each of so many components; none, with a fault, if the text has another number of them.
std::vector<std::string> valuesOf(const ZEL_Parm &parm, int count, const std::string &text,
                                  NOD_EditFault &fault)
{
    const std::vector<std::string> words =
        count > 1 && hasNumbers(parm) ? wordsOf(text) : std::vector<std::string>{text};
    if (words.size() < 2) {
        return std::vector<std::string>(std::size_t(count), text);
    }
    if (words.size() != std::size_t(count)) {
        fault = {quoted(text) + " has " + std::to_string(words.size()) + " values for the " +
                     std::to_string(count) + " components of " + parm.getToken(),
                 text};
        return {};
    }
    return words;
}

NOD_EditFault setComponent(ZEL_Parm &parm, int index, const std::string &value, double time,
                           NOD_Report &report)
{
    const ZEL_Type &type = parm.getType();
    NOD_EditFault fault = {refusal(parm, index, time)};
    if (!fault.empty()) {
        return fault;
    }
    const bool replaceFlag = hasExpression(parm, index, time);
    if (type.isStringType()) {
        parm.setValue(time, value.c_str(), TRK_MEANING_LITERAL, replaceFlag, index,
                      ZEL_ADDKEY_PENDING, thePropagate);
        return {};
    }
    if (type.isDataType()) {
        if (!type.hasDataType(ZEL_Type::ZEL_DATA_KEY_VALUE_DICT)) {
            return {std::string(parm.getToken()) + " holds data, which has no text"};
        }
        const std::shared_ptr<const ZEL_DataItem> item = parseDictionary(value);
        if (!item) {
            return {quoted(value) + " is no JSON object for " + parm.getToken(),
                    value,
                    {},
                    findJsonFault(value)};
        }
        parm.setValue(time, item, replaceFlag, index, ZEL_ADDKEY_PENDING, thePropagate);
        return {};
    }
    const double number = numberOf(parm, value, fault);
    if (fault.empty()) {
        parm.setValue(time, number, replaceFlag, index, ZEL_ADDKEY_PENDING, thePropagate);
        const std::string change = changeOf(parm, index, number, time);
        if (!change.empty()) {
            report.warning("", change);
        }
    }
    return fault;
}

/// What a block has instead of the items that were asked for; "" if it has them. The library's own
/// message about the refused item is dropped if an event handler's read makes the items.
std::string missedCount(const ZEL_Parm &multi, const std::string &value, double time)
{
    double wanted = 0.0;
    NODreadFloat(value, wanted);
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

// ---------------------------------------------------------------------- //
// Keys
// ---------------------------------------------------------------------- //

/// A key from which the value runs in a straight line to the next.
std::string keyNumber(ZEL_Parm &parm, int index, double time, double value)
{
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

/// Keys all components of a place; why it can't, or "".
NOD_EditFault keyPlace(const NOD_Place &place, ZEL_Parm &parm, double time,
                       const std::string &value, NOD_Edit &edit)
{
    if (!hasNumbers(parm) && !parm.getType().isStringType()) {
        return {std::string(parm.getToken()) + " holds nothing to key"};
    }
    NOD_EditFault fault;
    const std::vector<std::string> values = valuesOf(parm, place.end - place.first, value, fault);
    for (std::size_t i = 0; fault.empty() && i < values.size(); ++i) {
        const int index = place.first + int(i);
        fault.text = refusal(parm, index, time);
        const double number =
            fault.empty() && hasNumbers(parm) ? numberOf(parm, values[i], fault) : 0.0;
        if (fault.empty() && hasNumbers(parm)) {
            fault.text = keyNumber(parm, index, time, number);
        } else if (fault.empty() && !edit.key(*place.node, parm.getChannelToken(index).nonNullStr(),
                                              time, std::string_view(values[i]))) {
            fault.text = std::string(parm.getToken()) + " can't be animated";
        }
    }
    return fault;
}

/// Whether it is no token of the parameter's menu.
bool isExpressionOf(const ZEL_Parm &parm, const std::string &text)
{
    return !parm.getType().isOrdinalType() ||
           ZEL_Parm::isOrdinalExpression(text.c_str(), parm.getTemplatePtr());
}

// ---------------------------------------------------------------------- //
// One text
// ---------------------------------------------------------------------- //

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

} // namespace

NOD_TextEdit::NOD_TextEdit(NOD_Node &node, double time, NOD_Report &report)
    : myNode(node), myTime(time), myReport(report)
{}

/// `value` is the text that the fault's word is of.
bool NOD_TextEdit::fail(const NOD_EditFault &fault, const std::string &value)
{
    if (fault.empty()) {
        return true;
    }
    NOD_Message message;
    message.text = fault.text;
    const std::size_t found = fault.word.empty() ? std::string::npos : value.find(fault.word);
    if (found != std::string::npos) {
        auto detail = std::make_shared<KIT_MessageDetail>();
        const std::size_t begin = found + std::size_t(std::max<std::int64_t>(fault.offset, 0));
        detail->place.setFromText(value, begin,
                                  fault.offset < 0 ? found + fault.word.size() : begin + 1);
        detail->found = fault.word;
        detail->expected = fault.expected;
        message.detail = std::move(detail);
    }
    myReport.add(std::move(message));
    return false;
}

/// Edits all places as one step, up to the first fault, which apply() returns.
template <class Apply>
bool NOD_TextEdit::forEach(const char *what, const std::string &address, const std::string &value,
                           const Apply &apply)
{
    const ZEL_InputBudget budget(0);
    const std::vector<NOD_Place> places = NODfindPlaces(myNode, address, myReport);
    NOD_Edit edit(myNode, what + address);
    bool good = !places.empty();
    for (const NOD_Place &place : places) {
        // The items of a block go with its count.
        ZEL_Parm *const parm = good ? place.find() : nullptr;
        if (parm) {
            edit.change(*place.node, *parm);
            good = fail(apply(place, *parm, edit), value);
        }
    }
    return good;
}

bool NOD_TextEdit::set(const std::string &address, const std::string &value)
{
    return forEach("Set ", address, value, [&](const NOD_Place &place, ZEL_Parm &parm, NOD_Edit &) {
        NOD_EditFault fault;
        const std::vector<std::string> values =
            valuesOf(parm, place.end - place.first, value, fault);
        for (std::size_t i = 0; fault.empty() && i < values.size(); ++i) {
            fault = setComponent(parm, place.first + int(i), values[i], myTime, myReport);
        }
        if (parm.isMultiParm()) {
            NODgrowBlocks(*place.node, myTime);
            fault.text = fault.empty() ? missedCount(parm, value, myTime) : fault.text;
        }
        return fault;
    });
}

bool NOD_TextEdit::setExpression(const std::string &address, const std::string &text,
                                 TRK_ExprLanguage language)
{
    return setExpression(address, text, language, KIT_ERROR_WARNING);
}

bool NOD_TextEdit::setExpression(const std::string &address, const std::string &text,
                                 TRK_ExprLanguage language, KIT_ErrorSeverity unreadable)
{
    constexpr bool evaluate = false;
    constexpr bool deleteChannel = true;
    return forEach(
        "Expression ", address, text, [&](const NOD_Place &place, ZEL_Parm &parm, NOD_Edit &) {
            NOD_EditFault fault;
            for (int i = place.first; fault.empty() && i < place.end; ++i) {
                fault.text = refusal(parm, i, myTime);
                if (!fault.empty()) {
                    return fault;
                }
                parm.setExpression(myTime, text.c_str(), language, i, evaluate, deleteChannel,
                                   thePropagate);
                if (!TRK_Collection::isValidChannelName(parm.getChannelToken(i).c_str()) &&
                    !KIT_String(text.c_str()).isFloat()) {
                    fault.text = std::string(parm.getToken()) + " can't be animated";
                }
            }
            if (parm.isMultiParm()) {
                NODgrowBlocks(*place.node, myTime);
            }
            if (fault.empty() && isExpressionOf(parm, text)) {
                NODcheckExpression(text, language, parm.getToken(), myReport, unreadable);
            }
            return fault;
        });
}

bool NOD_TextEdit::key(const std::string &address, double time, const std::string &value)
{
    return forEach("Key ", address, value,
                   [&](const NOD_Place &place, ZEL_Parm &parm, NOD_Edit &edit) {
                       return keyPlace(place, parm, time, value, edit);
                   });
}

namespace
{

/// Where in `ADDRESS=VALUE` a message is: in the value, if it has a place there, else at the address.
std::shared_ptr<KIT_MessageDetail> placeIn(const std::string &text, const NOD_Message &message)
{
    const std::size_t split = std::min(text.find('='), text.size());
    const std::size_t value = std::min(split + 1, text.size());
    const std::size_t slash = text.substr(0, split).rfind('/') + 1; // 0 without one
    const std::string name =
        text.substr(slash, std::min(text.find_first_of(":@=", slash), split) - slash);
    if (!message.detail || !message.detail->place.isKnown()) {
        return KIT_MessageDetail::ofText(text, "", 0, std::min(text.find('@'), split), name);
    }
    const KIT_MessagePlace &inner = message.detail->place;
    const auto offset = [&](std::int64_t at) {
        return value + std::size_t(std::max<std::int64_t>(at, 0));
    };
    auto detail =
        KIT_MessageDetail::ofText(text, "", offset(inner.offset), offset(inner.endOffset), name);
    detail->hint = message.detail->hint;
    return detail;
}

} // namespace

/// Gives what an edit reports its place in the text.
template <class Run>
bool NOD_TextEdit::within(const std::string &text, const Run &run)
{
    NOD_Report found;
    NOD_TextEdit inner(myNode, myTime, found);
    const bool good = run(inner);
    for (NOD_Message message : found.getMessages()) {
        auto detail = placeIn(text, message);
        KITaddNearest(*detail, detail->found,
                      message.detail ? message.detail->expected : std::vector<std::string>());
        message.detail = std::move(detail);
        myReport.add(std::move(message));
    }
    return good && !found.hasErrors();
}

bool NOD_TextEdit::assign(const std::string &text)
{
    return within(text, [&](NOD_TextEdit &inner) {
        std::string address;
        std::string value;
        return splitAt(text, '=', address, value) ? inner.set(address, value)
                                                  : inner.fail({text + " has no ="}, text);
    });
}

bool NOD_TextEdit::assignExpression(const std::string &text)
{
    return within(text, [&](NOD_TextEdit &inner) {
        std::string address;
        std::string expression;
        return splitAt(text, '=', address, expression)
                   ? inner.setExpression(address, expression, TRK_LANGUAGE_NATIVE, KIT_ERROR_ABORT)
                   : inner.fail({text + " has no ="}, text);
    });
}

bool NOD_TextEdit::assignKey(const std::string &text)
{
    return within(text, [&](NOD_TextEdit &inner) {
        std::string left;
        std::string value;
        std::string address;
        std::string time;
        double seconds = 0.0;
        if (!splitAt(text, '=', left, value) || !splitAt(left, '@', address, time) ||
            !NODreadTime(time, seconds)) {
            return inner.fail({text + " isn't of the form TOKEN[:INDEX]@TIME=VALUE"}, text);
        }
        return inner.key(address, seconds, value);
    });
}

std::vector<std::string> NODordinalWords(const ZEL_Parm &parm)
{
    std::vector<std::string> words;
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    if (!parm.getType().isOrdinalType() ||
        (menu && (menu->getType() & ZEL_CHOICELIST_TOGGLE) != 0)) {
        return words;
    }
    const ZEL_Name *names = nullptr;
    if (menu) {
        menu->getChoiceNames(names, parm.getParmOwner(), parm.getSparePtr(), &parm, false);
    }
    for (; names && !names->isSentinel(); ++names) {
        words.emplace_back(names->getToken());
    }
    const bool toggleFlag = parm.getType().getOrdinalType() == ZEL_Type::ZEL_ORD_TOGGLE;
    if (words.empty() && toggleFlag) {
        words = {"off", "on"};
    }
    return words;
}

void NODgrowBlocks(NOD_Node &node, double time)
{
    const ZEL_InputBudget budget(0);
    const NOD_Batch batch(node); // the graph looks for references once, not after each block
    ZEL_ParmList &parms = node.getParms();
    // The items of a block may hold blocks of their own, which come after it in the list.
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm *const parm = parms.getParmPtr(i);
        if (parm->isMultiParm()) {
            int count = 0;
            parm->getValue(time, count, 0, BASgetSTID());
        }
    }
}
