#include <ZEL/ZEL_TemplateBuilder.h>

#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace
{

void allowCooking(ZEL_Template &one)
{
    one.setNoCook(false);
    for (ZEL_Template *child = one.getMultiParmTemplate(); child && !child->isTerminator();
         child++) {
        allowCooking(*child);
    }
}

ZEL_Template *findIn(ZEL_Template *templates, int count, const KIT_StringRef &token)
{
    for (ZEL_Template *one = templates; one != templates + count; one++) {
        if (one->isTerminator()) {
            continue;
        }
        if (one->getTokenRef() == token) {
            return one;
        }
        if (ZEL_Template *const children = one->getMultiParmTemplate()) {
            ZEL_Template *const child =
                findIn(children, ZEL_Template::countTemplates(children), token);
            if (child) {
                return child;
            }
        }
    }
    return nullptr;
}

} // namespace

ZEL_TemplateBuilder::ZEL_TemplateBuilder(const KIT_StringHolder &name, const char *script,
                                         const char **cppOptions, int extra)
    : mySourceName(name)
{
    script = script ? script : "";
    KIT_IStream memory(script, std::strlen(script), KIT_IStream::TEXT);
    load(memory, cppOptions, extra);
}

ZEL_TemplateBuilder::ZEL_TemplateBuilder(const KIT_StringHolder &name, KIT_IStream &script,
                                         const char **cppOptions, int extra)
    : mySourceName(name)
{
    load(script, cppOptions, extra);
}

void ZEL_TemplateBuilder::load(KIT_IStream &script, const char **cppOptions, int extra)
{
    DS_Stream stream(script, mySourceName.c_str(), false);
    if (cppOptions) {
        stream.setCPPOptions(cppOptions);
    }
    extra = std::max(extra, 0);
    myPage = new ZEL_ScriptPage;
    myPage->parse(stream, true, nullptr, false, true, 0);

    const auto size = static_cast<uint32_t>(myPage->computeTemplateSize());
    myTemplates = new ZEL_Template[size + static_cast<uint32_t>(extra) + 1];
    myLength = extra;
    ZEL_ScriptImports *imports = nullptr;
    myPage->fillTemplate(myTemplates, myLength, imports);
    delete imports;
    for (int i = extra; i < myLength; i++) {
        allowCooking(myTemplates[i]);
    }
    myJustBuiltFlag = true;
}

bool ZEL_TemplateBuilder::justBuilt()
{
    return std::exchange(myJustBuiltFlag, false);
}

// -------------------------------------------------------------------- //
// Adding to the templates
// -------------------------------------------------------------------- //

ZEL_Template *ZEL_TemplateBuilder::findTemplate(const KIT_StringRef &token) const
{
    return findIn(myTemplates, myLength, token);
}

ZEL_Template *ZEL_TemplateBuilder::findOrTell(const KIT_StringRef &token, const char *purpose) const
{
    ZEL_Template *const found = findTemplate(token);
    if (!found) {
        std::fprintf(stderr, "Could not find parameter %s in file %s to %s.\n", token.nonNullStr(),
                     mySourceName.nonNullStr(), purpose);
    }
    return found;
}

void ZEL_TemplateBuilder::setCallback(const KIT_StringRef &token, ZEL_Callback callback)
{
    if (ZEL_Template *const found = findOrTell(token, "add a callback")) {
        found->setCallback(callback);
    }
}

void ZEL_TemplateBuilder::setChoiceListPtr(const KIT_StringRef &token, ZEL_ChoiceList *choices)
{
    if (ZEL_Template *const found = findOrTell(token, "add a choicelist")) {
        found->setChoiceListPtr(choices);
    }
}

void ZEL_TemplateBuilder::setNoCook(const KIT_StringRef &token, bool flag)
{
    if (ZEL_Template *const found = findOrTell(token, "set nocook")) {
        found->setNoCook(flag);
    }
}

void ZEL_TemplateBuilder::setNoResim(const KIT_StringRef &token, bool flag)
{
    if (ZEL_Template *const found = findOrTell(token, "set noresim")) {
        found->setNoResim(flag);
    }
}
