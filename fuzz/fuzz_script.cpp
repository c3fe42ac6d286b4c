// Fuzzes dialog scripts: reads any text as a dialog, flattens it twice, walks the imports, builds a list
// of what was read and saves and loads it in both forms. What could be read is written as a script and
// read again. What could be read is judged, and can be read after the edits of what is found.

#include "FuzzMemory.h"
#include "FuzzScript.h"

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptCheck.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

namespace
{

void checkImports(const ZEL_ScriptImports *imports)
{
    for (int i = 0; imports && i < imports->entries(); ++i) {
        const ZEL_ScriptImportBlock &block = *imports->getBlock(i);
        require(block.offset >= 0 && block.size >= 0 && block.nestLevel >= 0);
        require(block.label.isEmpty() || imports->findBlockWithLabel(block.label));
    }
}

std::unique_ptr<ZEL_Template[]> flatten(ZEL_ScriptPage &page)
{
    const int size = page.computeTemplateSize();
    std::unique_ptr<ZEL_Template[]> templates(new ZEL_Template[static_cast<size_t>(size) + 1]);
    ZEL_ScriptImports *imports = nullptr;
    int count = 0;
    page.fillTemplate(templates.get(), count, imports);
    require(count == size && ZEL_Template::countTemplates(templates.get()) == size);
    checkImports(imports);
    delete imports;
    return templates;
}

void checkObsolete(ZEL_ScriptPage &page)
{
    const int size = page.computeObsoleteTemplateSize();
    const std::unique_ptr<ZEL_Template[]> old(new ZEL_Template[static_cast<size_t>(size) + 1]);
    page.fillObsoleteTemplate(old.get());
    require(ZEL_Template::countTemplates(old.get()) == size);
}

void checkList(ZEL_Template *templates)
{
    // No collection: nothing in the text may be evaluated.
    ZEL_ParmList list(templates, nullptr, nullptr, nullptr, "", false);
    for (const bool binaryFlag : {false, true}) {
        std::ostringstream os;
        list.save(os, binaryFlag, false);
        const std::string text = os.str();
        KIT_IStream is(text.data(), text.size(),
                       binaryFlag ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        list.load(is, "fuzz", nullptr);
    }
}

/// Reads a script and writes it again, without the header, which holds the time. False if it can't be
/// read, or if its help has braces: those of a quoted text count when the block is read again.
bool rewrite(const std::string &text, std::string &written)
{
    struct BareCreator : DS_Creator
    {
        using DS_Creator::DS_Creator;
        void writeHeader(const char *, const char *) override {}
    };
    KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
    DS_Stream stream(memory, "fuzz", false);
    DS_ScriptReader reader("fuzz");
    if (!reader.getPage().parse(stream, true, nullptr, false, true, 0) ||
        std::strpbrk(reader.getHelpText(), "{}")) {
        return false;
    }
    std::ostringstream os;
    BareCreator creator(reader, "fuzz");
    creator.prepareToWriteOutput();
    creator.openOutput(os);
    creator.writeOutput();
    creator.closeOutput();
    written = os.str();
    return true;
}

/// What the writer can't keep is lost in the first round; a type that it narrows changes the defaults
/// in the next.
void checkRewriting(const std::string &text)
{
    std::string first, second, third;
    if (rewrite(text, first)) {
        require(rewrite(first, second));
        require(rewrite(second, third));
        require(second == third);
    }
}

/// Included files would be read in full, as the oracle of memory doesn't expect.
void checkLint(const std::string &text)
{
    NOD_Report report;
    const auto script =
        NOD_Interface::fromText(text, "fuzz", report, NOD_Interface::Includes::NONE);
    if (!script || script->getText() != text) {
        return;
    }
    NOD_Report judging;
    const std::vector<NOD_LintFinding> findings = NODlint(*script, {}, &judging);
    require(!judging.hasErrors());
    for (const NOD_LintFinding &finding : findings) {
        require(finding.rule && finding.message.detail && !finding.message.text.empty());
    }
    int applied = 0;
    const std::string mended = NODapplyLintFixes(findings, "fuzz", text, applied);
    require(NOD_Interface::fromText(mended, "fuzz", report, NOD_Interface::Includes::NONE) !=
            nullptr);
    require(NODmendScript(script, "fuzz", {}, report).script != nullptr);
}

/// All mistakes: the verdict is the reader's, and places are in the text.
void checkMistakes(const std::string &text)
{
    NOD_Report reader;
    NOD_Report all;
    const auto none = NOD_Interface::Includes::NONE;
    const bool goodFlag = NOD_Interface::fromText(text, "fuzz", reader, none) != nullptr;
    require((NODcheckScript(text, "fuzz", all, none) != nullptr) == goodFlag);
    require(all.hasErrors() != goodFlag);
    for (const NOD_Message &message : all.getMessages()) {
        require(!message.detail ||
                (message.detail->place.endOffset >= message.detail->place.offset &&
                 message.detail->place.endOffset <= int64_t(text.size())));
    }
    if (!goodFlag) {
        const NOD_Judgement judged = NODjudgeSoundPart(text, "fuzz", {}, all, none);
        require(judged.rest.getErrorCount() == all.getErrorCount());
        for (const NOD_LintFinding &finding : judged.findings) {
            require(finding.message.detail->place.endOffset <= int64_t(text.size()));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    setScriptLimits();
    KIT_ErrorManager::Scope scope(1);
    KIT_IStream memory(reinterpret_cast<const char *>(data), size, KIT_IStream::TEXT);
    DS_Stream stream(memory, "fuzz", true);
    ZEL_ScriptPage page;
    const int ok = page.parse(stream, true, nullptr, false, true, 0);
    require(!ok || (page.getToken().isstring() && page.getLabel().isstring()));

    page.enforceOptions();
    KIT_ValArray<ZEL_ScriptParm *> parms;
    page.appendScriptParms(parms);
    require(page.containsReservedName() || parms.entries() == page.getParmEntries());

    flatten(page);
    const std::unique_ptr<ZEL_Template[]> templates = flatten(page);
    checkObsolete(page);
    checkList(templates.get());
    const std::string text(reinterpret_cast<const char *>(data), size);
    checkRewriting(text);
    checkLint(text);
    checkMistakes(text);
    return 0;
}
