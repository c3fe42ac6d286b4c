#include <DS/DS_Creator.h>

#include <BAS/BAS_Number.h>
#include <DS/DS_ParmInfo.h>
#include <DS/writer/DS_CreatorPrivate.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

namespace
{

struct Look
{
    const char *keyword;
    ZEL_Type::ZEL_InterfaceType bit;
};
constexpr Look theLooks[] = {
#define ZEL_PARM_LOOK(word, bit) {word, ZEL_Type::bit},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

const char *indentOf(const KIT_StringArray &groups, int more)
{
    return DS_Creator::getIndent(static_cast<int>(groups.entries()) + more);
}

bool hasMenu(const DS_ParmInfo &info)
{
    return !info.menuChoices.isEmpty() || info.menuScript.isstring();
}

/// The type keyword, or the nearest one that may have a menu.
std::string_view typeWord(const DS_ParmInfo &info)
{
    const std::string_view word = info.getTypeToken();
    if (!hasMenu(info) || word == "integer" || word == "buttonstrip") {
        return word;
    }
    return word == "float" ? "integer" : "string";
}

const char *menuKeyword(const DS_ParmInfo &info, std::string_view word)
{
    if (word == "integer" || info.menuType == 0) {
        return "menu";
    }
    return info.menuType == 1 ? "menureplace" : "menutoggle";
}

/// The number as the stream formats it; with all its digits where that loses some.
std::string numberText(const std::ostream &os, double value)
{
    std::ostringstream text;
    text.flags(os.flags());
    text.precision(os.precision());
    text << value;
    return BASparseFloat(text.str().c_str()) == value ? text.str() : KIT_Digits(value).buffer();
}

void printText(std::ostream &os, const char *indent, const char *keyword, const KIT_String &text)
{
    if (text.isstring()) {
        os << indent << keyword << "\t\"" << DSprotect(text) << "\"\n";
    }
}

} // namespace

const char *const DS_Creator::theToolboxLabels[3] = {"none", "dialog", "all"};

void DS_Creator::dumpParm(const DS_ParmInfo *info)
{
    if (info) {
        printParm(std::cerr, *info);
    }
}

void DS_Creator::printParm(std::ostream &os, const DS_ParmInfo &info)
{
    if (info.getIsArray()) {
        return;
    }
    const std::string_view word = typeWord(info);
    os << indentOf(theGroupStack, 0) << "parm {\n";
    const std::string indent = indentOf(theGroupStack, 1);
    // Name and label aren't escaped here: records may contain them in script form.
    os << indent << "name\t" << info.name.nonNullStr() << "\n";
    os << indent << "label\t\"" << info.label.nonNullStr() << "\"\n";
    os << indent << "type\t" << word << "\n";
    for (const Look &look : theLooks) {
        if (info.type.hasInterfaceType(look.bit)) {
            os << indent << look.keyword << "\n";
        }
    }
    if (hasMenu(info)) {
        printMenu(os, info, menuKeyword(info, word));
    } else if (info.size != 1) {
        os << indent << "size\t" << info.size << "\n";
    }
    printTexts(os, info);
    printDefaults(os, info);
    printRange(os, info);
    // "none" is skipped too: it is the default of a script without the keyword.
    if (info.exportLevel >= 0 && info.exportLevel < 3) {
        os << indent << "export\t" << theToolboxLabels[info.exportLevel] << "\n";
    }
    printConditions(os, info);
    for (const DS_AttributeValue *attribute : info.attributes) {
        os << indent << "parmtag { \"" << DSprotect(attribute->getToken()) << "\"";
        os << " \"" << DSprotect(attribute->getValue()) << "\" }\n";
    }
    printBindings(os, info);
    os << indentOf(theGroupStack, 0) << "}\n";
}

void DS_Creator::printMenu(std::ostream &os, const DS_ParmInfo &info, const char *keyword)
{
    const std::string indent = indentOf(theGroupStack, 1);
    const std::string deeper = indentOf(theGroupStack, 2);
    os << indent << keyword << "\t{\n";
    for (const DS_MenuChoice *choice : info.menuChoices) {
        os << deeper << "\"" << DSprotect(choice->getValue()) << "\"";
        os << "\t\"" << DSprotect(choice->getLabel()) << "\"\n";
    }
    if (info.menuChoices.isEmpty()) {
        std::istringstream script(info.menuScript.toStdString());
        for (std::string line; std::getline(script, line);) {
            os << deeper << "[ " << line << " ]\n";
        }
        if (info.menuLanguage != TRK_SCRIPT_COMMAND) {
            os << indent << "language\t" << TRKscriptLanguageAsString(info.menuLanguage) << "\n";
        }
    }
    os << indent << "}\n";
}

void DS_Creator::printTexts(std::ostream &os, const DS_ParmInfo &info)
{
    const std::string indent = indentOf(theGroupStack, 1);
    printText(os, indent.c_str(), "callback", info.callback);
    printText(os, indent.c_str(), "help", info.help);
    if (info.rmanType.isstring()) {
        os << indent << "parmtag\t{ script_ritype\t\"" << DSprotect(info.rmanType) << "\" }\n";
    }
    printText(os, indent.c_str(), "opfilter", info.opFilter);
}

void DS_Creator::printDefaults(std::ostream &os, const DS_ParmInfo &info)
{
    const DS_DefaultValue *const defaults = info.defaults.get();
    const int count = defaults ? std::min(defaults->getSize(), info.size) : 0;
    KIT_WorkBuffer values;
    for (int i = 0; i < count; i++) {
        if (defaults->getKind() != DS_DefaultValue::STRINGS) {
            const bool wholeFlag = defaults->getKind() == DS_DefaultValue::INTEGERS;
            const double value = wholeFlag ? defaults->getInteger(i) : defaults->getFloat(i);
            values.append(' ');
            values.append(wholeFlag ? std::to_string(defaults->getInteger(i)).c_str()
                                    : KIT_Digits(value).buffer());
            continue;
        }
        const TRK_StringMeaning meaning = defaults->getStringMeaning(i);
        values.append(meaning ? " [ \"" : " \"");
        ZEL_ScriptParm::protectStrcat(values, defaults->getString(i), 0);
        // The quote isn't closed after a text with a meaning. Kept: users compare the texts of
        // scripts.
        if (meaning) {
            values.append(' ');
            values.append(TRKmeaningToString(meaning));
            values.append(']');
        } else {
            values.append('"');
        }
    }
    if (values.length() != 0) {
        os << indentOf(theGroupStack, 1) << "default\t{" << values.buffer() << " }\n";
    }
}

void DS_Creator::printRange(std::ostream &os, const DS_ParmInfo &info)
{
    if (!info.range) {
        return;
    }
    const ZEL_Range &range = *info.range;
    os << indentOf(theGroupStack, 1) << "range\t { " << numberText(os, range.getUIMin());
    os << (range.hasParmMin() ? "!" : "") << " " << numberText(os, range.getUIMax());
    os << (range.hasParmMax() ? "!" : "") << " }\n";
}

void DS_Creator::printConditions(std::ostream &os, const DS_ParmInfo &info)
{
    const std::string indent = indentOf(theGroupStack, 1);
    if (info.disableWhen.isstring()) {
        os << indent << "disablewhen " << info.disableWhen.c_str() << "\n";
    } else if (!info.disableInfo.isEmpty()) {
        // Written without operators: each pair reads as "equals".
        os << indent << "disablewhen {";
        for (const DS_DisableInfo *group : info.disableInfo) {
            os << " {";
            for (int i = 0; i < group->entries(); i++) {
                os << " " << group->getParmNames()[i] << " " << group->getValues()[i] << " ";
            }
            os << "} ";
        }
        os << "}\n";
    }
    if (info.hideWhen.isstring()) {
        os << indent << "hidewhen " << info.hideWhen.c_str() << "\n";
    }
}

void DS_Creator::printBindings(std::ostream &os, const DS_ParmInfo &info)
{
    const std::string indent = indentOf(theGroupStack, 1);
    for (const DS_HandleBinding *handle : info.handles) {
        os << indent << "bindhandle " << handle->getChannelName() << " " << handle->getType();
        os << " \"" << DSprotect(handle->getLabel()) << "\"";
        os << " \"" << DSprotect(handle->getDesc()) << "\"";
        os << " \"" << DSprotect(handle->getDefaultSettings()) << "\"\n";
    }
    if (const DS_SelectorBinding *const selector = info.selector.get()) {
        os << indent << "bindselector\t" << selector->getType();
        os << " \"" << DSprotect(selector->getDesc()) << "\"";
        os << " \"" << DSprotect(selector->getPrompt()) << "\" " << selector->getAsterisk();
        os << " " << selector->getDragging();
        os << " \"" << DSprotect(selector->getPrimMask(), 1) << "\" " << selector->getInputIndex();
        os << " " << selector->getMenu() << " " << selector->getInputRequired() << "\n";
    }
}
