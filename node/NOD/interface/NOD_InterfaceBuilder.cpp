#include <NOD/NOD_InterfaceBuilder.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ParmRecordPrivate.h>
#include <NOD/interface/NOD_TemplateMakerPrivate.h>

NOD_InterfaceBuilder::NOD_InterfaceBuilder(std::string_view typeName, std::string_view label)
    : myTypeName(typeName), myLabel(label)
{}

NOD_InterfaceBuilder::NOD_InterfaceBuilder(NOD_ParmRecords &members) : myBorrowed(&members) {}

NOD_InterfaceBuilder::NOD_InterfaceBuilder(NOD_ParmRecord &block)
    : NOD_InterfaceBuilder(block.items)
{}

NOD_InterfaceBuilder::~NOD_InterfaceBuilder() = default;
NOD_InterfaceBuilder::NOD_InterfaceBuilder(NOD_InterfaceBuilder &&) noexcept = default;
NOD_InterfaceBuilder &NOD_InterfaceBuilder::operator=(NOD_InterfaceBuilder &&) noexcept = default;

NOD_ParmRecord &NOD_InterfaceBuilder::append(std::string_view token, std::string_view label)
{
    NOD_ParmRecords &members = myBorrowed ? *myBorrowed : myOwn;
    members.push_back(std::make_unique<NOD_ParmRecord>());
    members.back()->token = token;
    members.back()->label = label;
    return *members.back();
}

NOD_ParmBuilder NOD_InterfaceBuilder::add(const ZEL_Type &type, std::string_view token,
                                          std::string_view label)
{
    NOD_ParmRecord &record = append(token, label);
    record.type = type;
    if (type.isSwitcher()) {
        record.fault("folders are added by tabs()");
    }
    if (type == ZEL_LIST_TERMINATOR) {
        record.fault("this type ends an array");
    }
    return NOD_ParmBuilder(record);
}

NOD_ParmBuilder NOD_InterfaceBuilder::ramp(std::string_view token, std::string_view label)
{
    return NOD_ParmBuilder(addBlock(ZEL_MULTITYPE_RAMP_FLT, token, label));
}

NOD_ParmBuilder NOD_InterfaceBuilder::colorRamp(std::string_view token, std::string_view label)
{
    return NOD_ParmBuilder(addBlock(ZEL_MULTITYPE_RAMP_RGB, token, label));
}

NOD_ParmRecord &NOD_InterfaceBuilder::addBlock(ZEL_MultiType kind, std::string_view token,
                                               std::string_view label)
{
    NOD_ParmRecord &record = append(token, label);
    record.multiType = kind;
    return record;
}

NOD_FolderBuilder NOD_InterfaceBuilder::addFolders(const ZEL_Type &type, std::string_view token)
{
    NOD_ParmRecord &record = append(token, {});
    record.type = type;
    return NOD_FolderBuilder(record);
}

NOD_FolderBuilder NOD_InterfaceBuilder::tabs(std::string_view token)
{
    return addFolders(ZEL_SWITCHER, token);
}

NOD_FolderBuilder NOD_InterfaceBuilder::radio(std::string_view token)
{
    return addFolders(ZEL_SWITCHER_EXCLUSIVE, token);
}

NOD_FolderBuilder NOD_InterfaceBuilder::addSingle(const char *groupType, std::string_view token)
{
    return tabs(token).tag(ZEL_SpareData::getGroupTypeToken(), groupType);
}

std::shared_ptr<const NOD_Interface> NOD_InterfaceBuilder::make(NOD_Report &report) const
{
    NOD_Report found;
    const std::string &name = myTypeName.empty() ? "node" : myTypeName;
    if (name.find('/') != std::string::npos) {
        found.error(name, "a type name has no /");
    }
    const auto templates = std::make_shared<NOD_TemplateMaker>();
    ZEL_Template *const first = templates->make(myBorrowed ? *myBorrowed : myOwn, found);
    NODcheckInterface(first, found, KIT_ERROR_ABORT);
    report.append(found);
    return found.hasErrors() ? nullptr
                             : NOD_Interface::fromTemplates(first, name, templates, myLabel);
}
