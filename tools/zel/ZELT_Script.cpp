#include "ZELT_Script.h"

#include "ZELT_Messages.h"

#include <DS/DS_Stream.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <cerrno>

namespace
{

/// Reports the preprocessor's messages like the script's own.
class ScriptStream : public DS_Stream
{
public:
    ScriptStream(KIT_IStream &is, const std::string &file, ZELT_Messages &messages)
        : DS_Stream(is, file.c_str(), theNotReduced), myMessages(messages)
    {}

    void cppWarning(const char *text) override { report(KIT_ERROR_WARNING, text); }
    void cppError(const char *text) override { report(KIT_ERROR_ABORT, text); }

private:
    static constexpr bool theNotReduced = false;

    void report(KIT_ErrorSeverity severity, const char *text)
    {
        myMessages.add(severity, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, "", 0, text);
    }

    ZELT_Messages &myMessages;
};

bool parsePage(ZEL_ScriptPage &page, DS_Stream &stream)
{
    constexpr bool wantBrace = true;
    constexpr bool isImport = false;
    constexpr bool clearJoin = true;
    constexpr int depth = 0;
    if (!page.parse(stream, wantBrace, nullptr, isImport, clearJoin, depth)) {
        return false;
    }
    KIT_String rest;
    if (stream.getToken(rest)) {
        stream.warning("What stands behind the closing brace of the script isn't read");
    }
    return true;
}

/// Scripts cook unless they say otherwise.
void settleNoCook(ZEL_Template *templates)
{
    for (ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        at->setNoCook(false);
        if (const ZEL_SpareData *const spare = at->getSparePtr()) {
            constexpr bool noCookByDefault = false;
            at->setNoCook(*spare, noCookByDefault);
        }
        if (at->isMultiType() && !at->isRampType()) {
            settleNoCook(at->getMultiParmTemplate());
        }
    }
}

int countParms(const ZEL_Template *templates)
{
    int count = 0;
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        count += !at->isSwitcher();
        if (at->isMultiType() && !at->isRampType()) {
            count += countParms(at->getMultiParmTemplate());
        }
    }
    return count;
}

std::string stemOf(const std::string &file)
{
    const std::size_t start = file.rfind('/') + 1; // 0 without one
    const std::string name = file.substr(start);
    const std::string stem = name.substr(0, name.rfind('.'));
    return stem.empty() || stem == "." || stem == ".." ? "node" : stem;
}

} // namespace

ZELT_Script::ZELT_Script() = default;
ZELT_Script::~ZELT_Script() = default;

bool ZELT_Script::parse(const std::string &file, ZEL_ScriptPage &page, ZELT_Messages &messages)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (!is.isReadable()) {
        messages.error(file, "can't be read: " + ZELTsystemError());
        return false;
    }
    return parseStream(is, file, page, messages);
}

bool ZELT_Script::parseStream(KIT_IStream &is, const std::string &file, ZEL_ScriptPage &page,
                              ZELT_Messages &messages)
{
    const int errorsBefore = messages.getErrorCount();
    ScriptStream stream(is, file, messages);
    const bool parsed = parsePage(page, stream);
    messages.takeErrors(file);
    if (!parsed || messages.getErrorCount() != errorsBefore) {
        // Some blocks fail at their start without a message.
        if (messages.getErrorCount() == errorsBefore) {
            stream.error("Expecting open brace");
        }
        return false;
    }
    return true;
}

std::unique_ptr<ZELT_Script> ZELT_Script::load(const std::string &file, ZELT_Messages &messages)
{
    std::unique_ptr<ZELT_Script> script(new ZELT_Script);
    script->myFile = file;
    script->myPage = std::make_unique<ZEL_ScriptPage>();
    if (!parse(file, *script->myPage, messages)) {
        return nullptr;
    }
    script->describe();
    return script;
}

std::unique_ptr<ZELT_Script> ZELT_Script::loadText(const std::string &text, const std::string &name,
                                                   ZELT_Messages &messages)
{
    const std::size_t start = text.find_first_not_of(" \t\n");
    const bool wholeFlag = start != std::string::npos && text[start] == '{';
    const std::string whole = wholeFlag ? text : "{ name \"" + name + "\"\n" + text + "\n}";
    KIT_IStream is(whole.data(), whole.size(), KIT_IStream::TEXT);
    std::unique_ptr<ZELT_Script> script(new ZELT_Script);
    script->myFile = name;
    script->myPage = std::make_unique<ZEL_ScriptPage>();
    if (!parseStream(is, name, *script->myPage, messages)) {
        return nullptr;
    }
    script->describe();
    return script;
}

void ZELT_Script::describe()
{
    const char *const token = myPage->getToken();
    myName = token && *token ? token : stemOf(myFile);
    if (myName.find('/') != std::string::npos) {
        myName = stemOf(myFile);
    }
    const auto count = static_cast<std::uint32_t>(myPage->computeTemplateSize());
    myTemplates.reset(new ZEL_Template[count + 1]);
    int index = 0;
    ZEL_ScriptImports *imports = nullptr;
    myPage->fillTemplate(myTemplates.get(), index, imports);
    myImports.reset(imports);
    settleNoCook(myTemplates.get());
}

int ZELT_Script::getParmCount() const
{
    return countParms(myTemplates.get());
}
