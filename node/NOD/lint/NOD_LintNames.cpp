// Rules of names: Z101 to Z107.

#include <NOD/lint/NOD_LintContextPrivate.h>

#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace
{

using Block = NOD_LintContext::Block;
using Kind = NOD_LintScript::Kind;

/// The first parameter of each name.
std::unordered_map<std::string_view, int> findNames(const NOD_LintContext &context)
{
    std::unordered_map<std::string_view, int> names;
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        const int name = context.blocks()[i].description ? context.script().nameOf(int(i)) : -1;
        if (name >= 0) {
            names.emplace(context.tokens().text(name), name);
        }
    }
    return names;
}

void tellFaults(NOD_LintContext &context)
{
    std::unordered_map<std::string_view, int> names; // once one is asked for
    for (const NOD_InterfaceFault &fault : context.faults().faults) {
        const int block = context.script().findBlock(fault.parm);
        const int name = context.script().nameOf(block);
        const auto addTwin = [&](NOD_LintCode code) {
            names = names.empty() ? findNames(context) : std::move(names);
            const auto other = names.find(fault.word);
            NOD_LintContext::Extra extra;
            if (other != names.end() && other->second != name) {
                extra.related = other->second;
                extra.relatedText = "'" + fault.word + "' is here";
            }
            context.add(code, block, name, fault.text, extra);
        };
        switch (fault.kind) {
        case NOD_FaultKind::SAME_TOKEN: addTwin(NOD_LintCode::Z101); break;
        case NOD_FaultKind::SAME_CHANNEL: addTwin(NOD_LintCode::Z102); break;
        case NOD_FaultKind::TEXT_NAME:
            context.add(NOD_LintCode::Z103, block, name, fault.text);
            break;
        case NOD_FaultKind::SAME_ITEM_TOKEN: addTwin(NOD_LintCode::Z104); break;
        case NOD_FaultKind::MARKS: context.add(NOD_LintCode::Z105, block, name, fault.text); break;
        default: break;
        }
    }
}

bool hasNoChannel(const ZEL_Template &one)
{
    const ZEL_Type &type = one.getType();
    if (!type.hasAnyOf(ZEL_TYPE_CHANNEL) || one.isSwitcher() || one.isMultiType()) {
        return false;
    }
    for (int i = 0; i < one.getVectorSize(); ++i) {
        std::string name = one.getChannelToken(i).nonNullStr();
        std::replace(name.begin(), name.end(), '#', '1');
        if (!TRK_Collection::isValidChannelName(name.c_str())) {
            return true;
        }
    }
    return false;
}

void tellChannelNames(NOD_LintContext &context)
{
    std::unordered_set<const ZEL_Template *> told;
    for (const NOD_InterfaceFault &fault : context.faults().faults) {
        if (fault.kind == NOD_FaultKind::TEXT_NAME) {
            told.insert(fault.parm);
        }
    }
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        const ZEL_Template *const one = context.blocks()[i].description;
        if (one && !told.count(one) && hasNoChannel(*one)) {
            const int name = context.script().nameOf(int(i));
            context.add(NOD_LintCode::Z106, int(i), name, "no channel can have the name");
        }
    }
}

/// Whether people see it with a label of its own.
bool wantsLabel(const NOD_LintContext &context, const Block &block)
{
    if (block.kind == Kind::DIALOG || block.kind == Kind::IMPORT) {
        return false;
    }
    for (const char *word : {"nolabel", "invisible", "baseparm", "obsolete", "invisibletab"}) {
        if (block.find(word)) {
            return false;
        }
    }
    const NOD_LintContext::Entry *const type = block.find("type");
    return !type || type->count() != 1 || context.text(type->first) != "separator";
}

void tellMissingLabels(NOD_LintContext &context)
{
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        const Block &block = context.blocks()[i];
        const NOD_LintContext::Entry *const label = block.find("label");
        const bool emptyFlag = label && label->count() == 1 && context.text(label->first).empty();
        if ((!label || emptyFlag) && wantsLabel(context, block)) {
            const int place = emptyFlag ? label->keyword : context.script().nameOf(int(i));
            context.add(NOD_LintCode::Z107, int(i), place < 0 ? block.keyword : place,
                        "there is no label, so people read the token");
        }
    }
}

} // namespace

void NODlintNames(NOD_LintContext &context)
{
    tellFaults(context);
    tellChannelNames(context);
    tellMissingLabels(context);
}
