#include <NOD/interface/NOD_TemplateFieldsPrivate.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <sstream>

namespace
{

std::string quoted(const char *text)
{
    constexpr int quoteEmpty = 1;
    return text && *text
               ? std::string("\"") + ZEL_ScriptParm::protectString(text, quoteEmpty) + "\""
               : "\"\"";
}

std::string digits(double value)
{
    return KIT_Digits(value).buffer();
}

/// The dump leaves out flags of other kinds of values, so all words follow.
std::string typeText(const ZEL_Type &type)
{
    std::ostringstream os;
    type.saveASCII(os);
    os << (type.isAnimatible() ? ", animatable (" : " (") << std::hex << type.getBasicType();
    for (const unsigned word :
         {unsigned(type.getFloatType()), unsigned(type.getOrdinalType()),
          unsigned(type.getStringType()), unsigned(type.getDataType()),
          unsigned(type.getPathType()), unsigned(type.getChannelType()),
          unsigned(type.getInterfaceType()), unsigned(type.getBehaviorType())}) {
        os << "." << word;
    }
    os << ")";
    return os.str();
}

std::string defaultText(const ZEL_Default &value, bool stringFlag)
{
    std::string out = stringFlag ? "" : digits(value.getFloat());
    if (value.gotString() || stringFlag) {
        out += (stringFlag ? "" : " ") + quoted(value.getString());
    }
    if (value.gotString() && value.getStringMeaning() != TRK_MEANING_LITERAL) {
        out += std::string(" ") + TRKmeaningToString(value.getStringMeaning());
    }
    return out;
}

std::string endText(bool limitFlag, bool hardFlag, bool sliderFlag, double value)
{
    return limitFlag ? digits(value) + (hardFlag ? "!" : "") + (sliderFlag ? "" : " hidden")
                     : "free";
}

std::string rangeText(const ZEL_Range &range)
{
    return endText(range.getMinFlag() != ZEL_RANGE_FREE, range.hasParmMin(), range.hasUIMin(),
                   range.getUIMin()) +
           " to " +
           endText(range.getMaxFlag() != ZEL_RANGE_FREE, range.hasParmMax(), range.hasUIMax(),
                   range.getUIMax());
}

std::string menuText(const ZEL_ChoiceList &menu)
{
    std::string out = "kind " + std::to_string(int(menu.getType()));
    if (menu.usesItems()) {
        return out + ", entries with icons";
    }
    if (menu.getChoiceGenerator()) {
        return out + ", entries of a function";
    }
    if (menu.getStaticSize() < 0) {
        return out + ", " + TRKscriptLanguageAsString(menu.getScriptLanguage()) + " script " +
               quoted(menu.getScript());
    }
    for (const ZEL_Name *at = menu.choiceNamesPtr(); at && !at->isSentinel(); ++at) {
        out += " " + quoted(at->getToken()) + " " + quoted(at->getLabel());
    }
    return out;
}

void addConditions(NOD_TemplateFields &fields, const ZEL_ConditionalBase *base,
                   const std::string &place)
{
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const one = base ? base->getConditional(type) : nullptr;
        // An empty one is as good as none.
        if (one && one->entries()) {
            fields[ZEL_Conditional::getName(type, false) + place] = NODconditionText(one);
        }
    }
}

void addTags(NOD_TemplateFields &fields, const ZEL_SpareData *spare)
{
    const auto add = [](const char *token, const char *value, void *data) {
        (*static_cast<NOD_TemplateFields *>(data))[std::string("tag ") + token] = quoted(value);
        return 1;
    };
    if (spare) {
        spare->traverseConst(add, &fields);
    }
}

} // namespace

const ZEL_Default *NODgetDefault(const ZEL_Template &from, int component)
{
    if (const ZEL_Default *const override = from.getDefault(component)) {
        return override;
    }
    return from.getFactoryDefaults() ? &from.getFactoryDefaults()[component] : nullptr;
}

std::string NODconditionText(const ZEL_Conditional *condition)
{
    std::string out;
    for (int i = 0; condition && i < condition->entries(); ++i) {
        const ZEL_ConditionalInfo &group = *(*condition)(i);
        out += i ? " {" : "{";
        for (int j = 0; j < group.entries(); ++j) {
            const char *const op = ZEL_Conditional::getOperatorString(group.getOperators()(j));
            out += " " + quoted(group.getControlParms()(j)) + " " + (op ? op : "?") + " " +
                   quoted(group.getControlValues()(j));
        }
        out += " }";
    }
    return out;
}

NOD_TemplateFields NODgetTemplateFields(const ZEL_Template &from)
{
    const bool stringFlag = from.getType().isStringType();
    NOD_TemplateFields fields;
    fields["token"] = quoted(from.getToken());
    fields["label"] = quoted(from.getLabel());
    fields["expression flag"] = std::to_string(from.getExpressionFlag());
    fields["type"] = typeText(from.getType());
    fields["kind of block"] = std::to_string(unsigned(from.getMultiType()));
    fields["extended type"] = std::to_string(int(from.getTypeExtended()));
    fields["size"] = std::to_string(from.getVectorSize());
    fields["export"] = std::to_string(int(from.exportLevel()));
    fields["group"] = std::to_string(from.getParmGroup());
    fields["size of block"] = digits(from.getMultiSize());
    fields["help"] = quoted(from.getHelpText());
    for (int i = 0; i < from.getVectorSize(); ++i) {
        if (const ZEL_Default *const value = NODgetDefault(from, i)) {
            fields["default " + std::to_string(i + 1)] =
                from.isSwitcher() ? digits(value->getFloat()) + " " + quoted(value->getString())
                                  : defaultText(*value, stringFlag);
        }
    }
    if (const ZEL_Range *const range = from.getRangePtr()) {
        fields["range"] = rangeText(*range);
    }
    const ZEL_ChoiceList *const menu = from.getChoiceListPtr();
    if (menu && !from.isAutomaticallyGeneratedChoiceList() && menu->getStaticSize() != 0) {
        fields["menu"] = menuText(*menu);
    }
    if (from.getCallback().isSet()) {
        const ZEL_Callback &call = from.getCallback();
        std::ostringstream os;
        os << "the function " << reinterpret_cast<const void *>(call.getFunction()) << " ("
           << call.getData() << ", " << call.getTag() << ")";
        fields["callback"] = os.str();
    }
    addTags(fields, from.getSparePtr());
    const ZEL_ConditionalBase *const conditions = from.getConditionalBasePtr();
    addConditions(fields, conditions, "");
    if (conditions && conditions->groupType() == ZEL_CONDGROUP_SWITCHER) {
        const auto *const tabs = static_cast<const ZEL_ConditionalSwitcher *>(conditions);
        for (int tab = 0; tab < std::max(from.getVectorSize(), 1); ++tab) {
            addConditions(fields, tabs->getTabConditional(tab), " tab " + std::to_string(tab + 1));
        }
    }
    return fields;
}
