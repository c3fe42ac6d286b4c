// A patch, after a byte that says what it is applied to: a stream, channels, or a scene in either form. What is no
// patch, or doesn't fit, has an error; what fits gives a state whose patch leads back, and which is written or has an
// error. A patch that was read is written and read again to the same text.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

constexpr const char *theScript = R"({ name lamp
  parm { name t type vector size 3 }
  parm { name note type string }
  multiparm { name points parm { name w# type float }
    multiparm { name parts# default 0 parm { name part#_# type float } } } })";

constexpr const char *theStream =
    "{\nversion 0.8\nt\t[ 0\tlocks=1 ]\t(\t1\t2\t[ tz\t0 ] \t)\n"
    "note\t[ 0\tlocks=0 ]\t(\t\"a note\"\t)\n"
    "points\t[ 0\tlocks=0 ]\t(\t2\t)\nw1\t[ 0\tlocks=0 ]\t(\t1\t)\n"
    "parts1\t[ 0\tlocks=0 ]\t(\t1\t)\n"
    "part1_1\t[ 0\tlocks=0 ]\t(\t5\t)\nw2\t[ 0\tlocks=0 ]\t(\t2\t)\n}\n";

constexpr const char *theChannels =
    "channels 1.0\n{\n    channel tx {\n        default 0\n"
    "        key 0 1 linear()\n        key 2 5 \"$F * 2\"\n    }\n}\n";

constexpr const char *theScene =
    "#STO_INDEX 1.0\nsection \"scene\"\n\tversion 1.0\n\tframerate 24\nend\n"
    "section \"interface lamp\"\n\tapplication\nend\n"
    "section \"node /a\"\n\ttype \"lamp\"\nend\nsection \"values /a\"\n\t{\n\tversion 0.8\n"
    "\tnote\t[ 0\tlocks=0 ]\t(\t\"x\"\t)\n\t}\nend\n"
    "section \"node /a/b\"\nend\nsection \"node /c\"\n\tvariable \"V\" \"1\"\nend\n#END\n";

constexpr const char *theDialog =
    "// a lamp\n{\n\tname lamp\n\tgroup {\n\t\tname g // folder\n\t\tparm { name a type float default { 1 "
    "[ \"$F\" expression ] } range { 0! 1 } }\n\t}\n#if 1\n\tparm {\n\t\tname b\n\t\tmenu { \"x\" \"X\" y Y }\n"
    "\t\tparmtag { k v }\n\t}\n#endif\n}\n";

constexpr const char *thePreset =
    "#STO_INDEX 1.0\nsection \"Day\"\n\t#PSI_PRESET\n\tversion 2.0a\n\tchannels\n\tchannels 1.0\n\t{\n\t}\n"
    "\tvalues\n\t{\n\tversion 0.8\n\tnote\t[ 0\tlocks=0 ]\t(\t\"x\"\t)\n\t}\nend\n#END\n";

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::shared_ptr<const NOD_Interface> lamp()
{
    NOD_Report report;
    static const auto theLamp = NOD_Interface::fromText(theScript, "lamp", report);
    return theLamp;
}

void applyTo(const std::string &bytes, const NOD_Difference &patch, bool binary)
{
    NOD_Document document;
    NOD_DocumentOptions options;
    NOD_Report report;
    options.isExact = true;
    options.interface = lamp();
    options.interfaces["lamp"] = lamp();
    require(document.read(bytes, "fuzz", options, report));
    std::unique_ptr<NOD_Record> made = patch.apply(document.getTop(), report);
    require((made != nullptr) != report.hasErrors());
    if (!made) {
        return;
    }
    NOD_CompareOptions how;
    how.isExact = true;
    const NOD_Difference back = NOD_Difference::between(*made, document.getTop(), how);
    const auto old = back.apply(*made, report);
    require(old && old->isSame(document.getTop()));
    document.setTop(std::move(made));
    std::string out;
    require(document.write(out, binary, report) || report.hasErrors());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    if (size == 0) {
        return 0;
    }
    setFuzzLimits(100, 8);
    SNKsetPythonEnabled(false);
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    NOD_Report report;
    NOD_Difference patch;
    if (!patch.fromJson(text, "fuzz", report)) {
        require(report.hasErrors());
        return 0;
    }
    NOD_Difference again;
    require(again.fromJson(patch.toJson(), "fuzz", report) && again.toJson() == patch.toJson());
    const char *const theStates[] = {theStream, theChannels, theScene};
    const char *const theTexts[] = {theDialog, thePreset};
    const bool textFlag = (data[0] & 8) != 0;
    applyTo(textFlag ? theTexts[data[0] % 2] : theStates[data[0] % 3], patch,
            !textFlag && (data[0] & 4) != 0);
    KITgetErrorManager().clearAndDestroyErrors();
    return 0;
}
