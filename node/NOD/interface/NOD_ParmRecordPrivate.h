/// \file NOD_ParmRecordPrivate.h
/// What builders describe, as a tree, until the templates are made.
#pragma once

#include <NOD/NOD_ParmBuilder.h>
#include <ZEL/ZEL_ConditionalGroup.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_SpareData.h>

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct NOD_ParmRecord;
using NOD_ParmRecords = std::vector<std::unique_ptr<NOD_ParmRecord>>;

/// A default as the words of a script: a number is its text too.
struct NOD_DefaultRecord
{
    double number = 0.0;
    std::string text;
    bool textFlag = false;
    TRK_StringMeaning meaning = TRK_MEANING_LITERAL;
    bool givenFlag = false;
};

struct NOD_MenuRecord
{
    enum Source
    {
        NONE,
        ENTRIES,
        SCRIPT,
        FUNCTION
    };
    Source source = NONE;
    NOD_MenuKind kind = NOD_MENU_CHOICE;
    bool tokensFlag = false;
    std::vector<std::pair<std::string, std::string>> entries;
    std::string script;
    TRK_ScriptLanguage language = TRK_SCRIPT_COMMAND;
    ZEL_ChoiceList::NameGenerator generator = nullptr;
};

struct NOD_FolderRecord
{
    std::string label;
    NOD_ParmRecords members;
    ZEL_ConditionalGroup conditions;
    bool hiddenFlag = false;
};

struct NOD_ParmRecord
{
    /// Remembers what can't be, for make().
    void fault(std::string text) { faults.push_back(std::move(text)); }
    void setCondition(ZEL_ConditionalGroup &group, ZEL_ConditionalType kind,
                      std::string_view condition);
    void setTag(std::string_view tag, std::string_view value);

    ZEL_Type type;
    ZEL_TypeExtended extended = ZEL_TYPEX_NONE;
    ZEL_MultiType multiType = ZEL_MULTITYPE_NONE;
    int size = 1;
    std::string token;
    std::string label;
    std::vector<NOD_DefaultRecord> defaults;
    ZEL_Range range{ZEL_RANGE_FREE, 0.0, ZEL_RANGE_FREE, 0.0}; // free: none
    bool hardMinFlag = false;
    bool hardMaxFlag = false;
    bool logarithmicFlag = false;
    NOD_MenuRecord menu;
    std::string help;
    ZEL_SpareData spare;
    ZEL_ConditionalGroup conditions;
    ZEL_Callback callback;
    NOD_ExportLevel exportLevel = NOD_EXPORT_NONE;
    bool baseParmFlag = false;
    NOD_ParmRecords items;                // of a block
    std::deque<NOD_FolderRecord> folders; // of a set of folders
    std::vector<std::string> faults;
};
