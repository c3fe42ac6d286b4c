#include <ZEL/ZEL_ChoiceList.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ONullStream.h>
#include <KIT/KIT_WorkArgs.h>
#include <KIT/KIT_WorkBuffer.h>
#include <SNK/SNK_CompiledCode.h>
#include <SNK/SNK_EvaluationContext.h>
#include <SNK/SNK_Python.h>
#include <SNK/SNK_Result.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/evaluation/ZEL_ChoiceThreadPrivate.h>

#include <memory>
#include <new>
#include <optional>
#include <sstream>

namespace
{

const char *textOf(const char *text)
{
    return text ? text : "";
}

/// Appends a text that is part of a Python literal in single quotes.
void appendLiteral(KIT_WorkBuffer &out, const char *text)
{
    KIT_String literal(text, true);
    literal.makeSmartQuotedString('\'');
    out.append(literal);
}

/// The statement that gives a menu script its `kwargs`.
void buildKwargs(KIT_WorkBuffer &out, const ZEL_Parm &parm, const char *ownerPath)
{
    KIT_WorkBuffer parmPath(ownerPath);
    parmPath.append('/');
    parmPath.append(parm.getToken());

    out.append("kwargs = {'node': vmr.node(");
    appendLiteral(out, ownerPath);
    out.append("), 'parm': vmr.parm(");
    appendLiteral(out, parmPath.buffer());

    constexpr bool withStartOffset = true;
    KIT_Array<int> numbers; // innermost first
    const int nesting = parm.getMultiInstanceIndex(numbers, withStartOffset);
    out.appendSprintf("), 'script_multiparm_nesting': %d", nesting);
    if (nesting == 0) {
        out.append(", 'script_multiparm_index': -1");
    }
    for (int level = nesting; level > 1; --level) {
        out.appendSprintf(", 'script_multiparm_index%d': %d", level, numbers[level - 1]);
    }
    if (nesting > 0) {
        out.appendSprintf(", 'script_multiparm_index': %d", numbers[0]);
    }
    out.append('}');
}

/// What makes a result invalid as a menu; null when it is valid.
const char *findFault(const SNK_Result &result)
{
    if (result.getType() == SNK_RESULT_EXCEPTION) {
        return result.getText().nonNullStr();
    }
    if (result.getType() != SNK_RESULT_STRINGS) {
        return "Python menu scripts must return a sequence of strings.";
    }
    return result.getStrings().entries() % 2 == 0
               ? nullptr
               : "Python menu scripts must return an even number of strings.";
}

} // namespace

const ZEL_Name *ZEL_ChoiceList::runScript(const ZEL_Parm *parm, bool quiet) const
{
    ZEL_ChoiceThread &thread = ZEL_ChoiceThread::get();
    const ZEL_ChoiceThread::ScriptRun run(thread, this);
    if (TRK_EvalContext::NoScripts::isOpen() || !run.mayRun() ||
        !TRK_Manager::countScriptRun(BASgetSTID())) {
        return nullptr;
    }
    thread.clear();
    const ZEL_Multi::KeepItems keep;
    const bool filledFlag = getChoiceNamesFromScript(thread, parm, quiet);
    return filledFlag && thread.getNameCount() > 0 ? thread.getNames() : nullptr;
}

bool ZEL_ChoiceList::getChoiceNamesFromScript(ZEL_ChoiceThread &names, const ZEL_Parm *parm,
                                              bool quiet) const
{
    ZEL_ParmOwner *owner = parm ? parm->getParmOwner() : nullptr;
    if (!owner) {
        return false;
    }
    std::optional<ZEL_AutoBlockErrors> block;
    if (quiet) {
        block.emplace();
    }
    return myScriptLanguage == TRK_SCRIPT_PYTHON
               ? getChoiceNamesFromPythonScript(names, *parm, *owner)
               : getChoiceNamesFromCmdlangScript(names, *owner);
}

bool ZEL_ChoiceList::getChoiceNamesFromCmdlangScript(ZEL_ChoiceThread &names,
                                                     ZEL_ParmOwner &owner) const
{
    std::ostringstream out;
    KIT_ONullStream err;
    owner.runMenuScript(myScript.c_str(), out, err);
    if (out.bad()) {
        throw std::bad_alloc();
    }

    KIT_WorkArgs words;
    KIT_String(out.str()).parse(words, 0, "\"'", false);
    names.startNames();
    for (int64_t i = 0; i + 1 < words.entries(); i += 2) {
        names.appendName(KIT_StringHolder(words[i]), KIT_StringHolder(words[i + 1]));
    }
    return true;
}

bool ZEL_ChoiceList::getChoiceNamesFromPythonScript(ZEL_ChoiceThread &names, const ZEL_Parm &parm,
                                                    ZEL_ParmOwner &owner) const
{
    KIT_WorkBuffer pathBuffer;
    const char *path = textOf(owner.getFullPath(pathBuffer));
    KIT_WorkBuffer source(path);
    if (!source.isEmpty()) {
        source.append('/');
    }
    source.append(parm.getToken());

    const SNK_CompiledCode code(myScript.c_str(), SNK_CODE_BODY, source.buffer(), true);
    SNK_EvaluationContext context("vmr");
    KIT_WorkBuffer kwargs;
    buildKwargs(kwargs, parm, path);
    SNKrunPythonStatements(kwargs.buffer(), context);

    SNK_Result result;
    {
        std::unique_ptr<ZEL_ParmOwnerContext> scope;
        owner.pushScriptContext(scope);
        code.evaluateInContext(SNK_RESULT_STRINGS, context, result);
    }
    if (const char *fault = findFault(result)) {
        KIT_WorkBuffer header;
        header.sprintf("Error running Python menu script in parameter,\n    %s (%s/%s):",
                       textOf(parm.getLabel()), path, textOf(parm.getToken()));
        SNKdisplayPythonTraceback(header.buffer(), fault);
        return false;
    }
    const KIT_StringArray &texts = result.getStrings();
    names.startNames();
    for (int64_t i = 0; i + 1 < texts.entries(); i += 2) {
        names.appendName(KIT_StringHolder(texts[i]), KIT_StringHolder(texts[i + 1]));
    }
    return true;
}
