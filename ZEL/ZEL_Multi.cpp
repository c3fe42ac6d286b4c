#include <ZEL/ZEL_Multi.h>

#include <ZEL/ZEL_InstanceString.h>

bool ZEL_Multi::theIsAddingOrRemovingParms = false;

ZEL_Multi::ZEL_Multi(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_Float(templatePtr, parm), myInstancesPerItem(ZEL_Template::countTemplates(
                                        templatePtr->getMultiParmTemplate(), false, false, false))
{}

ZEL_Multi::ZEL_Multi(const ZEL_Multi &source, ZEL_Parm *parm)
    : ZEL_Float(source, parm), myInstancesPerItem(source.myInstancesPerItem)
{}

ZEL_Multi::~ZEL_Multi() = default;

ZEL_Instance *ZEL_Multi::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Multi(*this, parm);
}

bool ZEL_Multi::isMultiParm() const
{
    return true;
}

int ZEL_Multi::getMultiParmNumItems() const
{
    return 0;
}

int ZEL_Multi::getMultiParmInstancesPerItem() const
{
    return myInstancesPerItem;
}

void ZEL_Multi::copy(const ZEL_Multi *other)
{
    if (other && other != this) {
        setValue(0.0, other->constrainedRawValue(0), false, 0, ZEL_ADDKEY_PENDING,
                 ZEL_KEYSET_PREFERENCE);
    }
}

ZEL_Parm *ZEL_Multi::getParm(int) const
{
    return nullptr;
}

ZEL_Template *ZEL_Multi::getTemplate(int) const
{
    return nullptr;
}

int ZEL_Multi::findMultiParmIndex(const char *, bool) const
{
    return -1;
}

void ZEL_Multi::instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, count, fillToken, repeat);
}
