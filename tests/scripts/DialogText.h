// What the tests of dialogs share: a script read as a page, its messages, and its templates as text.
#pragma once

#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

inline std::string numberText(double value)
{
    std::ostringstream os;
    os << value;
    return os.str();
}

/// The type without what follows from other words: its name, or its dump if it has none.
inline std::string typeText(ZEL_Type type)
{
    std::string flags;
    const std::pair<ZEL_Type, const char *> bits[] = {
        {ZEL_TYPE_INVISIBLE, "+invisible"}, {ZEL_TYPE_JOIN_NEXT, "+join"},
        {ZEL_TYPE_LABEL_NONE, "+nolabel"},  {ZEL_TYPE_UNQUOTED, "+unquoted"},
        {ZEL_TYPE_BASEPARM, "+base"},
    };
    for (const auto &[bit, text] : bits) {
        flags += type.hasAnyOf(bit) ? text : "";
        type.clear(bit);
    }
    flags += type.hasAnyOf(ZEL_TYPE_NOCOOK) ? "" : "+cook";
    type.clear(ZEL_TYPE_NOCOOK);
    const char *name = ZELgetTypeConstantName(type);
    if (!name && type.hasAnyOf(ZEL_TYPE_CHANNEL)) {
        type.clear(ZEL_TYPE_CHANNEL);
        flags = "+channel" + flags;
        name = ZELgetTypeConstantName(type);
    }
    std::ostringstream dump;
    type.saveASCII(dump);
    return (name ? std::string(name).substr(4) : dump.str()) + flags;
}

inline std::string conditionText(const ZEL_ConditionalBase *base)
{
    std::string all;
    for (int kind = 0; base && kind < 3; kind++) {
        if (const ZEL_Conditional *one = base->getConditional(ZEL_ConditionalType(kind))) {
            KIT_String text;
            one->getStringFromList(text);
            all += std::string(" ") + one->getName(false) + ":" + text.nonNullStr();
        }
    }
    return all;
}

inline std::string spareText(const ZEL_SpareData *spare)
{
    std::map<std::string, std::string> sorted;
    if (spare) {
        spare->traverseConst(
            [](const char *token, const char *value, void *data) {
                (*static_cast<decltype(sorted) *>(data))[token] = value;
                return 1;
            },
            &sorted);
    }
    std::string all;
    for (const auto &[token, value] : sorted) {
        all += " " + token + "=" + value;
    }
    return all;
}

inline std::string menuText(const ZEL_ChoiceList *menu)
{
    std::string all = " menu" + std::to_string(menu->getType()) + "(";
    for (const ZEL_Name *name = menu->choiceNamesPtr(); name && !name->isSentinel(); name++) {
        all += std::string(name == menu->choiceNamesPtr() ? "" : ",") + name->getToken() + "/" +
               name->getLabel();
    }
    if (menu->getScript().isstring()) {
        all +=
            "`" + menu->getScript().toStdString() + "`" + std::to_string(menu->getScriptLanguage());
    }
    return all + ")";
}

inline std::string defaultsText(const ZEL_Default *defaults, int count)
{
    std::string all;
    for (int i = 0; i < count; i++) {
        const ZEL_Default &one = defaults[i];
        all += (i ? "," : "") + numberText(one.getFloat());
        all += one.gotString() ? std::string(":") + one.getString() : "";
        all += one.getStringMeaning() ? "@" + std::to_string(one.getStringMeaning()) : "";
    }
    return " def(" + all + ")";
}

/// One template, each part only where it isn't the usual one.
inline std::string templateText(const ZEL_Template &one)
{
    std::string all = one.getToken();
    if (std::string(one.getLabel()) != one.getToken()) {
        all += std::string("'") + one.getLabel() + "'";
    }
    const auto part = [](bool isThere, const char *word, int number) {
        return isThere ? word + std::to_string(number) : std::string();
    };
    all += " " + typeText(one.getType());
    all += part(one.getVectorSize() != 1, "[", one.getVectorSize());
    all += one.getVectorSize() != 1 ? "]" : "";
    all += part(one.isMultiType(), " multi", one.getMultiType() & ZEL_MULTITYPE_KIND_MASK);
    all += part(one.getTypeExtended(), " x", one.getTypeExtended());
    all += part(one.exportLevel(), " export", one.exportLevel());
    if (one.getFactoryDefaults()) {
        all += defaultsText(one.getFactoryDefaults(), one.getVectorSize());
    }
    if (const ZEL_Range *range = one.getRangePtr()) {
        all += " range(" + numberText(range->getUIMin()) + (range->hasParmMin() ? "!," : ",") +
               numberText(range->getUIMax()) + (range->hasParmMax() ? "!)" : ")");
    }
    if (one.getChoiceListPtr() && !one.isAutomaticallyGeneratedChoiceList()) {
        all += menuText(one.getChoiceListPtr());
    }
    if (one.getHelpText() && *one.getHelpText()) {
        all += std::string(" help:") + one.getHelpText();
    }
    all += conditionText(one.getConditionalBasePtr()) + spareText(one.getSparePtr());
    if (one.getMultiParmTemplate() && !one.isRampType()) {
        all += " <";
        for (const ZEL_Template *child = one.getMultiParmTemplate(); !child->isTerminator();
             child++) {
            all += (child == one.getMultiParmTemplate() ? "" : "; ") + templateText(*child);
        }
        all += ">";
    }
    return all;
}

/// "s Error(3): text" as "E: text", "s Warning(1): text" as "W: text", with "; " between them.
inline std::string shortMessages(const std::string &lines)
{
    std::istringstream in(lines);
    std::string all;
    for (std::string line; std::getline(in, line);) {
        const size_t text = line.find("): ");
        const bool errorFlag = line.find(" Error(") < text;
        const bool warningFlag = line.find(" Warning(") < text;
        all += all.empty() ? "" : "; ";
        all += errorFlag     ? "E: " + line.substr(text + 3)
               : warningFlag ? "W: " + line.substr(text + 3)
                             : line;
    }
    return all;
}

/// A page read from a text named "s", flattened if it could be read.
struct Dialog
{
    explicit Dialog(const std::string &text)
    {
        KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
        DS_Stream stream(memory, "s", true);
        read(stream);
    }
    explicit Dialog(DS_Stream &stream) { read(stream); }
    ~Dialog() { delete imports; }

    void read(DS_Stream &stream)
    {
        testing::internal::CaptureStderr();
        okFlag = page.parse(stream, true, nullptr, false, true, 0) != 0;
        messages = shortMessages(testing::internal::GetCapturedStderr());
        KIT_String rest;
        restFlag = stream.getToken(rest) != 0;
        fill();
    }

    void fill()
    {
        const int size = page.computeTemplateSize();
        templates.reset(new ZEL_Template[static_cast<size_t>(size) + 1]);
        count = 0;
        page.fillTemplate(templates.get(), count, imports);
        EXPECT_EQ(count, size);
    }

    /// The templates with "\n" between them, or "failed".
    std::string dump() const { return okFlag ? linesOf(templates.get(), count) : "failed"; }
    std::string obsolete()
    {
        const int size = page.computeObsoleteTemplateSize();
        std::unique_ptr<ZEL_Template[]> old(new ZEL_Template[size_t(size) + 1]);
        page.fillObsoleteTemplate(old.get());
        return linesOf(old.get(), size);
    }
    static std::string linesOf(const ZEL_Template *first, int count)
    {
        std::string all;
        for (int i = 0; i < count; i++) {
            all += (i ? "\n" : "") + templateText(first[i]);
        }
        return all;
    }

    ZEL_ScriptPage page;
    bool okFlag = false;
    bool restFlag = false; // tokens were left after the page
    std::string messages;
    std::unique_ptr<ZEL_Template[]> templates;
    int count = 0;
    ZEL_ScriptImports *imports = nullptr;
};

/// A text, the dump that it gives, and what is reported meanwhile.
using DialogCase = std::tuple<const char *, const char *, const char *>;

/// The text of each case is put between the two.
inline void checkDialogs(const std::vector<DialogCase> &cases, const std::string &before = "",
                         const std::string &after = "")
{
    for (const auto &[text, dump, messages] : cases) {
        const Dialog dialog(before + text + after);
        EXPECT_EQ(dialog.dump(), dump) << text;
        EXPECT_EQ(dialog.messages, messages) << text;
        EXPECT_FALSE(dialog.restFlag && dialog.okFlag) << text;
    }
}
