#include <NOD/NOD_Conflict.h>

#include <NOD/difference/NOD_BriefTextPrivate.h>
#include <NOD/difference/NOD_StatementRecordsPrivate.h>

#include <algorithm>
#include <iterator>

namespace
{

// Stored.
constexpr const char *theSides[] = {"base", "ours", "theirs"};
constexpr const char *theKinds[] = {"both_changed",  "both_added",    "changed_removed",
                                    "both_moved",    "name_taken",    "under_removed",
                                    "in_each_other", "reference_lost"};

constexpr const char *theSentences[] = {"both changed it",
                                        "both added it",
                                        "one changed it, the other one removed it",
                                        "both moved or renamed it",
                                        "its name is taken",
                                        "what it is in was removed",
                                        "both moved one into the other",
                                        "it refers to what one side removed"};

/// What a person looks at first in a parameter or a key.
bool isTold(NOD_RecordKind kind)
{
    using Kind = NOD_RecordKind;
    return kind == Kind::VALUE || kind == Kind::DRIVER || kind == Kind::WORDS ||
           kind == Kind::KEY_VALUE;
}

constexpr std::size_t theLongest = 80; ///< bytes of what a side has

std::string shown(const NOD_Record &record);

/// The values of what people look at first; "" without any.
std::string valuesOf(const NOD_Record &record)
{
    std::string values;
    for (const auto &part : record.getParts()) {
        if (isTold(part->getKind())) {
            values += (values.empty() ? "" : " ") + shown(*part);
        }
    }
    return values;
}

/// The members of an item that the other one, if there is any, has otherwise.
std::string membersOf(const NOD_Record &item, const NOD_Record *other)
{
    std::string text;
    for (const auto &part : item.getParts()) {
        const NOD_Record *const there =
            other ? other->find(part->getKind(), part->getName()) : nullptr;
        if (part->getKind() == NOD_RecordKind::PARM && !(there && there->isSame(*part))) {
            text += (text.empty() ? "" : ", ") + part->getName() + " " + shown(*part);
        }
    }
    return text;
}

std::string shown(const NOD_Record &record)
{
    using Kind = NOD_RecordKind;
    const std::size_t parts = record.getParts().size();
    const Kind kind = record.getKind();
    if (kind == Kind::DECLARATION || kind == Kind::STATEMENT) {
        return NODcutText(NODescapedText(NODcollapsedText(NODstatementText(record))), theLongest);
    }
    const bool writtenFlag = kind == Kind::WORD || kind == Kind::ENTRY; // with its own quotes
    if (std::holds_alternative<std::string>(record.getValue()) && !writtenFlag) {
        return "\"" + NODcutText(NODescapedText(NODvalueText(record.getValue())), theLongest) +
               "\"";
    }
    if (!std::holds_alternative<std::monostate>(record.getValue())) {
        return NODcutText(NODescapedText(NODvalueText(record.getValue())), theLongest);
    }
    const std::string values = kind == Kind::ITEM ? membersOf(record, nullptr) : valuesOf(record);
    if (!values.empty()) {
        return NODcutText(values, theLongest);
    }
    return parts == 0 ? "there" : std::to_string(parts) + (parts == 1 ? " part" : " parts");
}

/// Of an item, what is otherwise in the first of the others that is there.
std::string sideText(const NOD_ConflictSide &side, const NOD_ConflictSide &one,
                     const NOD_ConflictSide &other)
{
    const NOD_ConflictSide &there = one.isThere() ? one : other;
    const auto isItem = [](const NOD_ConflictSide &each) {
        return each.records.size() == 1 && each.records[0]->getKind() == NOD_RecordKind::ITEM;
    };
    const std::string members =
        isItem(side) && isItem(there) ? membersOf(*side.records[0], there.records[0].get()) : "";
    return members.empty() ? side.asText() : NODcutText(members, theLongest);
}

} // namespace

const char *NODmergeSideName(NOD_MergeSide side)
{
    return theSides[int(side)];
}

std::string NOD_ConflictSide::asText() const
{
    if (records.empty()) {
        return "nothing";
    }
    constexpr std::size_t theMostShown = 4;
    if (records.size() > theMostShown) {
        return std::to_string(records.size()) + " parts";
    }
    if (records.size() == 1) {
        return shown(*records[0]);
    }
    std::string text;
    for (const auto &record : records) {
        text += (text.empty() ? "" : ", ") + std::string(record->getTraits().people) + " " +
                shown(*record);
    }
    return text;
}

const NOD_ConflictSide &NOD_Conflict::of(NOD_MergeSide side) const
{
    return side == NOD_MergeSide::OURS ? ours : side == NOD_MergeSide::THEIRS ? theirs : base;
}

const NOD_RecordPath &NOD_Conflict::getPath() const
{
    return ours.isThere() ? ours.path : theirs.isThere() ? theirs.path : base.path;
}

std::string NOD_Conflict::asText() const
{
    const bool placeFlag = kind == Kind::BOTH_MOVED || kind == Kind::NAME_TAKEN ||
                           kind == Kind::UNDER_REMOVED || kind == Kind::IN_EACH_OTHER;
    const auto side = [&](const char *name, const NOD_ConflictSide &one,
                          const NOD_ConflictSide &first, const NOD_ConflictSide &second) {
        const std::string place = one.isThere() ? NODpathText(one.path) : "nothing";
        return std::string(name) + " " + (placeFlag ? place : sideText(one, first, second));
    };
    return NODpathText(getPath()) + ": " + theSentences[int(kind)] + ": " +
           side("base", base, ours, theirs) + ", " + side("ours", ours, base, theirs) + ", " +
           side("theirs", theirs, base, ours) + "; " + NODmergeSideName(standing) + " stands";
}

const char *NOD_Conflict::getKindName(Kind kind)
{
    return theKinds[int(kind)];
}
