#include <NOD/NOD_Conflict.h>

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

std::string shown(const NOD_Record &record)
{
    const std::size_t parts = record.getParts().size();
    const bool writtenFlag = record.getKind() == NOD_RecordKind::WORD || // with its own quotes
                             record.getKind() == NOD_RecordKind::ENTRY;
    if (std::holds_alternative<std::string>(record.getValue()) && !writtenFlag) {
        return "\"" + NODvalueText(record.getValue()) + "\"";
    }
    if (!std::holds_alternative<std::monostate>(record.getValue())) {
        return NODvalueText(record.getValue());
    }
    std::string values;
    for (const auto &part : record.getParts()) {
        if (isTold(part->getKind())) {
            values += (values.empty() ? "" : " ") + shown(*part);
        }
    }
    if (!values.empty()) {
        return values;
    }
    return parts == 0 ? "there" : std::to_string(parts) + (parts == 1 ? " part" : " parts");
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
    const auto side = [&](const char *name, const NOD_ConflictSide &one) {
        const std::string place = one.isThere() ? NODpathText(one.path) : "nothing";
        return std::string(name) + " " + (placeFlag ? place : one.asText());
    };
    return NODpathText(getPath()) + ": " + theSentences[int(kind)] + ": " + side("base", base) +
           ", " + side("ours", ours) + ", " + side("theirs", theirs) + "; " +
           NODmergeSideName(standing) + " stands";
}

const char *NOD_Conflict::getKindName(Kind kind)
{
    return theKinds[int(kind)];
}
