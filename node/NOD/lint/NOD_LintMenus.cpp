// Rules of menus: Z407 to Z409, and Z107 of their entries.

#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <algorithm>
#include <unordered_map>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;

/// The menu that counts; null without one.
const Entry *findMenu(const Block &block)
{
    const auto found =
        std::find_if(block.entries.rbegin(), block.entries.rend(),
                     [](const Entry &entry) { return entry.word.substr(0, 4) == "menu"; });
    return found == block.entries.rend() ? nullptr : &*found;
}

/// The first token in the braces.
int firstOf(const NOD_LintContext &context, const Entry &menu)
{
    int at = menu.first;
    while (at < menu.last && context.tokens().text(at) == "usetokenvalue") {
        ++at;
    }
    return at + 1;
}

void checkEntries(NOD_LintContext &context, int number, const Entry &menu)
{
    std::unordered_map<std::string_view, int> tokens;
    for (int i = firstOf(context, menu); i + 1 < menu.last - 1; i += 2) {
        const std::string_view token = context.tokens().text(i);
        const auto [first, newFlag] = tokens.emplace(token, i);
        if (token != "_separator_" && !newFlag) {
            Extra extra;
            extra.related = first->second;
            extra.relatedText = "the first one is here";
            context.add(NOD_LintCode::Z407, number, i,
                        "two entries of the menu are " + std::string(token), extra);
        }
        if (token != "_separator_" && !token.empty() && context.tokens().text(i + 1).empty()) {
            context.add(NOD_LintCode::Z107, number, i + 1,
                        "the entry " + std::string(token) + " of the menu has no label");
        }
    }
}

void checkScript(NOD_LintContext &context, int number, const Entry &menu,
                 const ZEL_ChoiceList &made)
{
    const int script = firstOf(context, menu) + 1;
    NOD_ExpressionFault fault;
    const std::string text = made.getScript().toStdString();
    const auto isPython = [&] { return NODcheckPythonScript(text, fault); };
    Extra extra;
    if (made.getScriptLanguage() == TRK_SCRIPT_PYTHON) {
        if (!isPython()) {
            NODsetFaultPlace(context, script, text, fault, extra);
            context.add(NOD_LintCode::Z409, number, script, fault.text, extra);
        } else {
            NODtellUnknownPythonNames(context, number, script, text);
        }
        return;
    }
    bool languageFlag = false;
    for (int i = menu.first; i < menu.last; ++i) {
        languageFlag = languageFlag || context.tokens().text(i) == "language";
    }
    if (!languageFlag && isPython()) {
        const int close = menu.last - 1;
        extra.fix = context.replace(close, close + 1, "language python }");
    }
    context.add(NOD_LintCode::Z408, number, script,
                "the menu stays empty: its script is in no language that is known here", extra);
}

} // namespace

void NODlintMenus(NOD_LintContext &context)
{
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        const Block &block = context.blocks()[i];
        const Entry *const menu =
            block.kind == NOD_LintScript::Kind::PARM ? findMenu(block) : nullptr;
        const ZEL_ChoiceList *const made = block.record ? block.record->getMenu() : nullptr;
        if (!menu || !made) {
            continue;
        }
        if (made->getScript().isstring()) {
            checkScript(context, int(i), *menu, *made);
        } else if (made->getStaticSize() > 0) { // else `type` cleared it
            checkEntries(context, int(i), *menu);
        }
    }
}
