#include <ZEL/ZEL_ValueRules.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Digits.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Ordinal.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_String.h>
#include <ZEL/support/ZEL_NumberPrivate.h>
#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <algorithm>

namespace
{

ZEL_ValueRules::Kind kindOf(const ZEL_Parm &parm)
{
    using Kind = ZEL_ValueRules::Kind;
    const ZEL_Type &type = parm.getType();
    if (!parm.getInstance()) {
        return Kind::NONE;
    }
    if (parm.isMultiParm() || type.isFloatType()) {
        return Kind::FLOAT;
    }
    return type.isOrdinalType()  ? Kind::ORDINAL
           : type.isStringType() ? Kind::STRING
           : type.isDataType()   ? Kind::DATA
                                 : Kind::NONE;
}

template <class Entry>
std::vector<KIT_StringHolder> tokensOf(const Entry *table)
{
    std::vector<KIT_StringHolder> tokens;
    for (; table && table->getToken(); ++table) {
        tokens.emplace_back(table->getToken());
    }
    return tokens;
}

} // namespace

ZEL_ValueRules::ZEL_ValueRules(const ZEL_Parm &parm) : myKind(kindOf(parm))
{
    if (myKind == Kind::NONE) {
        return;
    }
    const ZEL_Type &type = parm.getType();
    const ZEL_Range *const range = parm.getRangePtr();
    myAnimatibleFlag = type.isAnimatible();
    myRangeFlag = range != nullptr;
    myRange = range ? *range : ZEL_Range();
    myWholeFlag = type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER);
    myAlphaFlag = type.hasStringType(ZEL_Type::ZEL_STR_ALPHA);
    if (myKind == Kind::STRING) {
        myExpandFlags = static_cast<const ZEL_String *>(parm.getInstance())->getExpandFlags();
    } else if (myKind == Kind::ORDINAL && parm.getChoiceListPtr()) {
        takeMenu(parm);
    }
}

void ZEL_ValueRules::takeMenu(const ZEL_Parm &parm)
{
    const ZEL_ChoiceList &list = *parm.getChoiceListPtr();
    const bool heldFlag = !myRangeFlag && ZEL_Ordinal::isHeldTo(list);
    const bool namedFlag = ZEL_Ordinal::isNamedBy(list, parm.getType());
    myDynamicFlag = (heldFlag || namedFlag) && list.getStaticSize() < 0;
    if (myDynamicFlag) {
        return;
    }
    myMenuSize = heldFlag ? list.getStaticSize() : 0;
    if (namedFlag) {
        myTokens = std::make_shared<const std::vector<KIT_StringHolder>>(
            list.usesItems() ? tokensOf(list.choiceItemsPtr()) : tokensOf(list.choiceNamesPtr()));
    }
}

double ZEL_ValueRules::fromChannel(double number) const
{
    if (myKind == Kind::FLOAT) {
        return ZEL_ValueInstance::limited(myRangeFlag ? &myRange : nullptr, myWholeFlag, number);
    }
    const auto whole =
        ZEL_ValueInstance::truncated<std::int64_t>(ZEL_ValueInstance::halvesUp(number));
    if (myRangeFlag) {
        return double(ZEL_ValueInstance::limited(myRange, whole));
    }
    return double(myMenuSize > 0 ? std::clamp<std::int64_t>(whole, 0, myMenuSize - 1) : whole);
}

std::int64_t ZEL_ValueRules::integerOf(double value) const
{
    return ZEL_ValueInstance::truncated<std::int64_t>(value);
}

void ZEL_ValueRules::textOf(double value, KIT_String &text) const
{
    if (myKind == Kind::ORDINAL || myWholeFlag) {
        textOf(integerOf(value), text);
        return;
    }
    KIT_Digits digits;
    digits.reset(value, 0, -1);
    text.harden(digits.buffer());
}

void ZEL_ValueRules::textOf(std::int64_t value, KIT_String &text) const
{
    if (myTokens && value >= 0 && std::size_t(value) < myTokens->size()) {
        text.harden((*myTokens)[std::size_t(value)].c_str());
    } else {
        text.itoa(value);
    }
}

void ZEL_ValueRules::finish(KIT_String &text) const
{
    if (myAlphaFlag) {
        text.forceAlphaNumeric();
    }
}

double ZEL_ValueRules::numberOf(const KIT_String &text)
{
    return BASparseFloat(text.c_str());
}

std::int64_t ZEL_ValueRules::integerOf(const KIT_String &text)
{
    return BASparseInteger(text.c_str(), 10);
}

std::int64_t ZEL_ValueRules::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = inclusive ? std::int64_t(sizeof(*this)) : 0;
    for (std::size_t i = 0; myTokens && i < myTokens->size(); ++i) {
        bytes += (*myTokens)[i].getMemoryUsage(true);
    }
    return bytes;
}
