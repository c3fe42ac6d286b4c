#include <ZEL/multi/ZEL_ItemSizePrivate.h>

#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_RampTemplate.h>
#include <ZEL/ZEL_String.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/support/ZEL_InstanceMarksPrivate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

// Measured with lists of 50,000 items: a parameter of one number takes at most 860 bytes as the only one of its
// item and 550 beside others, each further component 100, an animated one 620 more; a ramp without its
// keys 2,350, a key 2,000.
constexpr std::int64_t theAllocation = 24; // what a separate text takes beside its bytes
constexpr std::int64_t theItem = 200;      // what doesn't depend on its parameters
constexpr std::int64_t theParmLinks = 85;  // places in the list's tables and the item's arrays
constexpr std::int64_t theComponent = 65;  // its value, its channel's place, the name in a table
constexpr std::int64_t theChannel = 700;
constexpr std::int64_t theRamp = 500;  // what its own descriptions of keys take beside their bytes
constexpr std::int64_t theMenu = 150;  // of recent files
constexpr std::int64_t theDigits = 11; // of an item's number, with a "_"
constexpr std::int64_t theMost = std::int64_t(1) << 31;

std::int64_t textBytes(std::int64_t length, std::int64_t numbers)
{
    return theAllocation + length + theDigits * numbers;
}

std::int64_t nameBytes(const ZEL_Template &child, std::int64_t levels)
{
    const KIT_StringRef &label = child.getNamePtr()->getLabelRef();
    const std::int64_t length = std::int64_t(child.getTokenRef().length());
    const std::int64_t components = child.getVectorSize();
    std::int64_t bytes = textBytes(length, levels);
    if (components > 1) {
        bytes += components * textBytes(length, levels);
    }
    if (ZELcountMarks(label.view()) > 0) {
        bytes += textBytes(std::int64_t(label.length()), levels);
    }
    return bytes;
}

/// The texts of the defaults, and what reverting to them makes.
std::int64_t defaultBytes(const ZEL_Template &child)
{
    const ZEL_Default *const defaults = child.getFactoryDefaults();
    const ZEL_Type &type = child.getType();
    std::int64_t bytes = 0;
    for (int i = 0; defaults && i < child.getVectorSize(); ++i) {
        const std::int64_t length = std::int64_t(std::strlen(defaults[i].getString()));
        if (length == 0) {
            continue;
        }
        const std::int64_t marks = ZELcountMarks(defaults[i].getString());
        const std::int64_t expanded = textBytes(length, marks);
        bytes += marks > 0 ? std::int64_t(sizeof(ZEL_Default)) + theAllocation + expanded : 0;
        bytes += type.isStringType() || type.isDataType() ? expanded : 0;
        const bool isExpression = defaults[i].getStringMeaning() != TRK_MEANING_LITERAL;
        bytes += type.isFloatType() || isExpression ? theChannel + expanded : 0;
    }
    return bytes;
}

/// Whether every saved form names a parameter of each item.
bool isItemNamed(const ZEL_Template *block)
{
    for (; block && !block->isTerminator(); ++block) {
        if (!block->getType().hasAnyOf(ZEL_TYPE_SEPARATOR) &&
            !block->getType().hasAnyOf(ZEL_TYPE_LABEL)) {
            return true;
        }
    }
    return false;
}

std::int64_t childBytes(const ZEL_Template &child, std::int64_t levels)
{
    std::int64_t bytes = std::int64_t(sizeof(ZEL_Template) + sizeof(ZEL_Name) + sizeof(ZEL_Parm));
    bytes += theParmLinks + nameBytes(child, levels) + theComponent * child.getVectorSize();
    if (child.isMultiType()) {
        bytes += std::int64_t(sizeof(ZEL_Multi));
        bytes += child.isRampType()
                     ? theRamp + ZELgetRampTemplateMemoryUsage(child.getMultiParmTemplate())
                     : 0;
    } else {
        bytes += std::int64_t(sizeof(ZEL_String)) + defaultBytes(child);
        bytes += child.isAutomaticallyGeneratedChoiceList() ? theMenu : 0;
    }
    const ZEL_ConditionalBase *const conditional = child.getConditionalBasePtr();
    if (conditional && conditional->hasItemNumbers()) {
        bytes += conditional->getMemoryUsage(true);
    }
    return bytes;
}

} // namespace

ZEL_ItemCost ZELestimateItem(const ZEL_Template *block, std::int64_t levels)
{
    ZEL_ItemCost cost{isItemNamed(block) ? 1 : 0, theItem};
    for (; block && !block->isTerminator(); ++block) {
        cost.bytes += childBytes(*block, levels);
        if (const int least = block->isMultiType() ? ZELhardMinimum(*block) : 0) {
            const ZEL_ItemCost nested = ZELestimateItem(block->getMultiParmTemplate(), levels + 1);
            cost.items += least * nested.items;
            cost.bytes += least * nested.bytes;
        }
        cost.items = std::min(cost.items, theMost);
        cost.bytes = std::min(cost.bytes, theMost);
    }
    return cost;
}

int ZELtoCount(double value)
{
    const double rounded = std::floor(value + 0.5);
    if (!(rounded > 0.0)) {
        return 0;
    }
    constexpr int theMostItems = std::numeric_limits<int>::max();
    return rounded < double(theMostItems) ? int(rounded) : theMostItems;
}

int ZELhardMinimum(const ZEL_Template &multi)
{
    const ZEL_Range *const range = multi.getRangePtr();
    return range && range->hasParmMin() ? ZELtoCount(range->getParmMin()) : 0;
}
