#include <NOD/NOD_FolderBuilder.h>

#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/interface/NOD_ParmRecordPrivate.h>

namespace
{

/// A condition of a tab before there is any is told and kept by the set.
void setTabCondition(NOD_ParmRecord &set, ZEL_ConditionalType kind, std::string_view condition)
{
    if (set.folders.empty()) {
        set.fault("a condition of a tab stands before the first page");
    } else {
        set.setCondition(set.folders.back().conditions, kind, condition);
    }
}

} // namespace

NOD_InterfaceBuilder NOD_FolderBuilder::addPage(std::string_view label)
{
    if (label.empty()) {
        myRecord->fault("a page has no label");
    }
    myRecord->folders.emplace_back();
    myRecord->folders.back().label = label;
    return NOD_InterfaceBuilder(myRecord->folders.back().members);
}

NOD_FolderBuilder &NOD_FolderBuilder::hiddenTab()
{
    if (myRecord->folders.empty()) {
        myRecord->fault("a hidden tab stands before the first page");
    } else {
        myRecord->folders.back().hiddenFlag = true;
    }
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::disableTabWhen(std::string_view condition)
{
    setTabCondition(*myRecord, ZEL_CONDTYPE_DISABLE, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::hideTabWhen(std::string_view condition)
{
    setTabCondition(*myRecord, ZEL_CONDTYPE_HIDE, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::noCookTabWhen(std::string_view condition)
{
    setTabCondition(*myRecord, ZEL_CONDTYPE_NOCOOK, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::invisible()
{
    myRecord->type |= ZEL_TYPE_INVISIBLE;
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::baseParm()
{
    myRecord->baseParmFlag = true;
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::disableWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_DISABLE, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::hideWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_HIDE, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::noCookWhen(std::string_view condition)
{
    myRecord->setCondition(myRecord->conditions, ZEL_CONDTYPE_NOCOOK, condition);
    return *this;
}

NOD_FolderBuilder &NOD_FolderBuilder::tag(std::string_view token, std::string_view value)
{
    myRecord->setTag(token, value);
    return *this;
}
