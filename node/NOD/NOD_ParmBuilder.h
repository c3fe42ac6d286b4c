/// \file NOD_ParmBuilder.h
/// Describes one parameter that was added to a NOD_InterfaceBuilder, a call for each property:
///
///     light.add(ZEL_FLT, "intensity", "Intensity").defaultTo(1).hardRange(0, 100).help("In watts");
///
/// Vocabulary: as in dialog scripts, whose keywords the calls are named after: what is said here is what
///             the same words of a script say. *Condition* = a text as of ZEL_Conditional.
/// Units:      components from 0.
/// Ownership:  copies what it is given. Refers to the builder, which must live as long.
/// Threads:    one thread at a time.
/// Errors:     what can't be is kept and told by NOD_InterfaceBuilder::make().
#pragma once

#include <NOD/NOD_API.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Template.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct NOD_ParmRecord;

/// What a menu is like. An ordinal's is always NOD_MENU_CHOICE, small or joined.
enum NOD_MenuKind : int
{
    NOD_MENU_CHOICE = 0,  ///< these choices and no others; "menu" in scripts
    NOD_MENU_REPLACE = 1, ///< a choice replaces the text; "menureplace"
    NOD_MENU_TOGGLE = 2,  ///< a choice adds or removes a word; "menutoggle"
    NOD_MENU_MINI = 3,    ///< as the first, small; "menumini"
    NOD_MENU_JOIN = 4     ///< as the first, joined to the next; "menujoin"
};

/// How far a parameter is exported, by the words of scripts.
enum NOD_ExportLevel : int
{
    NOD_EXPORT_NONE = 0,
    NOD_EXPORT_DIALOG = 1,
    NOD_EXPORT_ALL = 2
};

class NOD_API NOD_ParmBuilder
{
public:
    using Entry = std::pair<std::string_view, std::string_view>; ///< token and label

    explicit NOD_ParmBuilder(NOD_ParmRecord &record) : myRecord(&record) {}

    // ------------------------------------------------------------------ //
    /// \name Value
    // ------------------------------------------------------------------ //
    ///@{
    /// How many components; 1 without.
    NOD_ParmBuilder &size(int components);
    /// The default of the first component; the others are 0 or the empty text.
    NOD_ParmBuilder &defaultTo(double value);
    /// A text; of a menu, the token of an entry. A number's text that is no number is an expression, or
    /// a token of its menu.
    NOD_ParmBuilder &defaultTo(std::string_view text);
    /// Those of the first components.
    NOD_ParmBuilder &defaultTo(std::initializer_list<double> values);
    NOD_ParmBuilder &defaultTo(std::initializer_list<std::string_view> texts);
    /// A text with a meaning for one component; those before it are 0 or the empty text if they have
    /// none yet.
    NOD_ParmBuilder &defaultExpression(std::string_view text, int component = 0,
                                       TRK_StringMeaning meaning = TRK_MEANING_NATIVE);
    /// The ends of sliders. The least must be below the greatest.
    NOD_ParmBuilder &range(double least, double greatest);
    /// No value passes these.
    NOD_ParmBuilder &hardRange(double least, double greatest);
    /// Makes one end of the range hard.
    NOD_ParmBuilder &hardMin();
    NOD_ParmBuilder &hardMax();
    /// How many items a block has at first; the same as its default.
    NOD_ParmBuilder &items(int count) { return defaultTo(double(count)); }
    /// A float's slider is logarithmic.
    NOD_ParmBuilder &logarithmic();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Menu
    // ------------------------------------------------------------------ //
    ///@{
    NOD_ParmBuilder &menu(std::initializer_list<Entry> entries,
                          NOD_MenuKind kind = NOD_MENU_CHOICE);
    NOD_ParmBuilder &menu(const std::vector<std::pair<std::string, std::string>> &entries,
                          NOD_MenuKind kind = NOD_MENU_CHOICE);
    /// The script makes the entries when they are requested.
    NOD_ParmBuilder &menuScript(std::string_view script,
                                TRK_ScriptLanguage language = TRK_SCRIPT_PYTHON,
                                NOD_MenuKind kind = NOD_MENU_CHOICE);
    /// A function does. No script can hold it.
    NOD_ParmBuilder &menuFunction(ZEL_ChoiceList::NameGenerator generator,
                                  NOD_MenuKind kind = NOD_MENU_CHOICE);
    /// The token is the value, also where it reads as a number.
    NOD_ParmBuilder &tokensAreValues();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Looks
    // ------------------------------------------------------------------ //
    ///@{
    NOD_ParmBuilder &help(std::string_view text);
    NOD_ParmBuilder &invisible();
    NOD_ParmBuilder &noLabel();
    /// Shares its line with the next. The last one of a folder, a block or the interface has none, and
    /// neither has one before folders.
    NOD_ParmBuilder &joinNext();
    /// Numbers that dialog scripts set by other words, such as ZEL_TYPEX_NODE_PATH.
    NOD_ParmBuilder &extended(ZEL_TypeExtended number);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Conditions, each of which replaces the one before
    // ------------------------------------------------------------------ //
    ///@{
    NOD_ParmBuilder &disableWhen(std::string_view condition);
    NOD_ParmBuilder &hideWhen(std::string_view condition);
    NOD_ParmBuilder &noCookWhen(std::string_view condition);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Behaviour
    // ------------------------------------------------------------------ //
    ///@{
    /// Any tag, known to the library or not.
    NOD_ParmBuilder &tag(std::string_view token, std::string_view value);
    /// Whether a change recomputes the owner: the tag "cook_dependent".
    NOD_ParmBuilder &cooks(bool on);
    /// Which nodes a path may name, by a word such as "nods/geo", and that it is relative.
    NOD_ParmBuilder &opFilter(std::string_view word);
    /// The function that a change calls. No script can hold it.
    NOD_ParmBuilder &callback(ZEL_Callback function);
    /// The script that a change runs, by the callback that the application registered.
    NOD_ParmBuilder &callbackScript(std::string_view script,
                                    TRK_ScriptLanguage language = TRK_SCRIPT_COMMAND);
    NOD_ParmBuilder &exported(NOD_ExportLevel level);
    /// Only a place for what the application adds itself: name, look and export are kept.
    NOD_ParmBuilder &baseParm();
    ///@}

private:
    NOD_ParmRecord *myRecord;
};
