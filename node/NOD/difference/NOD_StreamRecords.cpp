#include <NOD/difference/NOD_StreamRecordsPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/difference/NOD_EntryRecordsPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <algorithm>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;

/// Items without an entry take memory too: no more of them than a stream that has them would be worth.
constexpr std::size_t theFreeItems = 1000;

std::string joined(const std::vector<std::string> &tokens)
{
    std::string all;
    for (const std::string &token : tokens) {
        all += token + "\n";
    }
    return all;
}

bool isDrivenText(const ZEL_StreamEntry &entry)
{
    return entry.kind == ZEL_StreamEntry::Kind::STRING &&
           std::any_of(entry.values.begin(), entry.values.end(),
                       [](const ZEL_StreamValue &value) { return value.drivenFlag; });
}

} // namespace

NOD_StreamRecords::NOD_StreamRecords(std::shared_ptr<const NOD_Interface> interface,
                                     const std::string &spares)
    : myInterface(std::move(interface)), mySpares(spares)
{
    NOD_Report ignored;
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    const std::shared_ptr<const NOD_Interface> set =
        spares.empty()
            ? nullptr
            : NOD_Interface::fromText(spares, "spares", ignored, NOD_Interface::Includes::NONE);
    if (!myInterface && !set) {
        return;
    }
    const NOD_Loading loading;
    // By itself: what watches the nodes of a scene would follow each item that comes.
    myNode = myInterface ? std::make_unique<NOD_Node>(myInterface->getTemplates(),
                                                      myInterface->getSharedName().nonNullStr())
                         : std::make_unique<NOD_Node>();
    if (myInterface) {
        myNames.add(myInterface->getTemplates());
    }
    if (set) {
        myNode->setSpareParms(set);
        myNames.add(set->getTemplates());
    }
}

NOD_StreamRecords::~NOD_StreamRecords() = default;

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

bool NOD_StreamRecords::parse(std::string_view bytes, const std::string &name, ZEL_ParmList *list,
                              ZEL_ParmStream &stream, NOD_Report &report) const
{
    const NOD_ReportScope scope(report, name);
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    is.setBinary(NOD_ValueFile::isBinary(bytes));
    return stream.read(is, nullptr, list) && NOD_ValueFile::checkEnd(is, name, report);
}

/// What a list has that has loaded it.
bool NOD_StreamRecords::complete(std::string_view bytes, const std::string &name,
                                 ZEL_ParmStream &stream, NOD_Report &report)
{
    NOD_StreamRecords fresh(myInterface, mySpares); // values of another stream would stay
    ZEL_ParmList &list = fresh.myNode->getParms();
    NOD_Report loading;
    bool loadedFlag = false;
    {
        const NOD_ReportScope scope(loading, name);
        KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
        is.setBinary(NOD_ValueFile::isBinary(bytes));
        loadedFlag = list.load(is, nullptr, nullptr);
        NODgrowBlocks(*fresh.myNode, 0.0);
    }
    for (const NOD_Message &message : loading.getMessages()) {
        // That a stream's channels aren't there is nothing to tell.
        if (message.category != ZEL_ERROR_CATEGORY || message.code != ZEL_ERR_NO_CHANNEL) {
            report.add(message);
        }
    }
    if (!loadedFlag && loading.isEmpty()) {
        report.add({KIT_ERROR_ABORT, name, 0, {}, "isn't loaded as a whole", {}, 0});
    }
    stream.complete(fresh.myNode->getParms());
    return true;
}

/// A scene has the texts beside channels in quotes, which a list writes as they are: such entries are their words, where
/// they wouldn't be written to the same bytes again.
void NOD_StreamRecords::keepDrivenTexts(std::string_view bytes, ZEL_ParmStream &stream) const
{
    ZEL_ParmStream::Entries entries = stream.getEntries();
    if (NOD_ValueFile::isBinary(bytes) ||
        std::none_of(entries.begin(), entries.end(), isDrivenText)) {
        return;
    }
    std::ostringstream again;
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    if (stream.write(again, ZEL_ParmStream::Form::TEXT) && again.str() == bytes) {
        return;
    }
    NOD_Report ignored;
    ZEL_ParmStream words;
    if (!parse(bytes, "", nullptr, words, ignored) || words.getEntries().size() != entries.size()) {
        return;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (isDrivenText(entries[i])) {
            entries[i] = words.getEntries()[i];
        }
    }
    stream = ZEL_ParmStream(std::move(entries), stream.getVersion());
}

NOD_Record *NOD_StreamRecords::itemOf(NOD_Record &block, int item) const
{
    NOD_Record::Parts &parts = block.changeParts();
    const auto isItem = [](const auto &part) { return part->getKind() == Kind::ITEM; };
    // All items of a block stand at its end.
    const auto first =
        std::size_t(std::find_if(parts.begin(), parts.end(), isItem) - parts.begin());
    while (parts.size() - first <= std::size_t(item)) {
        block.add(Kind::ITEM);
    }
    return parts[first + std::size_t(item)].get();
}

NOD_Record &NOD_StreamRecords::makeParm(NOD_Record &place, const std::string &name) const
{
    NOD_Record &parm = place.add(Kind::PARM, name);
    const int start = myNames.isBlock(name) ? myNames.startOf(name) : theUsualStart;
    if (start != theUsualStart) {
        parm.add(Kind::START, {}, std::int64_t(start));
    }
    return parm;
}

/// The record that the parameter is a part of, and what it is called there.
NOD_Record &NOD_StreamRecords::placeOf(const std::string &token, std::size_t entries,
                                       NOD_Record &contents, std::string &name) const
{
    std::vector<int> items;
    name = token;
    const NOD_BlockNames::Member *const member = myNames.find(token, items);
    const auto fits = [&](int item) { return std::size_t(item) < 4 * entries + theFreeItems; };
    if (!member || !std::all_of(items.begin(), items.end(), fits)) {
        return contents;
    }
    NOD_Record *at = &contents;
    for (std::size_t level = 0; level < items.size(); ++level) {
        NOD_Record *block = at->find(Kind::PARM, member->blocks[level]);
        if (!block) {
            block = &makeParm(*at, member->blocks[level]);
            block->add(Kind::FORM, {}, std::string(theAbsentForm));
        }
        at = itemOf(*block, items[level]);
    }
    name = member->pattern;
    return *at;
}

void NOD_StreamRecords::build(const ZEL_ParmStream &stream, NOD_Record &contents) const
{
    if (stream.getVersion() != ZEL_ParmStream::theVersion) {
        contents.add(Kind::VERSION, {}, double(stream.getVersion()));
    }
    const ZEL_ParmStream::Entries &entries = stream.getEntries();
    std::unordered_map<std::string, std::size_t> last;
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        keys.push_back(NODentryKey(entries[i]));
        last[keys.back()] = i; // of two the second counts
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (last[keys[i]] != i) {
            continue;
        }
        std::string name;
        NOD_Record &place = placeOf(keys[i], entries.size(), contents, name);
        // A block may be there already, for one of its items.
        NOD_Record *parm = myNames.isBlock(name) ? place.find(Kind::PARM, name) : nullptr;
        if (!parm) {
            parm = &makeParm(place, name);
        }
        NODaddEntry(entries[i], *parm);
    }
}

/// The count of a block is that of its items, as long as it is a plain number and they are there.
void NOD_StreamRecords::countItems(NOD_Record &record, std::size_t entries) const
{
    for (const auto &part : record.getParts()) {
        if (part->getKind() == Kind::ITEM) {
            countItems(*part, entries);
        } else if (part->getKind() == Kind::PARM && myNames.isBlock(part->getName())) {
            countItems(*part, entries);
            const int count = NODplainCount(*part);
            if (count >= 0 && std::size_t(count) < 4 * entries + theFreeItems) {
                if (count > 0) {
                    itemOf(*part, count - 1);
                }
                NODdropCount(*part, count);
            }
            part->numberItems();
        }
    }
}

bool NOD_StreamRecords::read(std::string_view bytes, const std::string &name, Reading reading,
                             NOD_Record &contents, NOD_Report &report)
{
    ZEL_ParmStream stream;
    ZEL_ParmList *const list = myNode ? &myNode->getParms() : nullptr;
    if (!parse(bytes, name, list, stream, report)) {
        return false;
    }
    myLosses = NODcommentLosses(stream.getComments(), name);
    if (reading == Reading::EXACT) {
        keepDrivenTexts(bytes, stream);
    } else if (reading == Reading::COMPLETED && myNode && !complete(bytes, name, stream, report)) {
        return false;
    }
    build(stream, contents);
    countItems(contents, stream.getEntries().size());
    if (reading == Reading::EXACT) {
        std::vector<std::string> tokens;
        for (const ZEL_StreamEntry &entry : stream.getEntries()) {
            tokens.push_back(NODentryKey(entry));
        }
        std::vector<std::string> usual;
        NODlistTokens(contents, usual);
        if (usual != tokens) {
            contents.add(Kind::ORDER, {}, joined(tokens));
        }
    }
    return true;
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

bool NOD_StreamRecords::write(const NOD_Record &contents, bool binary, std::string &bytes,
                              NOD_Report &report) const
{
    const NOD_Value version = contents.valueOf(Kind::VERSION);
    const auto *number = std::get_if<double>(&version);
    std::vector<ZEL_StreamEntry> entries = NODentriesOf(contents);
    const NOD_Value order = contents.valueOf(Kind::ORDER);
    if (const auto *tokens = std::get_if<std::string>(&order)) {
        std::unordered_map<std::string, std::size_t> places;
        std::istringstream lines(*tokens);
        for (std::string line; std::getline(lines, line);) {
            places.emplace(line, places.size());
        }
        const auto placeOf = [&](const ZEL_StreamEntry &entry) {
            const auto found = places.find(NODentryKey(entry));
            return found == places.end() ? places.size() : found->second;
        };
        std::stable_sort(entries.begin(), entries.end(),
                         [&](const ZEL_StreamEntry &a, const ZEL_StreamEntry &b) {
                             return placeOf(a) < placeOf(b);
                         });
    }
    const ZEL_ParmStream stream(std::move(entries),
                                number ? float(*number) : ZEL_ParmStream::theVersion);
    std::ostringstream os;
    const NOD_ReportScope scope(report, {}, "values");
    const bool good =
        stream.write(os, binary ? ZEL_ParmStream::Form::BINARY : ZEL_ParmStream::Form::TEXT);
    bytes = os.str();
    return good;
}
