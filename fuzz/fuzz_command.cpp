// Fuzzes dialog commands: the text up to a NUL byte is a command, the rest a line for it. The result
// of the line is written, read and written again, which must be the same line, in both syntaxes,
// unless a place without an option may be off. As a file, the command's mistakes are told in it.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <DS/DS_Command.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkArgs.h>
#include <NOD/NOD_CommandCheck.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace
{

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

void checkWords(const KIT_String &line)
{
    KIT_WorkArgs words;
    KIT_WorkArgs written;
    const int count = line.cshParse(words);
    require(line.cshParse(written, true) == count);
    for (int i = 0; i < count; ++i) {
        KIT_WorkArgs one;
        require(KIT_String(written[i]).cshParse(one) == 1 && !std::strcmp(one[0], words[i]));
    }
}

/// Parameters that share a name, or a companion's, share settings, of equal options only the last
/// one is read, and words without options move to the first places: such a command's lines needn't
/// read back to the same.
bool isDistinct(KIT_IStream &text, const DS_Command &command)
{
    std::set<std::string> options;
    DS_Stream stream(text, "fuzz", true);
    KIT_String token;
    bool placeFlag = false; // a parameter without an option so far
    while (stream.getToken(token)) {
        if (token == "parm" && std::exchange(placeFlag, true)) {
            return false;
        }
        if (token == "option" && stream.getToken(token)) {
            placeFlag = false;
            if (!options.insert(token.toStdString()).second) {
                return false;
            }
        }
    }
    if (placeFlag) {
        return false;
    }
    std::set<std::string> tokens;
    const ZEL_ParmList *const list = command.getParmList();
    for (int i = 0; list && i < list->getEntries(); ++i) {
        const std::string name = list->getParmPtr(i)->getToken();
        if (options.count(name) || !tokens.insert(name).second) {
            return false;
        }
    }
    return true;
}

void checkLines(DS_Command &command, const char *line, bool distinctFlag)
{
    KIT_String first;
    KIT_String second;
    command.setCommand(line);
    command.disableParms();
    command.getCommand(first);
    checkWords(first);
    command.setCommand(first);
    command.getCommand(second);
    require(!distinctFlag || second == first);
}

/// As a file of several: what is told has its place in it.
void checkFile(std::string_view text)
{
    NOD_Report report;
    require(NODcheckCommands(text, "fuzz", report) != report.hasErrors());
    for (const NOD_Message &message : report.getMessages()) {
        const KIT_MessagePlace place = message.detail ? message.detail->place : KIT_MessagePlace();
        require(place.file != "fuzz" || place.endOffset <= std::int64_t(text.size()));
        require(place.line <= 1 + std::count(text.begin(), text.end(), '\n'));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    setFuzzLimits(2, 16);
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 8);
    KIT_ErrorManager::Scope scope(1);
    const uint8_t *const end = data + size;
    const uint8_t *const middle = std::find(data, end, 0);
    const std::string line(middle == end ? end : middle + 1, end);
    checkFile({reinterpret_cast<const char *>(data), static_cast<size_t>(middle - data)});
    KIT_IStream memory(reinterpret_cast<const char *>(data), static_cast<size_t>(middle - data),
                       KIT_IStream::TEXT);
    DS_Stream stream(memory, "fuzz", true);
    DS_Command command("fuzz");
    if (!command.parse(stream)) {
        require(!command.isValid());
        return 0;
    }
    checkWords(KIT_String(line.c_str()));
    KIT_IStream again(reinterpret_cast<const char *>(data), static_cast<size_t>(middle - data),
                      KIT_IStream::TEXT);
    const bool distinctFlag = isDistinct(again, command);
    command.setDefaultCommand();
    for (const int rman : {0, 1}) {
        command.setRManSyntax(rman);
        checkLines(command, line.c_str(), distinctFlag);
    }
    command.enforceOptions();
    checkLines(command, line.c_str(), distinctFlag);
    return 0;
}
