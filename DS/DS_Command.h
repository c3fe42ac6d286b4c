/// \file DS_Command.h
/// A tool's command line as a dialog: converts settings to a command line and back.
///
/// Vocabulary: *record* = a parameter as its script declares it. *word* = one argument of the line.
///             *option* = the word before a record's values; a record without one is *positional*:
///             its words are recognised by their position. *companion* = the parameter "tog.TOKEN"
///             that says whether an optional record is on the line; a required record and a
///             ZEL_TOGGLE_E have none. *vector* = a colour or direction: a set of folders is its
///             companion (0 off, 1 sliders, 2 expressions) with the parameters "TOKEN.InV"
///             (hidden), TOKEN and "TOKEN.v0", "TOKEN.v1" ..., a text for each component. *number
///             field* = a float or integer, which is a text parameter here. *expression* = what
///             isn't a number in a number field or a vector's text, and a text that lies entirely
///             in backticks.
/// Units:      values at time 0. One word for each component of a record.
/// Ownership:  owns all of it, the list included; nothing outlives the command.
/// Threads:    one thread at a time. The menu builders are the process's: set them before reading.
/// Errors:     parse() returns 0 and the stream has the message. Words that can't be assigned are
///             ignored, and words that are no value give another one: setCommand() lists both. A command without parameters, or without a file, has no list: its lines
///             consist of its name alone.
///
/// Lines. `getCommand` writes records in the order of the script. `setCommand(line)`, `getCommand`
/// reproduces every line that `getCommand` can write, as long as no two records share an option, no
/// positional record that may be off precedes another one, and no positional value looks like an
/// option:
///
///   - An option takes as many words as its record has components, whatever they look like: "-5"
///     after it is a value. A line that ends early leaves the other components as they are.
///   - A toggle takes none: its option is present or not. A positional toggle takes a word, 0 or 1.
///   - A word that is no option is assigned to the first positional record that has none yet. A
///     record that is off has no words, so a later one's is then read into its position.
///   - Words are split by KIT_String::cshParse. A text is in double quotes if it needs them, the
///     empty one always; an expression in backticks. In the backticks of a number field, a backslash
///     precedes a backslash and a backtick.
///   - In a number field and a text the characters stay as they are; other numbers, a vector's too,
///     are written in their shortest form. A vector is read into its sliders when they can hold all
///     of its words, else into its expressions.
///   - A menu is written and read by its tokens.
///   - With RenderMan syntax the name, options and texts are in quotes, an optional record's values
///     in brackets. Brackets are dropped before a line is read, so those in a text are \133 and
///     \135.
///   - Folders and multi-parameters aren't on the line. Buttons, separators, labels and data have
///     no words, only their option.

#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ChoiceList.h>

#include <memory>
#include <vector>

class DS_Page;
class DS_Parm;
class DS_Stream;
class ZEL_Default;
class ZEL_Name;
class ZEL_ParmList;
class ZEL_PresetInfo;
class ZEL_ScriptPage;
class ZEL_ScriptParm;
class ZEL_Template;

class ZEL_API DS_Command
{
public:
    /// `file` is the family under which the command's presets are stored; without one the command
    /// has no list.
    explicit DS_Command(const char *file);
    ~DS_Command();
    DS_Command(const DS_Command &) = delete;
    DS_Command &operator=(const DS_Command &) = delete;

    // ---------------------------------------------------------------- //
    /// \name Reading   (once)
    // ---------------------------------------------------------------- //
    /// Reads the command's block, with its braces, and makes the list. Returns 1 on success, 0 on
    /// failure and when a command was read already.
    int parse(DS_Stream &stream);
    /// Adds the templates of one record, and of its companion if `withToggle`. Null adds the
    /// terminator. Does nothing once there is a list, which borrows the templates. The templates
    /// borrow from the record, which must outlive the command or belong to it.
    void addTemplate(DS_Parm *parm, bool withToggle);
    /// The functions that fill the menus of records with flag 0x8 and with flag 0x10; null for
    /// none. Process-wide: set them before starting threads that make commands.
    static void setObjectMenuBuilder(ZEL_ChoiceList::NameGenerator builder);
    static void setRenderMenuBuilder(ZEL_ChoiceList::NameGenerator builder);

    // ---------------------------------------------------------------- //
    /// \name Lines
    // ---------------------------------------------------------------- //
    /// Takes the settings from a line; ignores a line of another command. Optional records that
    /// aren't on the line are switched off, required ones stay as they are; a toggle without its
    /// option is switched off, required or not.
    void setCommand(const char *line) { setCommand(line, nullptr); }
    /// The same; appends to `losses` a sentence for each word that nothing accepts, which are all of another
    /// command's line, or that reads as another value.
    void setCommand(const char *line, KIT_StringArray *losses);
    /// The same with the line of the script's `default`, or the name alone.
    void setDefaultCommand() { setDefaultCommand(nullptr); }
    void setDefaultCommand(KIT_StringArray *losses);
    void getCommand(KIT_String &result);
    /// Enables each record by its companion, a vector's texts and sliders by the chosen folder.
    /// Non-zero if a state changed.
    int disableParms();
    /// Gives each record without an option its token as option.
    void enforceOptions();

    // ---------------------------------------------------------------- //
    /// \name Contents
    // ---------------------------------------------------------------- //
    /// Whether a command was read.
    bool isValid() const { return myPage != nullptr; }
    const KIT_String &getCommandName() const { return myCommandName; }
    const KIT_String &getLabel() const { return myLabel; }
    const KIT_String &getIcon() const { return myIcon; }
    /// "" when there is no help text.
    const char *getHelp() const;
    /// Null when there is no list.
    ZEL_ParmList *getParmList() const { return myParmList.get(); }
    /// Ends with a terminator; null before anything was read.
    ZEL_Template *getTemplateList() const { return myTemplates.get(); }

    int getRManSyntax() const { return myRManSyntax; }
    void setRManSyntax(int flag) { myRManSyntax = flag; }
    int getKslSyntax() const { return myKslSyntax; }
    void setKslSyntax(int flag) { myKslSyntax = flag; }

    // ---------------------------------------------------------------- //
    /// \name For interfaces that drive other kinds of dialogs too   (do nothing here)
    // ---------------------------------------------------------------- //
    int parmChanged(int) { return 0; }
    int parmChanged(const char *) { return 0; }
    void keepExpressions() {}
    void axeExpressions() {}

private:
    void addPage(ZEL_ScriptPage &page);
    void makeList();

    ZEL_Template &nextTemplate();
    void addSwitcher(ZEL_ScriptParm &parm);
    void addMulti(ZEL_ScriptParm &parm);
    void addToggle(ZEL_ScriptParm &parm, const char *label);
    void addVectorSwitch(ZEL_ScriptParm &parm, const char *label);
    void addParm(DS_Parm &parm, bool companionFlag);
    void addComponents(ZEL_ScriptParm &parm, ZEL_Default *defaults);
    ZEL_Name *makeName(const char *token, const char *label);
    const char *makeText(const char *text);
    ZEL_Default *makeDefaults(int count);
    ZEL_Default *numberDefaults(ZEL_ScriptParm &parm);

    KIT_String myFile;
    KIT_String myCommandName;
    KIT_String myLabel;
    KIT_String myIcon;
    KIT_String myHelp;
    std::unique_ptr<DS_Page> myPage;
    // Each borrows from those before it.
    std::vector<std::unique_ptr<ZEL_Name>> myNames;
    std::vector<std::unique_ptr<ZEL_Default[]>> myAllocatedDefaults;
    std::unique_ptr<ZEL_Template[]> myTemplates;
    std::unique_ptr<ZEL_PresetInfo> myPresetInfo;
    std::unique_ptr<ZEL_ParmList> myParmList;
    int myTemplateCount = 0;
    int myTemplateCapacity = 0;
    int myRManSyntax = 0;
    int myKslSyntax = 0;
    int mySwitcherCount = 0;
};
