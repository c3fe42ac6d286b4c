#include <NOD/interface/NOD_TemplatePathsPrivate.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringRef.h>
#include <TRK/TRK_NodePaths.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>

namespace
{

using Form = TRK_NodePaths::Form;

class Collector
{
public:
    void addAll(const ZEL_Template *templates)
    {
        if (std::find(myOuter.begin(), myOuter.end(), templates) != myOuter.end()) {
            return;
        }
        myOuter.push_back(templates);
        for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
            add(*at);
        }
        myOuter.pop_back();
    }

    void add(const ZEL_Template &one)
    {
        addOwn(one);
        if (one.isMultiType() && !one.isRampType()) {
            addAll(one.getMultiParmTemplate());
        }
    }

    std::vector<NOD_Interface::NodePath> found;

private:
    void addOwn(const ZEL_Template &one)
    {
        myParm = one.getTokenRef().nonNullStr();
        const ZEL_ConditionalBase *const base = one.getConditionalBasePtr();
        addConditions(base);
        if (base && base->groupType() == ZEL_CONDGROUP_SWITCHER) {
            const auto *const tabs = static_cast<const ZEL_ConditionalSwitcher *>(base);
            for (int tab = 0; tab < one.getVectorSize(); ++tab) {
                addConditions(tabs->getTabConditional(tab));
            }
        }
        if (const ZEL_ChoiceList *const menu = one.getChoiceListPtr()) {
            addScript("menu script", menu->getScript().nonNullStr(), menu->getScriptLanguage());
        }
        if (!one.isSwitcher() && !one.isMultiType()) {
            addDefaults(one);
        }
        if (const ZEL_SpareData *const spare = one.getSparePtr()) {
            const char *const language = spare->getValue(ZEL_SpareData::getCallbackLanguageToken());
            addScript("callback", spare->getCallbackData(),
                      TRKstringToScriptLanguage(language ? language : ""));
            addText("oprelative", spare->getOpRelative(), Form::TEXT);
        }
    }

    void addConditions(const ZEL_ConditionalBase *base)
    {
        for (const ZEL_ConditionalType type : theZELConditionalTypes) {
            const ZEL_Conditional *const one = base ? base->getConditional(type) : nullptr;
            for (int i = 0; one && i < one->entries(); ++i) {
                for (const KIT_String &operand : (*one)(i)->getControlParms()) {
                    const char *const text = operand.nonNullStr();
                    addText(ZEL_Conditional::getName(type, false), text,
                            TRK_NodePaths::hasExpression(text) ? Form::TEXT : Form::NATIVE);
                }
            }
        }
    }

    void addDefaults(const ZEL_Template &one)
    {
        for (int k = 0; k < one.getVectorSize(); ++k) {
            const ZEL_Default *const factory = one.getFactoryDefaults();
            const ZEL_Default *const record = one.getDefault(k) ? one.getDefault(k)
                                              : factory         ? factory + k
                                                                : nullptr;
            if (!record) {
                continue;
            }
            const TRK_StringMeaning meaning = record->getStringMeaning();
            const bool isLiteral = meaning == TRK_MEANING_LITERAL && one.getType().isStringType();
            addText("default", record->getString(),
                    isLiteral                       ? Form::TEXT
                    : meaning == TRK_MEANING_PYTHON ? Form::PYTHON
                                                    : Form::NATIVE);
        }
    }

    void addScript(const char *place, const char *script, TRK_ScriptLanguage language)
    {
        addText(place, script, language == TRK_SCRIPT_PYTHON ? Form::PYTHON : Form::TEXT);
    }

    void addText(const char *place, const char *text, Form form)
    {
        std::string unchanged(text ? text : "");
        TRK_NodePaths::forEach(unchanged, form, nullptr, [&](const std::string &path) {
            found.push_back({myParm, place, path});
            return false; // nobody knows which of a text's words are paths
        });
    }

    std::vector<const ZEL_Template *> myOuter;
    std::string myParm;
};

} // namespace

std::vector<NOD_Interface::NodePath> NODtemplatePaths(const ZEL_Template *templates)
{
    Collector collector;
    collector.addAll(templates);
    return collector.found;
}

std::vector<NOD_Interface::NodePath>
NODtemplatePaths(const std::vector<const ZEL_Template *> &descriptions)
{
    Collector collector;
    for (const ZEL_Template *one : descriptions) {
        collector.add(*one);
    }
    return collector.found;
}
