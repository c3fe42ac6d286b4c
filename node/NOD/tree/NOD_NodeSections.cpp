#include <NOD/NOD_NodeSections.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptText.h>
#include <NOD/tree/NOD_FreshValuesPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SaveParms.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <new>
#include <set>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

using Parms = std::vector<const ZEL_Parm *>;

KIT_IStream streamOf(const std::string &text, KIT_IStream::Mode mode = KIT_IStream::TEXT)
{
    return KIT_IStream(text.data(), text.size(), mode);
}

/// What `write` writes. A stream swallows std::bad_alloc, and half a text would look whole.
template <class Write>
std::string textOf(const Write &write)
{
    const std::uint64_t refusedBefore = BASfailedAllocations();
    std::ostringstream os;
    write(os);
    if (!os || BASfailedAllocations() != refusedBefore) {
        throw std::bad_alloc();
    }
    return os.str();
}

// ---------------------------------------------------------------------- //
// Order
// ---------------------------------------------------------------------- //

void appendWithItems(ZEL_ParmList &list, ZEL_Parm &parm, Parms &out)
{
    out.push_back(&parm);
    if (!parm.isMultiParm()) {
        return;
    }
    const int thread = BASgetSTID();
    int count = 0;
    parm.getValue(list.getEvalTime(thread), count, 0, thread); // items follow it
    const int all = parm.getMultiParmNumItems() * parm.getMultiParmInstancesPerItem();
    for (int i = 0; i < all; ++i) {
        if (ZEL_Parm *const child = parm.getMultiParm(i)) {
            appendWithItems(list, *child, out);
        }
    }
}

/// Ranks of words: of channels' names by the parameters' order. Most nodes have nothing to sort, so the names
/// are only collected for those that do.
class Ranks
{
public:
    explicit Ranks(const Parms &parms) : myParms(parms) {}

    /// Pieces of a text, each with its name, in order.
    void sort(std::vector<std::pair<std::string, std::string_view>> &pieces)
    {
        if (pieces.size() < 2) {
            return;
        }
        collect();
        const auto less = [&](const auto &a, const auto &b) { return isLess(a.first, b.first); };
        if (!std::is_sorted(pieces.begin(), pieces.end(), less)) {
            std::stable_sort(pieces.begin(), pieces.end(), less);
        }
    }

private:
    void collect()
    {
        if (!myRanks.empty()) {
            return;
        }
        for (const ZEL_Parm *parm : myParms) {
            for (int k = 0; k < parm->getVectorSize(); ++k) {
                myRanks.emplace(parm->getChannelToken(k).view(), myRanks.size());
            }
        }
    }

    /// Those without a rank come last, by their names.
    bool isLess(const std::string &a, const std::string &b) const
    {
        const auto first = myRanks.find(a);
        const auto second = myRanks.find(b);
        if (first == myRanks.end() || second == myRanks.end()) {
            return first == second ? a < b : second == myRanks.end();
        }
        return first->second < second->second;
    }

    const Parms &myParms;
    std::unordered_map<std::string, std::size_t> myRanks;
};

/// The first word from a position on.
std::string wordAt(std::string_view text, std::size_t at)
{
    return std::string(text.substr(at, text.find_first_of(" \n", at) - at));
}

/// A text whose pieces each begin with a line of that beginning and a name, between a head and a last
/// line, with the pieces in order.
std::string inOrder(const std::string &text, std::string_view beginning, Ranks &ranks)
{
    const std::string mark = "\n" + std::string(beginning);
    const std::size_t first = text.find(mark);
    if (first == std::string::npos) {
        return text;
    }
    const std::string_view view(text);
    const std::size_t end = text.size() - 2; // "}\n"
    std::vector<std::pair<std::string, std::string_view>> pieces;
    for (std::size_t at = first + 1; at < end;) {
        const std::size_t next = std::min(text.find(mark, at), end - 1) + 1;
        pieces.emplace_back(wordAt(view, at + beginning.size()), view.substr(at, next - at));
        at = next;
    }
    ranks.sort(pieces);
    std::string sorted(view.substr(0, first + 1));
    sorted.reserve(text.size());
    for (const auto &piece : pieces) {
        sorted += piece.second;
    }
    return sorted += view.substr(end);
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

std::string sparesOf(const NOD_Node &node, NOD_Report &report)
{
    const std::vector<const ZEL_Template *> set = node.getSpareParms().getDescriptions();
    if (set.empty()) {
        return {};
    }
    const std::unique_ptr<ZEL_Template[]> templates(new ZEL_Template[set.size() + 1]);
    for (std::size_t i = 0; i < set.size(); ++i) {
        templates[i] = *set[i];
    }
    NOD_Report losses;
    std::string text = NODscriptText(templates.get(), "spares", "", losses);
    for (NOD_Message loss : losses.getMessages()) {
        loss.subject = "spares/" + loss.subject;
        report.add(std::move(loss));
    }
    return text;
}

std::string channelsOf(NOD_Node &node, Ranks &ranks)
{
    constexpr const char *theNone = "channels 1.0\n{\n}\n";
    const std::string text = textOf([&](std::ostream &os) { node.getChannels().save(os); });
    return text == theNone ? std::string() : inOrder(text, "    channel ", ranks);
}

/// What is stored beside a channel is what was read last, and saved if a value is pending: the pending value
/// doesn't depend on who has read when.
void settlePending(const Parms &parms)
{
    const int thread = BASgetSTID();
    constexpr bool expand = true;
    for (const ZEL_Parm *parm : parms) {
        for (int k = 0; k < parm->getVectorSize(); ++k) {
            const TRK_Channel *const channel = parm->getChannel(k);
            if (!channel || !channel->getPendingFlag()) {
                continue;
            }
            if (parm->getType().isStringType()) {
                KIT_String text;
                parm->getValue(channel->getPendingTime(), text, k, expand, thread);
            } else {
                double number = 0.0;
                parm->getValue(channel->getPendingTime(), number, k, thread);
            }
        }
    }
}

std::string aliasText(ZEL_ParmList &parms)
{
    constexpr bool binary = false;
    constexpr const char *theNone = "{\n}\n";
    std::string text = textOf([&](std::ostream &os) { parms.saveChannelAliases(os, binary); });
    return text == theNone ? std::string() : text;
}

int countOf(std::string_view text, std::string_view part)
{
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

/// The texts beside channels in a parameter's entry are written as they stand, whatever is in them. In
/// quotes they are read as they are. False if they can't be told apart from what is around them.
bool quoteTexts(std::string &entry, int channels)
{
    constexpr std::string_view theStart = "\t[ "; // no text in quotes has a tab
    constexpr std::string_view theEnd = " ] \t";
    const std::size_t values = entry.find("\t(\t");
    const std::string_view view(entry);
    if (values == std::string::npos || countOf(view.substr(values), theStart) != channels ||
        countOf(view.substr(values), theEnd) != channels) {
        return false;
    }
    std::string quoted;
    std::size_t done = 0;
    for (std::size_t at = entry.find(theStart, values); at != std::string::npos;
         at = entry.find(theStart, done)) {
        const std::size_t text = entry.find('\t', at + 1) + 1; // behind the channel's name
        const std::size_t end = entry.find(theEnd, at);
        if (text == 0 || text > end) {
            return false;
        }
        KIT_WorkBuffer inQuotes;
        KITappendQuoted(inQuotes, entry.data() + text, end - text);
        quoted.append(entry, done, text - done);
        quoted += end == text ? std::string_view() : inQuotes.view();
        done = end;
    }
    quoted.append(entry, done, std::string::npos);
    entry.swap(quoted);
    return true;
}

int countChannels(const ZEL_Parm &parm)
{
    int channels = 0;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        channels += parm.getChannel(k) != nullptr;
    }
    return channels;
}

bool hasTextsBesideChannels(const ZEL_Parm *parm)
{
    return parm->getType().isStringType() && countChannels(*parm) > 0;
}

/// One entry after the other; "" if one can't be as a text.
std::string textEntries(const Parms &parms)
{
    constexpr bool binary = false;
    std::string all;
    std::string end;
    for (const ZEL_Parm *parm : parms) {
        std::string entry =
            textOf([&](std::ostream &os) { ZELsaveParms(Parms(1, parm), os, binary); });
        const std::size_t start = entry.find('\n', 2) + 1; // behind the version
        if (hasTextsBesideChannels(parm) && !quoteTexts(entry, countChannels(*parm))) {
            return {};
        }
        all.append(entry, all.empty() ? 0 : start, entry.size() - 2 - (all.empty() ? 0 : start));
    }
    return all + "}\n";
}

std::string valuesOf(const Parms &parms, NOD_NodeSections::Form form, NOD_Report &report)
{
    const auto fits = [](const ZEL_Parm *parm) {
        return ZEL_ParmList::isTextName(parm->getInstance()->getTokenRef());
    };
    const auto save = [&](bool binary) {
        return textOf([&](std::ostream &os) { ZELsaveParms(parms, os, binary); });
    };
    if (parms.empty() || form == NOD_NodeSections::Form::BINARY) {
        return parms.empty() ? std::string() : save(true);
    }
    const auto odd = std::find_if_not(parms.begin(), parms.end(), fits);
    if (odd != parms.end()) {
        report.warning("values/" + std::string((*odd)->getInstance()->getTokenRef().view()),
                       "the text form can't hold this name: the values are binary");
        return save(true);
    }
    if (std::none_of(parms.begin(), parms.end(), hasTextsBesideChannels)) {
        return save(false);
    }
    const std::string text = textEntries(parms);
    return text.empty() ? save(true) : text;
}

} // namespace

std::vector<const ZEL_Parm *> NODparmsInOrder(ZEL_ParmList &parms)
{
    std::vector<ZEL_Parm *> tops;
    std::vector<ZEL_Parm *> spares;
    for (int i = 0; i < parms.getEntries(); ++i) {
        ZEL_Parm *const parm = parms.getParmPtr(i);
        if (parm && parm->getInstance() && !parm->getMultiParmOwner()) {
            (parm->isSpareParm() ? spares : tops).push_back(parm);
        }
    }
    tops.insert(tops.end(), spares.begin(), spares.end());
    Parms ordered;
    ordered.reserve(std::size_t(parms.getEntries()));
    for (ZEL_Parm *top : tops) {
        appendWithItems(parms, *top, ordered);
    }
    return ordered;
}

NOD_NodeSections NOD_NodeSections::take(NOD_Node &node, Form form, NOD_Report &report,
                                        NOD_FreshValues *fresh)
{
    NOD_NodeSections taken;
    taken.type = node.getTypeName();
    taken.variables = node.getVariables();
    taken.kept = node.getKeptSections();
    ZEL_ParmList &list = node.getParms();
    Parms parms = NODparmsInOrder(list);
    if (node.isTypeMissing() && !parms.empty()) {
        report.error("spares", "the spare parameters of a node whose type is missing aren't saved");
        return taken;
    }
    Ranks ranks(parms);
    taken.spares = sparesOf(node, report);
    {
        // A save stops at an error that is still in the error manager.
        const NOD_ReportScope scope(report, {}, "channels");
        taken.channels = channelsOf(node, ranks);
    }
    {
        const NOD_ReportScope scope(report, {}, "aliases");
        taken.aliases = inOrder(aliasText(list), "\t", ranks);
    }
    settlePending(parms);
    if (fresh) {
        const auto isNew = [&](const ZEL_Parm *parm) {
            return fresh->has(node.getInterface(), *list.getParmPtr(parm->getTokenRef()));
        };
        parms.erase(std::remove_if(parms.begin(), parms.end(), isNew), parms.end());
    }
    const NOD_ReportScope scope(report, {}, "values");
    taken.values = valuesOf(parms, form, report);
    return taken;
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

namespace
{

void loadSpares(NOD_Node &node, const std::string &text, NOD_Report &report)
{
    std::shared_ptr<const NOD_Interface> set;
    if (!text.empty()) {
        NOD_Report reading;
        set = NOD_Interface::fromText(text, "spares", reading, NOD_Interface::Includes::NONE);
        for (NOD_Message message : reading.getMessages()) {
            message.subject = "spares";
            message.file.clear();
            report.add(std::move(message));
        }
    }
    if (set || !node.getSpareParms().getDescriptions().empty()) {
        const NOD_ReportScope scope(report, {}, "spares");
        node.setSpareParms(set);
    }
}

bool hasBlocks(ZEL_ParmList &list)
{
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm *const parm = list.getParmPtr(i);
        if (parm && parm->isMultiParm()) {
            return true;
        }
    }
    return false;
}

/// The names of a text of channels.
std::set<std::string> channelNames(const std::string &text)
{
    constexpr std::string_view theMark = "\n    channel ";
    std::set<std::string> names;
    for (std::size_t at = text.find(theMark); at != std::string::npos;
         at = text.find(theMark, at + 1)) {
        names.insert(wordAt(text, at + theMark.size()));
    }
    return names;
}

/// Channels of the same name stay what they are, with other contents: parameters are linked to them.
void loadChannels(TRK_Collection &channels, const std::string &text)
{
    const std::set<std::string> names = channelNames(text);
    std::vector<TRK_Channel *> gone;
    for (int i = 0; i < channels.entries(); ++i) {
        TRK_Channel *const channel = channels.getChannel(i);
        if (!names.count(channel->getName().nonNullStr())) {
            gone.push_back(channel);
        }
    }
    if (!gone.empty()) {
        channels.deleteChannels(std::move(gone));
    }
    channels.setExprLanguage(TRK_LANGUAGE_NATIVE);
    if (!text.empty()) {
        KIT_IStream is = streamOf(text);
        channels.load(is);
    }
}

void loadValues(ZEL_ParmList &list, const std::string &values)
{
    const bool isBinary = !values.empty() && values[0] == '\0';
    KIT_IStream is = streamOf(values, isBinary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    if (!values.empty()) {
        list.load(is, nullptr, nullptr);
    }
}

void clearAliases(ZEL_ParmList &list)
{
    for (int i = 0; i < list.getEntries(); ++i) {
        ZEL_Parm &parm = *list.getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            if (parm.getChannelAlias(k) != parm.getChannelToken(k)) {
                list.setChannelAlias(&parm, k, KIT_StringHolder::theEmptyString);
            }
        }
    }
}

/// But for empty ones.
std::set<std::string> linesOf(const std::string &text)
{
    std::set<std::string> lines;
    std::istringstream is(text);
    for (std::string line; std::getline(is, line);) {
        if (!line.empty()) {
            lines.insert(line);
        }
    }
    return lines;
}

/// An alias that isn't taken over is silent in the library.
void loadAliases(ZEL_ParmList &list, const std::string &text, NOD_Report &report)
{
    const NOD_ReportScope scope(report, {}, "aliases");
    clearAliases(list);
    if (text.empty()) {
        return;
    }
    KIT_IStream is = streamOf(text);
    if (!list.loadChannelAliases(is, nullptr)) {
        report.error("aliases", "the closing brace is missing");
    }
    const std::set<std::string> loaded = linesOf(aliasText(list));
    for (const std::string &line : linesOf(text)) {
        if (line[0] == '\t' && !loaded.count(line)) {
            const std::size_t blank = std::min(line.find(' '), line.size());
            report.error("aliases/" + line.substr(1, blank - 1),
                         "can't have this alias:" + line.substr(blank));
        }
    }
}

} // namespace

void NOD_NodeSections::load(NOD_Node &node, NOD_Report &report) const
{
    NOD_Edit edit(node, "Load " + node.getName());
    edit.change(node);
    const NOD_Loading loading;
    const NOD_Batch batch(node);
    node.clearVariables();
    for (const auto &[name, value] : variables) {
        node.setVariable(name, value);
    }
    node.keepSections(node.getInterface() ? std::string() : type, kept);
    loadSpares(node, spares, report);
    ZEL_ParmList &list = node.getParms();
    if (hasBlocks(list)) {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        loadValues(list, values); // the channels of items aren't there yet
    }
    {
        const NOD_ReportScope scope(report, {}, "channels");
        loadChannels(node.getChannels(), channels);
    }
    if (NOD_Graph *const graph = node.getGraph()) {
        graph->channelsChanged(node);
    }
    {
        const NOD_ReportScope scope(report, {}, "values");
        loadValues(list, values);
    }
    list.validateChannelNames(); // a load that gave up didn't
    loadAliases(list, aliases, report);
}

std::string *NOD_NodeSections::findText(std::string_view kind)
{
    return kind == "spares"     ? &spares
           : kind == "channels" ? &channels
           : kind == "values"   ? &values
           : kind == "aliases"  ? &aliases
                                : nullptr;
}

void NOD_NodeSections::loadKept(NOD_Node &node, NOD_Report &report)
{
    NOD_NodeSections sections;
    bool anyFlag = false;
    for (const auto &section : node.getKeptSections()) {
        if (std::string *const text = sections.findText(section.first)) {
            *text = section.second;
            anyFlag = true;
        } else {
            sections.kept.push_back(section);
        }
    }
    if (anyFlag) {
        sections.variables = node.getVariables();
        sections.load(node, report);
    }
}
