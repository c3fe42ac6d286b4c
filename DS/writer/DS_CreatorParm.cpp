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
#include <new>
#include <sstream>
#include <string>
#include <string_view>

namespace
{

const char *indentOf(const KIT_StringArray &groups, int more)
{
    return DS_Creator::getIndent(static_cast<int>(groups.entries()) + more);
}

/// One parameter's block while it is written.
struct Block
{
    std::ostream &os;
    const DS_ParmInfo &info;
    std::string indent;
    std::string deeper;

    std::ostream &line(const char *keyword) const { return os << indent << keyword; }
};

/// Writes one keyword of a block, or nothing if the record doesn't need it. The bits are those of a
/// keyword for the look.
struct Writer
{
    const char *keyword;
    int look;
    void (*print)(const Block &block, const Writer &row);
};

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

void printText(const Block &block, const Writer &row, const char *text)
{
    if (text && *text) {
        block.line(row.keyword) << "\t\"" << DSprotect(text) << "\"\n";
    }
}

// Name and label aren't escaped here: records may contain them in script form.
void printName(const Block &block, const Writer &row)
{
    block.line(row.keyword) << "\t" << block.info.name.nonNullStr() << "\n";
}

void printLabel(const Block &block, const Writer &row)
{
    block.line(row.keyword) << "\t\"" << block.info.label.nonNullStr() << "\"\n";
}

void printType(const Block &block, const Writer &row)
{
    block.line(row.keyword) << "\t" << typeWord(block.info) << "\n";
}

void printLook(const Block &block, const Writer &row)
{
    if (block.info.type.hasInterfaceType(static_cast<ZEL_Type::ZEL_InterfaceType>(row.look))) {
        block.line(row.keyword) << "\n";
    }
}

void printMenu(const Block &block, const Writer &row)
{
    const DS_ParmInfo &info = block.info;
    if (!hasMenu(info) || std::string_view(row.keyword) != menuKeyword(info, typeWord(info))) {
        return;
    }
    block.line(row.keyword) << "\t{\n";
    for (const DS_MenuChoice *choice : info.menuChoices) {
        block.os << block.deeper << "\"" << DSprotect(choice->getValue()) << "\"";
        block.os << "\t\"" << DSprotect(choice->getLabel()) << "\"\n";
    }
    if (info.menuChoices.isEmpty()) {
        std::istringstream script(info.menuScript.toStdString());
        for (std::string text; std::getline(script, text);) {
            block.os << block.deeper << "[ " << text << " ]\n";
        }
        if (script.bad()) {
            throw std::bad_alloc();
        }
        if (info.menuLanguage != TRK_SCRIPT_COMMAND) {
            block.line("language") << "\t" << TRKscriptLanguageAsString(info.menuLanguage) << "\n";
        }
    }
    block.line("}\n");
}

void printSize(const Block &block, const Writer &row)
{
    if (!hasMenu(block.info) && block.info.size != 1) {
        block.line(row.keyword) << "\t" << block.info.size << "\n";
    }
}

void printCallback(const Block &block, const Writer &row)
{
    printText(block, row, block.info.callback);
}

void printHelp(const Block &block, const Writer &row)
{
    printText(block, row, block.info.help);
}

void printRenderManType(const Block &block, const Writer &)
{
    if (block.info.rmanType.isstring()) {
        block.line("parmtag\t{ script_ritype\t\"") << DSprotect(block.info.rmanType) << "\" }\n";
    }
}

void printOpFilter(const Block &block, const Writer &row)
{
    printText(block, row, block.info.opFilter);
}

void appendNumber(KIT_WorkBuffer &values, const DS_DefaultValue &defaults, int index)
{
    const bool wholeFlag = defaults.getKind() == DS_DefaultValue::INTEGERS;
    const double value = wholeFlag ? defaults.getInteger(index) : defaults.getFloat(index);
    values.append(' ');
    values.append(KIT_Digits(value).view());
}

void appendText(KIT_WorkBuffer &values, const DS_DefaultValue &defaults, int index)
{
    const TRK_StringMeaning meaning = defaults.getStringMeaning(index);
    values.append(meaning ? " [ \"" : " \"");
    ZEL_ScriptParm::protectStrcat(values, defaults.getString(index), 0);
    // The quote isn't closed after a text with a meaning. Kept: users compare the texts of scripts.
    if (meaning) {
        values.append(' ');
        values.append(TRKmeaningToString(meaning));
        values.append(']');
    } else {
        values.append('"');
    }
}

void printDefaults(const Block &block, const Writer &row)
{
    const DS_DefaultValue *const defaults = block.info.defaults.get();
    const int count = defaults ? std::min(defaults->getSize(), block.info.size) : 0;
    KIT_WorkBuffer values;
    for (int i = 0; i < count; i++) {
        if (defaults->getKind() == DS_DefaultValue::STRINGS) {
            appendText(values, *defaults, i);
        } else {
            appendNumber(values, *defaults, i);
        }
    }
    if (values.length() != 0) {
        block.line(row.keyword) << "\t{" << values.buffer() << " }\n";
    }
}

void printRange(const Block &block, const Writer &row)
{
    if (const ZEL_Range *const range = block.info.range.get()) {
        block.line(row.keyword) << "\t { " << numberText(block.os, range->getUIMin());
        block.os << (range->hasParmMin() ? "!" : "") << " ";
        block.os << numberText(block.os, range->getUIMax());
        block.os << (range->hasParmMax() ? "!" : "") << " }\n";
    }
}

void printExport(const Block &block, const Writer &row)
{
    // "none" is written too, although it is the default of a script without the keyword.
    const int level = block.info.exportLevel;
    if (level >= 0 && level < 3) {
        block.line(row.keyword) << "\t" << DS_Creator::theToolboxLabels[level] << "\n";
    }
}

void printDisableWhen(const Block &block, const Writer &row)
{
    if (block.info.disableWhen.isstring()) {
        block.line(row.keyword) << " " << block.info.disableWhen.c_str() << "\n";
    } else if (!block.info.disableInfo.isEmpty()) {
        // Written without operators: each pair reads as "equals".
        block.line(row.keyword) << " {";
        for (const DS_DisableInfo *group : block.info.disableInfo) {
            block.os << " {";
            for (int i = 0; i < group->entries(); i++) {
                block.os << " " << group->getParmNames()[i] << " " << group->getValues()[i] << " ";
            }
            block.os << "} ";
        }
        block.os << "}\n";
    }
}

void printHideWhen(const Block &block, const Writer &row)
{
    if (block.info.hideWhen.isstring()) {
        block.line(row.keyword) << " " << block.info.hideWhen.c_str() << "\n";
    }
}

void printTags(const Block &block, const Writer &row)
{
    for (const DS_AttributeValue *attribute : block.info.attributes) {
        block.line(row.keyword) << " { \"" << DSprotect(attribute->getToken()) << "\"";
        block.os << " \"" << DSprotect(attribute->getValue()) << "\" }\n";
    }
}

void printHandles(const Block &block, const Writer &row)
{
    for (const DS_HandleBinding *handle : block.info.handles) {
        block.line(row.keyword) << " " << handle->getChannelName() << " " << handle->getType();
        block.os << " \"" << DSprotect(handle->getLabel()) << "\"";
        block.os << " \"" << DSprotect(handle->getDesc()) << "\"";
        block.os << " \"" << DSprotect(handle->getDefaultSettings()) << "\"\n";
    }
}

void printSelector(const Block &block, const Writer &row)
{
    if (const DS_SelectorBinding *const selector = block.info.selector.get()) {
        std::ostream &os = block.line(row.keyword) << "\t" << selector->getType();
        os << " \"" << DSprotect(selector->getDesc()) << "\"";
        os << " \"" << DSprotect(selector->getPrompt()) << "\" " << selector->getAsterisk();
        os << " " << selector->getDragging();
        os << " \"" << DSprotect(selector->getPrimMask(), 1) << "\" " << selector->getInputIndex();
        os << " " << selector->getMenu() << " " << selector->getInputRequired() << "\n";
    }
}

constexpr auto NOT_WRITTEN = nullptr;

constexpr Writer theWriters[] = {
#define ZEL_PARM_KEYWORD(word, form, parser, argument, writer) {word, 0, writer},
#define ZEL_PARM_LOOK(word, bit) {word, ZEL_Type::bit, printLook},
#define ZEL_PARM_SKIPPED(word, count, writer) {word, 0, writer},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

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
    os << indentOf(theGroupStack, 0) << "parm {\n";
    const std::string indent = indentOf(theGroupStack, 1);
    const std::string deeper = indentOf(theGroupStack, 2);
    const Block block = {os, info, indent, deeper};
    for (const Writer &row : theWriters) {
        if (row.print) {
            row.print(block, row);
        }
    }
    os << indentOf(theGroupStack, 0) << "}\n";
}
