#include "ZELT_Comparison.h"

#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptMap.h>

namespace
{

constexpr const char *theNoFile = "/dev/null";

/// Without the part that is meant.
std::string pathOf(const std::string &file)
{
    return file.substr(0, NOD_ValueFile::findSection(file));
}

/// Whether a script says more of it than the file itself.
bool needsScript(NOD_FileKind kind)
{
    return kind == NOD_FileKind::STREAM || kind == NOD_FileKind::PRESET ||
           kind == NOD_FileKind::PRESETS;
}

} // namespace

bool ZELTfindScript(const std::string &file, ZELT_ScriptPtr &script, ZELT_Messages &messages)
{
    NOD_Report report;
    const std::string found = file == "-" ? "" : NODfindScript(pathOf(file), report);
    messages.add(report);
    return !report.hasErrors() &&
           (found.empty() || (script = ZELTloadScript(found, messages)) != nullptr);
}

bool ZELT_Comparison::readAny(const std::string &name, const std::string &file,
                              const std::string &bytes, NOD_Document &document,
                              ZELT_Messages &messages)
{
    NOD_Report report;
    NOD_DocumentOptions options;
    options.isExact = myExactFlag;
    options.interface = myScript;
    options.load = ZELTloadOptions();
    options.asNode = myNodeFlag;
    if (options.load.folder.empty() && file != "-") {
        options.load.folder = ZELTfolderOf(pathOf(file));
    }
    const bool readFlag = document.read(bytes, name, options, report);
    messages.add(report);
    return readFlag && !report.hasErrors();
}

bool ZELT_Comparison::readOne(const ZELT_ScriptPtr &script, const std::string &name,
                              const std::string &file, const std::string &bytes,
                              NOD_Document &document, ZELT_Messages &messages)
{
    myScript = script;
    return readAny(name, file, bytes, document, messages);
}

bool ZELT_Comparison::read(const std::string &script, const std::string &left,
                           const std::string &right, const std::string &path,
                           ZELT_Messages &messages)
{
    std::string leftBytes, rightBytes;
    if (left == "-" && right == "-") {
        messages.error("-", "standard input is only one of the two");
        return false;
    }
    if (!script.empty() && !(myScript = ZELTloadScript(script, messages))) {
        return false;
    }
    const bool leftFlag = ZELTreadBytes(left, leftBytes, messages);
    if (!ZELTreadBytes(right, rightBytes, messages) || !leftFlag) {
        return false;
    }
    NOD_FileKind kinds[] = {NOD_ValueFile::kindOf(std::string_view(leftBytes)),
                            NOD_ValueFile::kindOf(std::string_view(rightBytes))};
    // What Git gives for a file that isn't there on one side.
    const bool noLeftFlag = left == theNoFile;
    const bool noRightFlag = right == theNoFile;
    kinds[0] = noLeftFlag ? kinds[1] : kinds[0];
    kinds[1] = noRightFlag ? kinds[0] : kinds[1];
    const std::string &placed = !path.empty() ? path : noRightFlag ? left : right;
    if (script.empty() && needsScript(kinds[0]) && needsScript(kinds[1]) &&
        !ZELTfindScript(placed, myScript, messages)) {
        return false;
    }
    myNodeFlag = myScript && kinds[0] != kinds[1];
    for (const bool rightFlag : {false, true}) {
        if (kinds[rightFlag] == NOD_FileKind::NONE && !(rightFlag ? noRightFlag : noLeftFlag)) {
            messages.error(rightFlag ? right : left, "is no file of parameters");
            return false;
        }
    }
    if (kinds[0] != kinds[1] && !myScript) {
        messages.error(right, std::string("is ") + NOD_ValueFile::getKindName(kinds[1]) +
                                  ", which can't be compared with " +
                                  NOD_ValueFile::getKindName(kinds[0]) +
                                  " without the script that they have the values of");
        return false;
    }
    if (!myScript && !myExactFlag && kinds[0] == NOD_FileKind::SCRIPT) {
        // What they include is beside where they come from.
        const auto load = [&](const std::string &file, const std::string &bytes) {
            return path.empty() && file != "-"
                       ? ZELTloadScript(file, messages)
                       : ZELTloadScriptText(bytes, path.empty() ? file : path, messages);
        };
        const auto take = [&](const std::string &file, const std::string &bytes,
                              ZELT_ScriptPtr &taken, NOD_Document &document) {
            taken = load(file, bytes);
            if (taken) {
                document.take(*taken);
            }
            return taken != nullptr;
        };
        return (noLeftFlag || take(left, leftBytes, myLeftScript, myLeft)) &&
               (noRightFlag || take(right, rightBytes, myRightScript, myRight));
    }
    const bool readFlag = noLeftFlag || readAny(left, left, leftBytes, myLeft, messages);
    return (noRightFlag || readAny(right, right, rightBytes, myRight, messages)) && readFlag;
}
