#include <NOD/NOD_ParmBuilder.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_StringHolder.h>
#include <NOD/interface/NOD_ParmRecordPrivate.h>
#include <ZEL/ZEL_Conditional.h>

void NOD_ParmRecord::setCondition(ZEL_ConditionalGroup &group, ZEL_ConditionalType kind,
                                  std::string_view condition)
{
    ZEL_Conditional one(kind);
    KIT_StringHolder reason;
    if (!one.setListFromString(std::string(condition).c_str(), reason)) {
        fault(std::string(one.getName(false)) + ": " + reason.nonNullStr());
    }
    group.addConditional(one);
}

void NOD_ParmRecord::setTag(std::string_view tag, std::string_view value)
{
    spare.addTokenValue(KIT_StringHolder(std::string(tag).c_str()), std::string(value).c_str());
}

// ---------------------------------------------------------------------- //
// Value
// ---------------------------------------------------------------------- //

NOD_ParmBuilder &NOD_ParmBuilder::size(int components)
{
    const int limit = KIT_EnvControl::getLimit(KIT_ENV_MAX_VECTOR_SIZE);
    if (components < 0 || components > limit) {
        myRecord->fault("a size of " + std::to_string(components) + "; the limit is " +
                        std::to_string(limit) + " (" +
                        KIT_EnvControl::getVariable(KIT_ENV_MAX_VECTOR_SIZE) + ")");
        components = 1;
    }
    myRecord->size = components;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::defaultTo(double value)
{
    return defaultTo({value});
}

NOD_ParmBuilder &NOD_ParmBuilder::defaultTo(std::string_view text)
{
    return defaultTo({text});
}

NOD_ParmBuilder &NOD_ParmBuilder::defaultTo(std::initializer_list<double> values)
{
    myRecord->defaults.clear();
    for (const double value : values) {
        myRecord->defaults.push_back({value, {}, false, TRK_MEANING_LITERAL, true});
    }
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::defaultTo(std::initializer_list<std::string_view> texts)
{
    myRecord->defaults.clear();
    for (const std::string_view text : texts) {
        myRecord->defaults.push_back({0.0, std::string(text), true, TRK_MEANING_LITERAL, true});
    }
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::defaultExpression(std::string_view text, int component,
                                                    TRK_StringMeaning meaning)
{
    constexpr int theMost = 1 << 16;
    if (component < 0 || component > theMost) {
        myRecord->fault("a default for component " + std::to_string(component));
        return *this;
    }
    const auto index = std::size_t(component);
    if (myRecord->defaults.size() <= index) {
        myRecord->defaults.resize(index + 1);
    }
    myRecord->defaults[index] = {0.0, std::string(text), true, meaning, true};
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::range(double least, double greatest)
{
    if (!(least < greatest)) {
        myRecord->fault("the least of a range isn't below the greatest");
    }
    myRecord->range = ZEL_Range(ZEL_RANGE_UI, least, ZEL_RANGE_UI, greatest);
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::hardRange(double least, double greatest)
{
    return range(least, greatest).hardMin().hardMax();
}

NOD_ParmBuilder &NOD_ParmBuilder::hardMin()
{
    myRecord->hardMinFlag = true;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::hardMax()
{
    myRecord->hardMaxFlag = true;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::logarithmic()
{
    myRecord->logarithmicFlag = true;
    return *this;
}

// ---------------------------------------------------------------------- //
// Menu
// ---------------------------------------------------------------------- //

NOD_ParmBuilder &NOD_ParmBuilder::menu(std::initializer_list<Entry> entries, NOD_MenuKind kind)
{
    std::vector<std::pair<std::string, std::string>> copies;
    for (const auto &[token, label] : entries) {
        copies.emplace_back(token, label);
    }
    return menu(copies, kind);
}

NOD_ParmBuilder &
NOD_ParmBuilder::menu(const std::vector<std::pair<std::string, std::string>> &entries,
                      NOD_MenuKind kind)
{
    myRecord->menu.source = NOD_MenuRecord::ENTRIES;
    myRecord->menu.entries = entries;
    myRecord->menu.kind = kind;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::menuScript(std::string_view script, TRK_ScriptLanguage language,
                                             NOD_MenuKind kind)
{
    myRecord->menu.source = NOD_MenuRecord::SCRIPT;
    myRecord->menu.script = script;
    myRecord->menu.language = language;
    myRecord->menu.kind = kind;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::menuFunction(ZEL_ChoiceList::NameGenerator generator,
                                               NOD_MenuKind kind)
{
    myRecord->menu.source = NOD_MenuRecord::FUNCTION;
    myRecord->menu.generator = generator;
    myRecord->menu.kind = kind;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::tokensAreValues()
{
    myRecord->menu.tokensFlag = true;
    return *this;
}

// ---------------------------------------------------------------------- //
// Looks, conditions, behaviour
// ---------------------------------------------------------------------- //

NOD_ParmBuilder &NOD_ParmBuilder::help(std::string_view text)
{
    myRecord->help = text;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::invisible()
{
    myRecord->type |= ZEL_TYPE_INVISIBLE;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::noLabel()
{
    myRecord->type |= ZEL_TYPE_LABEL_NONE;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::joinNext()
{
    myRecord->type |= ZEL_TYPE_JOIN_NEXT;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::extended(ZEL_TypeExtended number)
{
    myRecord->extended = number;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::disableWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_DISABLE, condition);
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::hideWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_HIDE, condition);
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::noCookWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_NOCOOK, condition);
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::tag(std::string_view token, std::string_view value)
{
    myRecord->setTag(token, value);
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::cooks(bool on)
{
    return tag(ZEL_SpareData::getCookDependentToken(), on ? "1" : "0");
}

NOD_ParmBuilder &NOD_ParmBuilder::opFilter(std::string_view word)
{
    myRecord->spare.setOpFilter(ZEL_SpareData::getOpFilterKeyFromName(std::string(word).c_str()));
    myRecord->spare.setOpRelative(".");
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::callback(ZEL_Callback function)
{
    myRecord->callback = function;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::callbackScript(std::string_view script,
                                                 TRK_ScriptLanguage language)
{
    myRecord->spare.setCallbackData(std::string(script).c_str());
    if (language != TRK_SCRIPT_COMMAND) {
        myRecord->spare.setCallbackLanguage(language);
    }
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::exported(NOD_ExportLevel level)
{
    myRecord->exportLevel = level;
    return *this;
}

NOD_ParmBuilder &NOD_ParmBuilder::baseParm()
{
    myRecord->baseParmFlag = true;
    return *this;
}
