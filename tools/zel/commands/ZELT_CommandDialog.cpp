#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"

#include <BAS/BAS_Thread.h>
#include <DS/DS_Command.h>
#include <DS/DS_CommandList.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkArgs.h>
#include <NOD/NOD_CommandCheck.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>

namespace
{

constexpr double theTime = 0.0;

/// A line of a form: a folder, or a parameter with its companion.
struct Row
{
    int depth = 0;
    bool folderFlag = false;
    std::string token;
    std::string label;
    std::string state; ///< what the companion says; empty without one
    std::vector<std::string> values;
    bool textFlag = false; ///< values are texts
};

std::string valueOf(const ZEL_Parm &parm, int component)
{
    const ZEL_Type &type = parm.getTemplatePtr()->getType();
    if (type.isFloatType()) {
        double value = 0.0;
        parm.getValue(theTime, value, component, BASgetSTID());
        return ZELTnumber(value);
    }
    constexpr bool expand = false;
    KIT_String text;
    parm.getValue(theTime, text, component, expand, BASgetSTID());
    return text.toStdString();
}

int numberOf(const ZEL_Parm &parm)
{
    int value = 0;
    parm.getValue(theTime, value, 0, BASgetSTID());
    return value;
}

/// Reads a command's parameters in the order of its form.
class Form
{
public:
    explicit Form(const DS_Command &command) : myList(command.getParmList())
    {
        myCount = myList ? ZEL_Template::countTemplates(command.getTemplateList()) : 0;
        while (myNext < myCount) {
            addMember(0);
        }
    }

    std::vector<Row> getRows() const { return myRows; }

private:
    /// How many of its folder's members it takes: a companion is a member too.
    int addMember(int depth)
    {
        const ZEL_Parm &parm = *myList->getParmPtr(myNext++);
        const ZEL_Template &about = *parm.getTemplatePtr();
        if (about.isSwitcher()) {
            if (isCompanionOf(".InV", about)) {
                addVector(parm, depth);
            } else {
                addFolders(parm, depth);
            }
        } else if (isCompanionOf("", about)) {
            const ZEL_Parm &value = *myList->getParmPtr(myNext++);
            addParm(value, about.getLabel(), numberOf(parm) ? "on" : "off", depth);
            return 2;
        } else {
            addParm(parm, about.getLabel(), "", depth);
        }
        return 1;
    }

    /// A record may have such a name too, so the parameter after it decides.
    bool isCompanionOf(const char *suffix, const ZEL_Template &about) const
    {
        const ZEL_Parm *const next = myNext < myCount ? myList->getParmPtr(myNext) : nullptr;
        return next &&
               std::string("tog.") + next->getToken() == std::string(about.getToken()) + suffix;
    }

    void addFolders(const ZEL_Parm &parm, int depth)
    {
        const ZEL_Default *const folders = parm.getTemplatePtr()->getFactoryDefaults();
        for (int i = 0; i < parm.getVectorSize(); ++i) {
            Row row;
            row.depth = depth;
            row.folderFlag = true;
            row.label = folders[i].getString();
            myRows.push_back(row);
            for (int member = 0; member < folders[i].getOrdinal();) {
                member += addMember(depth + 1);
            }
        }
    }

    void addVector(const ZEL_Parm &companion, int depth)
    {
        constexpr int expressions = 2;
        static constexpr const char *theStates[] = {"off", "sliders", "expressions"};
        const int folder = std::min(std::max(numberOf(companion), 0), expressions);
        myNext++; // the only member of the first folder means nothing
        const ZEL_Parm &sliders = *myList->getParmPtr(myNext++);
        const int first = myNext;
        myNext += sliders.getVectorSize();
        addParm(sliders, companion.getTemplatePtr()->getLabel(), theStates[folder], depth);
        Row &row = myRows.back();
        row.textFlag = folder == expressions;
        for (int i = first; row.textFlag && i < myNext; ++i) {
            row.values[std::size_t(i - first)] = valueOf(*myList->getParmPtr(i), 0);
        }
    }

    void addParm(const ZEL_Parm &parm, const char *label, const char *state, int depth)
    {
        Row row;
        row.depth = depth;
        row.token = parm.getToken();
        row.label = label;
        row.state = state;
        row.textFlag = parm.getTemplatePtr()->getType().isStringType();
        for (int i = 0; i < parm.getVectorSize(); ++i) {
            row.values.push_back(valueOf(parm, i));
        }
        myRows.push_back(row);
    }

    ZEL_ParmList *myList;
    int myCount = 0;
    int myNext = 0;
    std::vector<Row> myRows;
};

std::string joinedValues(const Row &row)
{
    std::string all;
    for (const std::string &value : row.values) {
        all += (all.empty() ? "" : " ") + (row.textFlag ? ZELTquote(value) : value);
    }
    return all;
}

std::string lineOf(DS_Command &command)
{
    KIT_String line;
    command.getCommand(line);
    return line.toStdString();
}

ZELT_Json describe(DS_Command &command)
{
    ZELT_Json json;
    json["name"] = command.getCommandName().toStdString();
    json["label"] = command.getLabel().toStdString();
    json["icon"] = command.getIcon().toStdString();
    json["help"] = command.getHelp();
    json["rman"] = command.getRManSyntax() != 0;
    json["line"] = lineOf(command);
    return json;
}

ZELT_Json describeSettings(DS_Command &command)
{
    ZELT_Json json = describe(command);
    json["parameters"] = ZELT_Json::array();
    for (const Row &row : Form(command).getRows()) {
        if (!row.folderFlag) {
            ZELT_Json one;
            one["token"] = row.token;
            one["label"] = row.label;
            one["state"] = row.state.empty() ? ZELT_Json() : ZELT_Json(row.state);
            one["values"] = row.values;
            json["parameters"].push_back(one);
        }
    }
    return json;
}

void printForm(DS_Command &command)
{
    std::cout << command.getLabel().view() << '\n';
    if (*command.getHelp()) {
        std::cout << '\n' << command.getHelp();
    }
    std::cout << '\n';
    std::vector<std::vector<std::string>> rows;
    for (const Row &row : Form(command).getRows()) {
        const std::string indent(std::size_t(2 * row.depth), ' ');
        const char *const box = row.folderFlag       ? ""
                                : row.state.empty()  ? "    "
                                : row.state == "off" ? "[ ] "
                                                     : "[x] ";
        rows.push_back({indent + box + row.label, joinedValues(row)});
    }
    std::cout << ZELTtable(rows) << '\n' << lineOf(command) << '\n';
}

void printSettings(DS_Command &command)
{
    std::vector<std::vector<std::string>> rows = {{"parameter", "state", "value"}};
    for (const Row &row : Form(command).getRows()) {
        if (!row.folderFlag) {
            rows.push_back({row.token, row.state, joinedValues(row)});
        }
    }
    std::cout << ZELTtable(rows) << '\n' << lineOf(command) << '\n';
}

void tellLosses(const DS_Command &command, const KIT_StringArray &losses, const std::string &file,
                ZELT_Messages &messages)
{
    for (const KIT_String &loss : losses) {
        messages.error(file, command.getCommandName().toStdString() + ": " + loss.toStdString());
    }
}

void setDefaults(DS_Command &command, const std::string &file, ZELT_Messages &messages)
{
    KIT_StringArray losses;
    command.setDefaultCommand(&losses);
    tellLosses(command, losses, file, messages);
}

void printList(const DS_CommandList &commands, const std::string &file, bool json,
               ZELT_Messages &messages)
{
    ZELT_Json all = ZELT_Json::array();
    std::vector<std::vector<std::string>> rows = {{"command", "label", "default"}};
    for (int i = 0; i < commands.getEntries(); ++i) {
        DS_Command &command = *commands.getCommand(i);
        setDefaults(command, file, messages);
        all.push_back(describe(command));
        rows.push_back({command.getCommandName().toStdString(), command.getLabel().toStdString(),
                        lineOf(command)});
    }
    if (json) {
        ZELTprintJson(all);
    } else {
        std::cout << ZELTtable(rows);
    }
}

/// Null, with messages, for a file that can't be read.
std::unique_ptr<DS_CommandList> readCommands(const std::string &file, ZELT_Messages &messages)
{
    std::string text;
    if (!ZELTreadBytes(file, text, messages, ZELTcanBeText)) {
        return nullptr;
    }
    const bool inputFlag = file == "-";
    NOD_Report report;
    if (NOD_ValueFile::isOther(text, file, NOD_FileKind::SCRIPT, report, "a file of commands")) {
        messages.add(report);
        return nullptr;
    }
    std::unique_ptr<DS_CommandList> commands =
        NODreadCommands(text, inputFlag ? "standard input" : file, report,
                        inputFlag ? NOD_Interface::Includes::NONE : NOD_Interface::Includes::ANY);
    messages.add(report);
    return report.hasErrors() ? nullptr : std::move(commands);
}

/// Whether it is the placeholder for a file without commands.
bool isPlaceholder(const DS_CommandList &commands)
{
    return commands.getEntries() == 1 && !commands.getCommand(0)->getParmList() &&
           commands.getCommand(0)->getCommandName() == "null";
}

void printOne(DS_Command &command, bool formFlag, bool json)
{
    command.disableParms();
    if (json) {
        ZELTprintJson(describeSettings(command));
    } else if (formFlag) {
        printForm(command);
    } else {
        printSettings(command);
    }
}

struct Call
{
    std::string file;
    std::string
        line; ///< empty: the list; one word: that command's form; more: a command line; "-": the input's
};

/// Sets and prints the command that the line is about.
void showLine(const DS_CommandList &commands, const Call &call, const std::string &line, bool json,
              ZELT_Messages &messages)
{
    KIT_WorkArgs words;
    const int count = KIT_String(line.c_str()).cshParse(words);
    if (count == 0) {
        printList(commands, call.file, json, messages);
        return;
    }
    DS_Command *const command = commands.getCommand(words[0]);
    if (!command) {
        messages.error(call.file, "there is no command " + std::string(words[0]));
        return;
    }
    const bool formFlag = count == 1;
    if (formFlag) {
        setDefaults(*command, call.file, messages);
    } else {
        KIT_StringArray losses;
        command->setCommand(line.c_str(), &losses);
        tellLosses(*command, losses, call.file, messages);
    }
    printOne(*command, formFlag, json);
}

int runDialog(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (call.file == "-" && call.line == "-") {
        constexpr int theWrongCall = 2;
        messages.error("", "FILE and LINE can't both be - (see --help)");
        return theWrongCall;
    }
    const std::unique_ptr<DS_CommandList> commands = readCommands(call.file, messages);
    if (!commands) {
        return 1;
    }
    if (isPlaceholder(*commands)) {
        messages.error(call.file, "has no commands");
        return 1;
    }
    std::string line = call.line;
    if (line != "-" || ZELTreadBytes("-", line, messages)) {
        showLine(*commands, call, line, options.json, messages);
    }
    messages.takeErrors(call.file);
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddDialog(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "command", "List dialog commands, show one, or read and write its line",
        "zel command examples/commands/image.cmd \"resize -v -q 80 in.pic out.pic\"", runDialog);
    command.addOption("FILE", call.file, "A file of dialog commands; - for standard input")
        .required();
    command.addOption(
        "LINE", call.line,
        "A command's name for its form, or its line; - reads it from standard input; the list "
        "without one");
    line.addOutput(command);
}
