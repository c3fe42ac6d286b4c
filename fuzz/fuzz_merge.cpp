// Three files of one kind that can be written again, which are streams, channel files, presets, nodes, scenes and
// scripts, and maybe a script in front of them, between lines of "%%". What can be read is merged: to something that is
// written or has an error, with a report that is JSON; with itself and the base it is itself, and whoever stands, all is
// decided but for references to what that side doesn't have either.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_ConflictNotes.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Merge.h>
#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

constexpr const char *theSeparator = "\n%%\n";
constexpr const char *theScript = R"({ name lamp
  parm { name t type vector size 3 }
  parm { name note type string }
  multiparm { name points parm { name w# type float }
    multiparm { name parts# default 0 parm { name part#_# type float } } } })";

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::vector<std::string> partsOf(const std::string &text)
{
    std::vector<std::string> parts;
    std::size_t at = 0;
    while (parts.size() < 4) {
        const std::size_t end = text.find(theSeparator, at);
        parts.push_back(text.substr(at, end - at));
        if (end == std::string::npos) {
            break;
        }
        at = end + 4;
    }
    return parts;
}

std::unique_ptr<NOD_Record> merged(const std::array<NOD_Document, 3> &states, NOD_MergeSide side,
                                   NOD_Merge &merge)
{
    merge.addPolicy("*", side);
    auto made = merge.merge(states[0].getTop(), states[1].getTop(), states[2].getTop());
    require(made != nullptr);
    for (const NOD_Conflict &one : merge.getConflicts()) {
        require(one.isDecided ||
                (one.kind == NOD_Conflict::Kind::REFERENCE_LOST && !one.of(side).isThere()));
    }
    return made;
}

void check(std::array<NOD_Document, 3> &states)
{
    NOD_Report report;
    NOD_Merge merge;
    auto made = merge.merge(states[0].getTop(), states[1].getTop(), states[2].getTop());
    require(made != nullptr && !merge.toJson().empty());
    const auto &[base, ours, theirs] = states;
    const auto isMade = [&](const NOD_Document &a, const NOD_Document &b, const NOD_Document &c,
                            const NOD_Document &is) {
        NOD_Merge other;
        return other.merge(a.getTop(), b.getTop(), c.getTop())->isSame(is.getTop());
    };
    require(isMade(base, ours, base, ours) && isMade(base, base, theirs, theirs) &&
            isMade(base, ours, ours, ours));
    for (const NOD_MergeSide side : {NOD_MergeSide::BASE, NOD_MergeSide::THEIRS}) {
        NOD_Merge other;
        merged(states, side, other);
    }
    const auto copy = made->copy();
    states[1].setTop(std::move(made));
    std::string out;
    require(states[1].write(out, report) || report.hasErrors());
    NODaddConflictNotes(out, *copy, merge.getConflicts());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    setFuzzLimits(100, 8);
    SNKsetPythonEnabled(false);
    const std::vector<std::string> parts =
        partsOf(std::string(reinterpret_cast<const char *>(data), size));
    NOD_Report report;
    const std::shared_ptr<const NOD_Interface> interface = NOD_Interface::fromText(
        parts.size() > 3 ? parts[0] : theScript, "lamp", report, NOD_Interface::Includes::NONE);
    std::array<NOD_Document, 3> states;
    NOD_DocumentOptions options;
    options.isExact = true;
    options.interface = interface;
    bool goodFlag = interface && parts.size() >= 3;
    for (std::size_t i = 0; goodFlag && i < 3; ++i) {
        goodFlag = states[i].read(parts[parts.size() - 3 + i], "fuzz", options, report) &&
                   states[i].getKind() == states[0].getKind();
    }
    if (goodFlag) {
        check(states);
    }
    KITgetErrorManager().clearAndDestroyErrors();
    return 0;
}
