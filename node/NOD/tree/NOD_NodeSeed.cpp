#include <NOD/NOD_NodeSeed.h>

#include <NOD/NOD_Interface.h>

#include <utility>

NOD_NodeSeed::NOD_NodeSeed(ZEL_Template *templates, const char *typeName)
    : myTemplates(templates), mySharedName(typeName ? typeName : ""), myTypeName(mySharedName)
{}

NOD_NodeSeed::NOD_NodeSeed(std::shared_ptr<const NOD_Interface> interface)
    : myInterface(std::move(interface))
{
    if (myInterface) {
        myTemplates = myInterface->getTemplates();
        mySharedName = myInterface->getSharedName().c_str();
        myTypeName = myInterface->getTypeName();
    }
}
