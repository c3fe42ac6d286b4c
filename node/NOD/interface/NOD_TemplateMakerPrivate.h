/// \file NOD_TemplateMakerPrivate.h
/// Makes templates of what builders describe, and keeps what they borrow.
///
/// Ownership:  owns the templates and all they point to.
#pragma once

#include <NOD/interface/NOD_ParmRecordPrivate.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Template.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

class NOD_Report;

/// A change recomputes the owner unless the tag of the template says otherwise.
void NODsettleNoCook(ZEL_Template &one);

class NOD_TemplateMaker
{
public:
    /// An array up to its terminator. Tells the faults of the records.
    ZEL_Template *make(const NOD_ParmRecords &members, NOD_Report &report);

private:
    /// Where the next template goes.
    struct Place
    {
        ZEL_Template *next;
        NOD_Report &report;
    };

    void fill(const NOD_ParmRecords &members, Place &place);
    void fillFolders(const NOD_ParmRecord &set, Place &place);
    void fillBlock(const NOD_ParmRecord &block, Place &place);
    void fillParm(const NOD_ParmRecord &parm, Place &place, bool endsLineFlag);
    void fillBaseParm(const NOD_ParmRecord &parm, Place &place, bool endsLineFlag);

    ZEL_Name *makeName(const NOD_ParmRecord &parm, const std::string &label);
    const char *keep(const std::string &text);
    ZEL_Default *makeDefaults(const NOD_ParmRecord &parm, const ZEL_Type &type);
    ZEL_ChoiceList *makeMenu(const NOD_ParmRecord &parm);
    ZEL_Range *makeRange(const NOD_ParmRecord &parm);
    ZEL_SpareData *makeSpare(const ZEL_SpareData &from);
    ZEL_ConditionalBase *makeConditions(const NOD_ParmRecord &set);

    std::deque<ZEL_Name> myNames;
    std::deque<std::string> myTexts;
    std::deque<std::vector<ZEL_Default>> myDefaults;
    std::deque<std::vector<ZEL_Name>> myEntries;
    std::deque<ZEL_ChoiceList> myMenus;
    std::deque<ZEL_Range> myRanges;
    std::deque<ZEL_SpareData> mySpares;
    std::deque<std::unique_ptr<ZEL_ConditionalBase>> myConditions;
    std::deque<std::unique_ptr<ZEL_Template[]>> myArrays; // destroyed first
};
